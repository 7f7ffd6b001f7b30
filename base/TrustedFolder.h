// Reaching a folder through open descriptors, so that no other user can redirect the way.
//
// Paths are followed for the process's effective user, relative ones from the current folder, with
// up to 40 links in a row. Nothing here throws, except std::bad_alloc.
#pragma once

#include <filesystem>
#include <string>

#include "base/Descriptor.h"

namespace Base {

// A folder, or why there is none. Exactly one of these holds: the folder is open; `m_Objection` is
// not empty; `m_Error` is not 0.
struct TrustedFolder {
  Descriptor m_Folder;  // O_PATH: for openat() and the like
  // Of `OpenFolderOf`: the last name, in `m_Folder`. It was not a symbolic link when it was read;
  // open it with O_NOFOLLOW. Empty for `OpenTrustedFolder`.
  std::string m_Name;
  bool m_IsOpen = false;    // other users may create files in the folder
  int m_Error = 0;          // errno of the step that failed
  std::string m_Objection;  // "/tmp/link belongs to uid 1000", by the rules of TrustRules.h
};

// Opens `folder`, following links, and judges every folder that something is taken from; `folder`
// itself is not judged, nor is `m_IsOpen` set.
TrustedFolder OpenTrustedFolder(const std::filesystem::path& folder);

// What `OpenFolderOf` does beyond following the path.
struct FolderOfOptions {
  // Create missing folders on the way, with the mode of `NewFolderMode`.
  bool m_CreatesFolders = false;
  // For root, also refuse a stranger's link in a folder that only root may write.
  bool m_RefusesForeignLinks = false;
};

// Opens the folder that `file` is in. A `file` that is a link is followed; one that is missing is
// fine. The folder is judged as well. A `file` that ends in a slash names the folder itself, as
// ".".
TrustedFolder OpenFolderOf(const std::filesystem::path& file, FolderOfOptions options = {});

}  // namespace Base
