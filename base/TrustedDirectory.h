// Opens a directory component by component through descriptors, so that no other user can redirect
// the path.
//
// Paths are checked for the process's effective user. Relative paths are resolved against the
// current directory. At most 40 symbolic links are followed. The only exception thrown is
// std::bad_alloc.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"

namespace Base {

// An open directory, or why it is not open. Exactly one of these is true: the directory is open,
// `m_TrustError` is not empty, or `m_Error` is not 0.
struct TrustedDirectory {
  Descriptor m_Directory;  // opened with O_PATH: for openat(), fstatat() and similar calls
  // The name of the file in `m_Directory`, set by `OpenDirectoryOf` only. The file was not a
  // symbolic link when it was checked; open it with O_NOFOLLOW.
  std::string m_Name;
  bool m_IsWritableByOthers = false;  // other users can create files in the directory
  int m_Error = 0;                    // errno of the step that failed
  // The rule in TrustRules.h that failed, such as "/tmp/link is owned by uid 1000".
  std::string m_TrustError;
};

// Opens `directory`, following symbolic links, and checks every directory of the path except
// `directory` itself. Does not set `m_IsWritableByOthers`.
TrustedDirectory OpenTrustedDirectory(const std::filesystem::path& directory);

// Options for `OpenDirectoryOf`.
struct OpenDirectoryOptions {
  // Create missing directories in the path, with the mode that `NewDirectoryMode` returns.
  bool m_CreatesDirectories = false;
  // If the user is root, also reject links that belong to another user, even in directories to
  // which only root can write.
  bool m_RejectsUntrustedLinks = false;
};

// Opens the directory that contains `file`, and checks every directory of the path, including that
// one. If `file` is a symbolic link, the link is followed. `file` need not exist. If `file` ends in
// a slash, the result is the directory `file` and the name ".".
TrustedDirectory OpenDirectoryOf(const std::filesystem::path& file,
                                 OpenDirectoryOptions options = {});

}  // namespace Base
