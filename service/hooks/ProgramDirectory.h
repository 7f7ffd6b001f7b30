// Finds the programs in a directory.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Hooks {

// Returns the executable files in `directory`, sorted by name. Skips hidden files and leftovers of
// editors and package managers ("name~", "name.dpkg-old"). Also skips files that another user could
// have changed, and calls `report` with the reason. Returns no files if the directory does not
// exist or, after calling `report`, if it cannot be opened.
std::vector<std::filesystem::path> FindPrograms(
    const std::filesystem::path& directory, const std::function<void(const std::string&)>& report);

}  // namespace Hooks
