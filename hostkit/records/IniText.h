// Reads and sets a key in the text of an ini file. Only keys outside sections count.
#pragma once

#include <string>

namespace HostKit {

// The result of a lookup. `NotIni` means that the text is not an ini file.
enum class IniLookup { Found, NoKey, NotIni };

// Reads the value of `key` from `text`. Sets `value` only if the key was found.
IniLookup FindIniValue(const std::string& text, const std::string& key, std::string& value);

// Returns `text` with the value of `key` replaced, or with the key added before the first section.
// All other lines, including comments, remain unchanged. If `key` or `value` contains characters
// that are special in ini files, the result may not be a valid ini file, or the key may not read
// back as `value`.
std::string WithIniValue(const std::string& text, const std::string& key, const std::string& value);

}  // namespace HostKit
