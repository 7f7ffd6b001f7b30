// Whether another user could have tampered with code that this program loads or runs.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Why code from `file` must not run: the file or a directory on its path belongs to a user other
// than root and the caller, or other users can write it. The directory of the file must not be
// writable even if it is sticky, because others could put a library next to the file. Empty if
// there is no objection.
std::string ObjectionToCode(const std::filesystem::path& file);

// Why code must not be searched for in `directory`. The directory may be missing: whoever can write
// the deepest existing parent could create it.
std::string ObjectionToCodeDirectory(const std::filesystem::path& directory);

// What the user can do about an objection.
std::vector<std::string> TrustAdvice(const std::filesystem::path& file);

}  // namespace Console
