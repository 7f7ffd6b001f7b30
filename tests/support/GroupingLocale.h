// A locale with grouped digits and a decimal comma, independent of the installed locales.
#pragma once

#include <locale>
#include <string>

namespace CorvaneTest {

class GroupingDigits : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

inline std::locale GroupingLocale() {
  return {std::locale::classic(), new GroupingDigits};
}

}  // namespace CorvaneTest
