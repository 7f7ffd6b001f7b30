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

// Code points on both sides of each boundary of the ranges that can move the cursor, change the
// text direction or be invisible.
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
    {"\u00ac", "\u00ac", "\u00ac"},
    {"\u00ad", "\\u00ad", "\\u00ad"},
    {"\u00ae", "\u00ae", "\u00ae"},
    {"\u05ff", "\u05ff", "\u05ff"},
    {"\u0600", "\\u0600", "\\u0600"},
    {"\u0605", "\\u0605", "\\u0605"},
    {"\u0606", "\u0606", "\u0606"},
    {"\u061b", "\u061b", "\u061b"},
    {"\u061c", "\\u061c", "\\u061c"},
    {"\u061d", "\u061d", "\u061d"},
    {"\u06dc", "\u06dc", "\u06dc"},
    {"\u06dd", "\\u06dd", "\\u06dd"},
    {"\u06de", "\u06de", "\u06de"},
    {"\u070e", "\u070e", "\u070e"},
    {"\u070f", "\\u070f", "\\u070f"},
    {"\u0710", "\u0710", "\u0710"},
    {"\u088f", "\u088f", "\u088f"},
    {"\u0890", "\\u0890", "\\u0890"},
    {"\u0891", "\\u0891", "\\u0891"},
    {"\u0892", "\u0892", "\u0892"},
    {"\u08e1", "\u08e1", "\u08e1"},
    {"\u08e2", "\\u08e2", "\\u08e2"},
    {"\u08e3", "\u08e3", "\u08e3"},
    {"\u180d", "\u180d", "\u180d"},
    {"\u180e", "\\u180e", "\\u180e"},
    {"\u180f", "\u180f", "\u180f"},
    {"\u200a", "\u200a", "\u200a"},
    {"\u200b", "\\u200b", "\\u200b"},
    {"\u200d", "\\u200d", "\\u200d"},
    {"\u200e", "\\u200e", "\\u200e"},
    {"\u200f", "\\u200f", "\\u200f"},
    {"\u2010", "\u2010", "\u2010"},
    {"\u2027", "\u2027", "\u2027"},
    {"\u2028", "\\u2028", "\\u2028"},
    {"\u2029", "\\u2029", "\\u2029"},
    {"\u202a", "\\u202a", "\\u202a"},
    {"\u202e", "\\u202e", "\\u202e"},
    {"\u202f", "\u202f", "\u202f"},
    {"\u205f", "\u205f", "\u205f"},
    {"\u2060", "\\u2060", "\\u2060"},
    {"\u2065", "\\u2065", "\\u2065"},
    {"\u2066", "\\u2066", "\\u2066"},
    {"\u2069", "\\u2069", "\\u2069"},
    {"\u206f", "\\u206f", "\\u206f"},
    {"\u2070", "\u2070", "\u2070"},
    {"\ufefe", "\ufefe", "\ufefe"},
    {"\ufeff", "\\ufeff", "\\ufeff"},
    {"\uff00", "\uff00", "\uff00"},
    {"\ufff8", "\ufff8", "\ufff8"},
    {"\ufff9", "\\ufff9", "\\ufff9"},
    {"\ufffb", "\\ufffb", "\\ufffb"},
    {"\ufffc", "\ufffc", "\ufffc"},
    {"\U000110bc", "\U000110bc", "\U000110bc"},
    {"\U000110bd", "\\U000110bd", "\\ud804\\udcbd"},
    {"\U000110be", "\U000110be", "\U000110be"},
    {"\U000110cd", "\\U000110cd", "\\ud804\\udccd"},
    {"\U0001342f", "\U0001342f", "\U0001342f"},
    {"\U00013430", "\\U00013430", "\\ud80d\\udc30"},
    {"\U0001343f", "\\U0001343f", "\\ud80d\\udc3f"},
    {"\U00013440", "\U00013440", "\U00013440"},
    {"\U0001bc9f", "\U0001bc9f", "\U0001bc9f"},
    {"\U0001bca0", "\\U0001bca0", "\\ud82f\\udca0"},
    {"\U0001bca3", "\\U0001bca3", "\\ud82f\\udca3"},
    {"\U0001bca4", "\U0001bca4", "\U0001bca4"},
    {"\U0001d172", "\U0001d172", "\U0001d172"},
    {"\U0001d173", "\\U0001d173", "\\ud834\\udd73"},
    {"\U0001d17a", "\\U0001d17a", "\\ud834\\udd7a"},
    {"\U0001d17b", "\U0001d17b", "\U0001d17b"},
    {"\U000e0001", "\\U000e0001", "\\udb40\\udc01"},
    {"\U000e007f", "\\U000e007f", "\\udb40\\udc7f"},
    {"\U000e0080", "\U000e0080", "\U000e0080"},
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
