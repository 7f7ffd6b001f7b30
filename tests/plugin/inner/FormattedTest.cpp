// Text of strings and numbers.

#include <gmock/gmock.h>

#include "Corvane/Src/Formatted.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::Hexadecimal;
using NAMESPACE_Corvane::Joined;
using NAMESPACE_Corvane::Padded;

TEST(Joined, ReturnsStringsAndNumbersInOrder) {
  const std::string name = "fct";
  EXPECT_EQ(Joined("/dev/", name, 0, ":", -12, " ", 18446744073709551615UL),
            "/dev/fct0:-12 18446744073709551615");
  EXPECT_EQ(Joined(-9223372036854775807L - 1), "-9223372036854775808");
  EXPECT_EQ(Joined("", std::string()), "");
}

TEST(Joined, PadsNumbersOnTheLeft) {
  EXPECT_EQ(Joined(Padded{7, 2}, Padded{12, 2}, Padded{123, 2}), "0712123");
  EXPECT_EQ(Joined(Padded{812, 4, ' '}, "|", Padded{0, 1}), " 812|0");
}

TEST(Joined, WritesFourHexadecimalDigits) {
  EXPECT_EQ(Joined(Hexadecimal{0x1003}, Hexadecimal{0xABF}, Hexadecimal{0}), "10030ABF0000");
}

TEST(Joined, AllocatesNoMoreThanTheText) {
  const std::string text = Joined("PCI:Segment=", 1UL, "&Bus=", 3UL, "&Device=0&Function=", 0UL);
  EXPECT_EQ(text.capacity(), text.size());
}

}  // namespace
}  // namespace CorvaneTest
