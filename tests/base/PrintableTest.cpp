// Escaping of characters that a terminal would interpret.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "base/Printable.h"

namespace {

using Base::Printable;
using Base::PrintableJson;

struct Case {
  std::string m_Text;
  std::string m_Visible;
  std::string m_Json;
};

// Code points on both sides of each boundary of the ranges that can move the cursor or change the
// text direction.
const std::vector<Case> kCases = {
    {std::string(1, '\0'), "\\x00", "\\u0000"},
    {"\x1f", "\\x1f", "\\u001f"},
    {" ", " ", " "},
    {"~", "~", "~"},
    {"\x7f", "\\x7f", "\\u007f"},
    {"\u0080", "\\u0080", "\\u0080"},
    {"\u009b", "\\u009b", "\\u009b"},
    {"\u009f", "\\u009f", "\\u009f"},
    {"\u00a0", "\u00a0", "\u00a0"},
    {"\u061b", "\u061b", "\u061b"},
    {"\u061c", "\\u061c", "\\u061c"},
    {"\u061d", "\u061d", "\u061d"},
    {"\u200d", "\u200d", "\u200d"},
    {"\u200e", "\\u200e", "\\u200e"},
    {"\u200f", "\\u200f", "\\u200f"},
    {"\u2010", "\u2010", "\u2010"},
    {"\u2027", "\u2027", "\u2027"},
    {"\u2028", "\\u2028", "\\u2028"},
    {"\u2029", "\\u2029", "\\u2029"},
    {"\u202a", "\\u202a", "\\u202a"},
    {"\u202e", "\\u202e", "\\u202e"},
    {"\u202f", "\u202f", "\u202f"},
    {"\u2065", "\u2065", "\u2065"},
    {"\u2066", "\\u2066", "\\u2066"},
    {"\u2069", "\\u2069", "\\u2069"},
    {"\u206a", "\u206a", "\u206a"},
    {"\U0001F600", "\U0001F600", "\U0001F600"},
    {"a\x1b[31m\u00e9\\", "a\\x1b[31m\u00e9\\", "a\\u001b[31m\u00e9\\"},
};

TEST(Printable, EscapesCharactersThatATerminalInterprets) {
  for (const Case& each : kCases) {
    EXPECT_EQ(each.m_Visible, Printable(each.m_Text));
    EXPECT_EQ(each.m_Json, PrintableJson(each.m_Text)) << each.m_Visible;
  }
}

TEST(Printable, DoesNotChangeEscapedText) {
  for (const Case& each : kCases) EXPECT_EQ(each.m_Visible, Printable(each.m_Visible));
}

// The cases include overlong encodings of a control character, a surrogate, and truncated
// characters.
TEST(Printable, EscapesBytesThatAreNotUtf8) {
  EXPECT_EQ("bad\\xffutf", Printable("bad\xff"
                                     "utf"));
  EXPECT_EQ("\\x9b31m", Printable("\x9b"
                                  "31m"));
  EXPECT_EQ("\\xc0\\x9b", Printable("\xc0\x9b"));
  EXPECT_EQ("\\xe0\\x80\\x9b", Printable("\xe0\x80\x9b"));
  EXPECT_EQ("\\xed\\xa0\\x80", Printable("\xed\xa0\x80"));
  EXPECT_EQ("\\xf5\\x80\\x80\\x80", Printable("\xf5\x80\x80\x80"));
  EXPECT_EQ("a\\xe2\\x80", Printable("a\xe2\x80"));
  EXPECT_EQ("\\xe2\\x80z", Printable("\xe2\x80z"));
}

TEST(Printable, KeepsTheLineBreaksOfADocument) {
  EXPECT_EQ("{\n  \"a\": \"\\u202e\"\n}\n", PrintableJson("{\n  \"a\": \"\u202e\"\n}\n"));
}

}  // namespace
