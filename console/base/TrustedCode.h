// Whether another user could have tampered with code that this program loads or runs.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Returns why code from `file` must not run, or empty if it may. The objection is that the file or
// a directory of its path belongs to a user other than root and the caller, or that other users can
// write it. Others must not be able to write the file's directory even if it is sticky, because
// they could put a library next to the file.
std::string ObjectionToCode(const std::filesystem::path& file);

// Returns why code must not be searched for in `directory`, or empty if it may. If
// the directory does not exist, its deepest existing parent is checked, because anyone who can
// write the parent could create the directory.
std::string ObjectionToCodeDirectory(const std::filesystem::path& directory);

// Returns what the user can do about an objection to `file`.
std::vector<std::string> TrustAdvice(const std::filesystem::path& file);

}  // namespace Console
