// Which files, folders and links another user could have put in place or may change.
//
// Trusted owners are root and the user for whom the path is checked. For root, every folder of the
// path must belong to root and be writable by no other user, or be sticky as /tmp is; the file
// itself must belong to root and be writable by no other user. Other users may share folders and
// files as they like. But in a folder that others may write, links and files of other owners are
// rejected for everyone, and so are files with a second hard link: any writer of a folder can link
// another user's file into it.
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

// An objection to using anything in this folder.
std::string ObjectionToFolder(const struct stat& folder, uid_t user);

// An objection to following a link or folder in the middle of a path. `isInOpenFolder`: other users
// may write the folder that it is in.
std::string ObjectionToComponent(bool isInOpenFolder, const struct stat& entry, uid_t user);

// An objection to using the file at the end of a path. Devices are always accepted, since only root
// can create them. For a folder, only the owner matters.
std::string ObjectionToFile(bool isInOpenFolder, const struct stat& file, uid_t user);

// An objection to running code from this file or folder. As strict for every user as for root.
std::string ObjectionToCode(const struct stat& status, uid_t user);

// The permissions for new files and folders, so that `user` accepts them later: writable by root
// alone for root, limited by the umask for others.
mode_t NewFileMode(uid_t user);
mode_t NewFolderMode(uid_t user);

}  // namespace Base
