// File status, including the access control list, for the checks in TrustRules.h.
//
// If a file has a POSIX access control list, the group bits of its mode are the upper limit for all
// users and groups in the list. Therefore, if such a file is group-writable, both functions also
// set S_IWOTH, so that the checks treat the file as writable by others. Thread-safe.
#pragma once

#include <sys/stat.h>

namespace Base {

// Calls fstat() and returns its result: 0, or -1 with errno set. `file` may have been opened with
// O_PATH.
int FstatWithAcl(int file, struct stat* status);

// Calls lstat() and returns its result: 0, or -1 with errno set.
int LstatWithAcl(const char* name, struct stat* status);

}  // namespace Base
