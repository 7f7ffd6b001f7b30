// Rules that detect files, directories and links that another user may have created or can change.
//
// Trusted owners are root and the user for whom the path is checked. For root, every directory of
// the path must be owned by root and must either be writable only by root or be sticky, like /tmp;
// the file itself must be owned by root and be writable only by root. Other users may share
// directories and files. However, in a directory that others can write to, links and files with an
// untrusted owner are rejected for every user. Files with more than one hard link are also rejected
// there, because anyone who can write to the directory can link another user's file into it.
//
// The functions named `TrustErrorOf...` return the reason for rejecting a file, to be appended to
// its name, or an empty string if the file is accepted: "is owned by uid 1000", "can be written by
// other users", "has a second hard link".
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

namespace Base {

// Whether `owner` is root or `user`.
bool IsTrustedOwner(uid_t owner, uid_t user);

// Whether users other than root and `user` can write to the file or create files in the directory.
// Group write permission counts only if `user` is root, because ordinary users often share a
// directory with a group.
bool IsWritableByOthers(const struct stat& status, uid_t user);

// Returns the reason for rejecting every file in this directory. Ordinary users accept every
// directory.
std::string TrustErrorOfDirectory(const struct stat& directory, uid_t user);

// Returns the reason for not following a link or not entering a directory in the middle of a path.
// `isInSharedDirectory` is true if other users can write to the directory that contains the entry.
std::string TrustErrorOfComponent(bool isInSharedDirectory, const struct stat& entry, uid_t user);

// Returns the reason for rejecting the file at the end of a path. Devices are always accepted,
// because only root can create them. For a directory, only the owner is checked.
std::string TrustErrorOfFile(bool isInSharedDirectory, const struct stat& file, uid_t user);

// Returns the reason for not running code from this file or directory. The owner must be trusted
// and others must not be able to modify it, even if `user` is not root.
std::string TrustErrorOfCode(const struct stat& status, uid_t user);

// Return the mode for new files and directories that pass these checks for `user`: writable only by
// root if `user` is root; otherwise limited only by the umask.
mode_t NewFileMode(uid_t user);
mode_t NewDirectoryMode(uid_t user);

}  // namespace Base
