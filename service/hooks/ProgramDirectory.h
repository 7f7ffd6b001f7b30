// The programs of a directory.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Hooks {

// The executable files in `directory`, by name. Hidden files and leftovers of editors and packages
// ("name~", "name.dpkg-old") are left out, and so is what another user could have changed, of which
// `report` receives the reason. Empty for a directory that does not exist.
std::vector<std::filesystem::path> FindPrograms(
    const std::filesystem::path& directory, const std::function<void(const std::string&)>& report);

}  // namespace Hooks
