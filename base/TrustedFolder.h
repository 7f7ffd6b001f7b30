// Opens a folder step by step through descriptors, so that no other user can redirect the path.
//
// Paths are followed for the process's effective user, relative ones from the current folder, with
// up to 40 links per path. Nothing here throws, except std::bad_alloc.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"

namespace Base {

// A folder, or why it is not open. Exactly one of these holds: the folder is open; `m_Objection` is
// not empty; `m_Error` is not 0.
struct TrustedFolder {
  Descriptor m_Folder;  // O_PATH: for openat() and the like
  // Of `OpenFolderOf`: the last name, in `m_Folder`. It was not a symbolic link when it was read;
  // open it with O_NOFOLLOW. Empty for `OpenTrustedFolder`.
  std::string m_Name;
  bool m_IsWritableByOthers = false;  // other users may create files in the folder
  int m_Error = 0;                    // errno of the step that failed
  std::string m_Objection;  // "/tmp/link belongs to uid 1000", by the rules of TrustRules.h
};

// Opens `folder`, following links, and checks every folder of the path except `folder` itself.
// `m_IsWritableByOthers` is not set.
TrustedFolder OpenTrustedFolder(const std::filesystem::path& folder);

// What `OpenFolderOf` does beyond following the path.
struct OpenFolderOptions {
  // Create the missing folders of the path, with the mode of `NewFolderMode`.
  bool m_CreatesFolders = false;
  // For root, also reject another user's link in a folder that only root may write.
  bool m_RefusesForeignLinks = false;
};

// Opens the folder that `file` is in. A `file` that is a link is followed; one that is missing is
// fine. The folder itself is checked too. For a `file` that ends in a slash, the folder is `file`
// and the name ".".
TrustedFolder OpenFolderOf(const std::filesystem::path& file, OpenFolderOptions options = {});

}  // namespace Base
