// Whether another user could have tampered with code that this program loads or runs.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Why code from `file` must not run: the file or a folder on its path belongs to a user other than
// root and the caller, or other users can write it. The folder of the file must not be writable
// even if it is sticky, because others could put a library next to the file. Empty if there is no
// objection.
std::string ObjectionToCode(const std::filesystem::path& file);

// Why code must not be searched for in `folder`. The folder may be missing: whoever can write the
// deepest existing parent could create it.
std::string ObjectionToCodeFolder(const std::filesystem::path& folder);

// Why nothing may be taken from a folder on the way to where something is written, and why a link
// in it must not be followed: another user could lead the way elsewhere. Empty when nothing is
// wrong with it.
std::string ObjectionToPassing(const std::filesystem::path& name, const struct stat& folder);
std::string ObjectionToLink(const std::filesystem::path& name, const struct stat& folder,
                            const struct stat& link);

// What the user can do about an objection.
std::vector<std::string> TrustAdvice(const std::filesystem::path& file);

}  // namespace Console
