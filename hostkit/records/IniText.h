// One key in the text of an ini file, among the keys outside sections.
#pragma once

#include <string>

namespace HostKit {

// The result of a lookup. `NoIni`: the text is not an ini file.
enum class IniLookup { Found, NoKey, NoIni };

// Reads the value of `key` from `text`. Sets `value` only if the key was found.
IniLookup FindIniValue(const std::string& text, const std::string& key, std::string& value);

// `text` with the value of `key` replaced, or with the key added after the last one outside
// sections. All other lines, including comments, remain unchanged. If key or value contain
// characters with a meaning in ini files, the result may not be one, or may not read back as
// `value`.
std::string WithIniValue(const std::string& text, const std::string& key, const std::string& value);

}  // namespace HostKit
