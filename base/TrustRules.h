// Which files, directories and links another user could have put in place or may change.
//
// Trusted owners are root and the user for whom the path is checked. For root, every directory of
// the path must belong to root and be writable by no other user, or be sticky as /tmp is; the file
// itself must belong to root and be writable by no other user. Other users may share directories
// and files as they like. But in a directory that others may write, links and files of other owners
// are rejected for everyone, and so are files with a second hard link: any writer of a directory
// can link another user's file into it.
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

// Whether others than root and `user` may write the file, or create files in the directory. Members
// of its group count for root only: an ordinary user often shares a directory with a group.
bool IsOpenTo(const struct stat& status, uid_t user);

// An objection to using anything in this directory.
std::string ObjectionToDirectory(const struct stat& directory, uid_t user);

// An objection to following a link or directory in the middle of a path. `isInOpenDirectory`: other
// users may write the directory that it is in.
std::string ObjectionToComponent(bool isInOpenDirectory, const struct stat& entry, uid_t user);

// An objection to using the file at the end of a path. Devices are always accepted, since only root
// can create them. For a directory, only the owner matters.
std::string ObjectionToFile(bool isInOpenDirectory, const struct stat& file, uid_t user);

// An objection to running code from this file or directory. As strict for every user as for root.
std::string ObjectionToCode(const struct stat& status, uid_t user);

// The permissions for new files and directories, so that `user` accepts them later: writable by
// root alone for root, limited by the umask for others.
mode_t NewFileMode(uid_t user);
mode_t NewDirectoryMode(uid_t user);

}  // namespace Base
