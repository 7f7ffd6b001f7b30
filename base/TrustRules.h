// Which files, folders and links another user could have put in place or may change.
//
// Trusted owners are root and the user who asks. For root, every folder on the way to a file must
// belong to root and be closed to other writers, or be sticky as /tmp is; the file itself must
// belong to root and be closed to other writers. Other users may share folders and files with whom
// they like. But from a folder that others may write, no user takes the link or file of a stranger,
// nor a file with a second name: whoever may write a folder can give another user's file a name
// there.
//
// Every objection is empty or a reason to put after the name: "belongs to uid 1000", "can be
// written by other users", "has a second hard link".
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

namespace Base {

// Whether `owner` is root or `user`.
bool IsTrustedOwner(uid_t owner, uid_t user);

// Whether others than root and `user` may write the file, or create files in the folder. Members of
// its group count for root only: an ordinary user often shares a folder with a group.
bool IsOpenTo(const struct stat& status, uid_t user);

// Against taking anything from this folder.
std::string ObjectionToFolder(const struct stat& folder, uid_t user);

// Against passing a link or folder on the way. `isInOpenFolder`: its folder is open to others.
std::string ObjectionToWay(bool isInOpenFolder, const struct stat& entry, uid_t user);

// Against using the file at the end of the way. Devices are always accepted, since only root can
// create them. A folder is judged by its owner alone.
std::string ObjectionToFile(bool isInOpenFolder, const struct stat& file, uid_t user);

// Against running code from this file or folder: as strict for every user as for root.
std::string ObjectionToCode(const struct stat& status, uid_t user);

// The permissions with which to create what `user` must accept again later: closed to other
// writers for root, up to the umask for others.
mode_t NewFileMode(uid_t user);
mode_t NewFolderMode(uid_t user);

}  // namespace Base
