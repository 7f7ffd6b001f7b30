// Opens a directory step by step through descriptors, so that no other user can redirect the path.
//
// Paths are followed for the process's effective user, relative ones from the current directory,
// with up to 40 links per path. Nothing here throws, except std::bad_alloc.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"

namespace Base {

// A directory, or why it is not open. Exactly one of these holds: the directory is open;
// `m_Objection` is not empty; `m_Error` is not 0.
struct TrustedDirectory {
  Descriptor m_Directory;  // O_PATH: for openat() and the like
  // Of `OpenDirectoryOf`: the last name, in `m_Directory`. It was not a symbolic link when it was
  // read; open it with O_NOFOLLOW. Empty for `OpenTrustedDirectory`.
  std::string m_Name;
  bool m_IsWritableByOthers = false;  // other users may create files in the directory
  int m_Error = 0;                    // errno of the step that failed
  std::string m_Objection;  // "/tmp/link belongs to uid 1000", by the rules of TrustRules.h
};

// Opens `directory`, following links, and checks every directory of the path except `directory`
// itself. `m_IsWritableByOthers` is not set.
TrustedDirectory OpenTrustedDirectory(const std::filesystem::path& directory);

// What `OpenDirectoryOf` does beyond following the path.
struct OpenDirectoryOptions {
  // Create the missing directories of the path, with the mode of `NewDirectoryMode`.
  bool m_CreatesDirectories = false;
  // For root, also reject another user's link in a directory that only root may write.
  bool m_RefusesForeignLinks = false;
};

// Opens the directory that `file` is in. A `file` that is a link is followed; one that is missing
// is fine. The directory itself is checked too. For a `file` that ends in a slash, the directory is
// `file` and the name ".".
TrustedDirectory OpenDirectoryOf(const std::filesystem::path& file,
                                 OpenDirectoryOptions options = {});

}  // namespace Base
