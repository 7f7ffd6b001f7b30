// The formatting of values in SQL statements.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "orm/value_text.h"

namespace {

using DatabaseORM::joined;
using DatabaseORM::number_text;
using DatabaseORM::value_text;

TEST(ValueText, FormatsNumbers) {
  EXPECT_EQ(number_text(0), "0");
  EXPECT_EQ(number_text(-2147483647 - 1), "-2147483648");
  EXPECT_EQ(number_text(18446744073709551615UL), "18446744073709551615");
  EXPECT_EQ(number_text(0.0), "0.000000");
  EXPECT_EQ(number_text(-0.0), "-0.000000");
  EXPECT_EQ(number_text(1234567.0000009), "1234567.000001");
  EXPECT_EQ(number_text(1e21), "1000000000000000000000.000000");
}

TEST(ValueText, DoesNotTruncateTheLongestDouble) {
  const std::string text = number_text(-std::numeric_limits<double>::max());
  EXPECT_EQ(text.size(), 317U);
  EXPECT_EQ(text.substr(0, 12), "-17976931348");
  EXPECT_EQ(text.substr(text.size() - 8), "8.000000");
}

TEST(ValueText, IsNullForADoubleThatFormatsLikeTheNullValue) {
  EXPECT_EQ(value_text(1.1754943508222875e-38), "NULL");
  EXPECT_EQ(value_text(0.0), "NULL");
  EXPECT_EQ(value_text(0.00000049), "NULL");
  EXPECT_EQ(value_text(-0.0), "-0.000000");
}

TEST(ValueText, IsNotNullForNanAndInfinity) {
  EXPECT_EQ(value_text(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(value_text(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(ValueText, JoinsTheElementsOfAList) {
  EXPECT_EQ(joined({}), "");
  EXPECT_EQ(joined({"a"}), "a");
  EXPECT_EQ(joined({"a", "b", "c"}), "a?b?c");
  EXPECT_EQ(joined({""}), "");
  EXPECT_EQ(joined({"", ""}), "?");
  EXPECT_EQ(joined({"a?b"}), "a?b");
}

}  // namespace
