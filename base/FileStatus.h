// The status of a file as TrustRules.h judges it, with its access list taken into account.
//
// If a file has a POSIX access list, the group bits of its mode are the most that anyone in the
// list may do. So when such a file can be written by its group, both functions also set S_IWOTH.
// Any thread may call them.
#pragma once

#include <sys/stat.h>

namespace Base {

// Like fstat(): 0, or -1 with errno. `file` may have been opened with O_PATH.
int StatusOfOpened(int file, struct stat* status);

// Like lstat(): 0, or -1 with errno.
int StatusOfName(const char* name, struct stat* status);

}  // namespace Base
