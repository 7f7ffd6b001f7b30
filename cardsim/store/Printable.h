// Texts as they may be shown to people, whatever they hold.
#pragma once

#include <string>
#include <string_view>

namespace CardSim {

// Control characters as \x1b, characters that control a terminal or turn the direction of writing
// as \u009b or \u202e, bytes that are not UTF-8 as \xff. So no text can move the cursor, break a
// line or show other than it is.
std::string Printable(std::string_view text);

}  // namespace CardSim
