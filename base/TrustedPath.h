// Checks whether a path can be trusted, by the rules of TrustRules.h.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"

namespace Base {

struct TrustedPath {
  // Absolute and without symbolic links, as far as the path exists. Open it with O_NOFOLLOW.
  std::filesystem::path m_File;
  // Empty, or why the file must not be used: "/tmp/a.db belongs to uid 1000".
  std::string m_Objection;
  // Other users may create files in the file's directory.
  bool m_IsInSharedDirectory = false;
};

// Resolves `file`, relative to the current directory, as the kernel would, for the process's
// effective user. A path that exists only in part is checked as far as it exists. If a directory of
// the path cannot be read (EACCES, for example), root gets an objection; other users get none,
// because opening the file will give the reason. Throws std::bad_alloc only.
TrustedPath ResolveTrusted(const std::filesystem::path& file);

// The earlier objection to `file`, or else one to what was actually opened: another process may
// have replaced the file since `ResolveTrusted`. A descriptor that is not open adds no objection.
std::string ObjectionToOpened(const TrustedPath& file, const Descriptor& opened);

}  // namespace Base
