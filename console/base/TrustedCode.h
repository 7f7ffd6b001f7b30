// Whether another user could have tampered with code that this program loads or runs.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Returns why code from `file` must not run, or empty if it may. The file and the directories of
// its path must belong to root or the caller, and other users must not be able to modify them.
// Others must not be able to write to the file's directory even if it is sticky, because they could
// put a library next to the file.
std::string TrustErrorOfCode(const std::filesystem::path& file);

// Returns why code must not be searched for in `directory`, or empty if it may be. If the directory
// does not exist, its deepest existing parent is checked, because anyone who can write to the
// parent could create the directory.
std::string TrustErrorOfCodeDirectory(const std::filesystem::path& directory);

// Returns advice for a `file` whose code must not run.
std::vector<std::string> TrustAdvice(const std::filesystem::path& file);

}  // namespace Console
