// With CORVANE_TEST_LOCALE=grouping in the environment, a test program runs as in a host that has
// chosen a locale with grouped digits and a decimal comma. Made here: no such locale need be
// installed.

#include <cstdlib>
#include <locale>
#include <string>

namespace {

class Grouping : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

bool SetLocale() {
  const char* wanted = std::getenv("CORVANE_TEST_LOCALE");
  if (wanted == nullptr || wanted != std::string("grouping")) return false;
  std::locale::global(std::locale(std::locale::classic(), new Grouping));
  return true;
}

// Before any test.
[[maybe_unused]] const bool g_IsSet = SetLocale();

}  // namespace
