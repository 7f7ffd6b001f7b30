// What this program loads, runs or replaces must not have been put there by another user.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Why code from `file` must not run: it, or a folder on the way to it, belongs to a user other than
// root and the caller, or can be written by others. Empty when nothing is wrong with it.
std::string ObjectionToCode(const std::filesystem::path& file);

// Why nothing may be written into `folder`: a folder or link on the way to it is another user's.
// The folder itself may be anybody's. Empty when nothing is wrong with it.
std::string ObjectionToWayTo(const std::filesystem::path& folder);

// What helps against either, for a person.
std::vector<std::string> TrustAdvice(const std::filesystem::path& file);

}  // namespace Console
