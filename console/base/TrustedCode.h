// What this program loads, runs or replaces must not have been put there by another user.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Why code from `file` must not run: it, or a folder on the way to it, belongs to a user other than
// root and the caller, or can be written by others. The folder that holds it must not be sticky
// either, since others could put a library beside the file. Empty when nothing is wrong with it.
std::string ObjectionToCode(const std::filesystem::path& file);

// Why no code may be looked for in `folder`. The folder may be missing: whoever may write the
// deepest one that exists could make it.
std::string ObjectionToCodeFolder(const std::filesystem::path& folder);

// Why nothing may be taken from a folder on the way to where something is written, and why a link
// in it must not be followed: another user could lead the way elsewhere. Empty when nothing is
// wrong with it.
std::string ObjectionToPassing(const std::filesystem::path& name, const struct stat& folder);
std::string ObjectionToLink(const std::filesystem::path& name, const struct stat& folder,
                            const struct stat& link);

// What helps against either, for a person.
std::vector<std::string> TrustAdvice(const std::filesystem::path& file);

}  // namespace Console
