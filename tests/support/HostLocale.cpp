// With CORVANE_TEST_LOCALE=grouping in the environment, a test program runs as if its host had set
// a locale with grouped digits and a decimal comma.

#include <cstdlib>
#include <locale>
#include <string>

#include "tests/support/GroupingLocale.h"

namespace {

bool SetLocale() {
  const char* wanted = std::getenv("CORVANE_TEST_LOCALE");
  if (wanted == nullptr || wanted != std::string("grouping")) return false;
  std::locale::global(CorvaneTest::GroupingLocale());
  return true;
}

// Initialized before any test runs.
[[maybe_unused]] const bool g_IsSet = SetLocale();

}  // namespace
