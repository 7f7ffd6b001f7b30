// Checks whether a path can be trusted, by the rules in TrustRules.h.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"

namespace Base {

struct TrustedPath {
  // The absolute path; the part that exists contains no symbolic links. Open it with O_NOFOLLOW.
  std::filesystem::path m_File;
  // The reason why the file must not be used, such as "/tmp/a.db is owned by uid 1000", or empty.
  std::string m_TrustError;
  // Other users can create files in the file's directory.
  bool m_IsInSharedDirectory = false;
};

// Resolves `file`, relative to the current directory, as the kernel does, and checks it for the
// process's effective user. If part of the path does not exist, only the existing part is checked.
// If a directory of the path cannot be accessed (EACCES, for example), the path is rejected for
// root; for other users, opening the file will report the error. The only exception thrown is
// std::bad_alloc.
TrustedPath ResolveTrusted(const std::filesystem::path& file);

// Returns the reason for rejecting `file` or the opened file, or an empty string. The opened file
// is checked because another process may have replaced the file since `ResolveTrusted`. If `opened`
// is not open, only `file` counts.
std::string TrustErrorOfOpened(const TrustedPath& file, const Descriptor& opened);

}  // namespace Base
