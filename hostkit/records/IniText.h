// One key of an ini file's text, among the keys in no section.
#pragma once

#include <string>

namespace HostKit {

enum class IniLookUp { Found, NoKey, NoIni };

// Reads the value of `key` from `text`. `value` is written only when it is found.
IniLookUp FindIniValue(const std::string& text, const std::string& key, std::string& value);

// `text` with the value of `key` replaced, or with the key added behind the last one in no section.
// All other lines, comments among them, stay as they are. The result need not be an ini file, nor
// read back as `value`, if key or value hold characters that mean something in one.
std::string WithIniValue(const std::string& text, const std::string& key, const std::string& value);

}  // namespace HostKit
