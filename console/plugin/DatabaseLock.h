// A lock that gives a service exclusive use of its database, because a second plug-in with the same
// database would count events twice.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

#include "base/Descriptor.h"

namespace Console {

// The service that holds a database.
struct LockHolder {
  pid_t m_Process = -1;  // -1: unknown
  std::string m_Socket;  // empty: unknown
};

// Parses a lock file: the process id on the first line and the socket on the second. A line without
// a newline may be incomplete and is ignored, with the line before it.
LockHolder ParseLockFile(const std::string& text);

// A lock on a file next to the database that the environment selects. The kernel releases the lock
// when the process terminates for any reason; the file remains.
class DatabaseLock {
 public:
  // Locks the file and writes this process and its socket to it; a database in memory needs no
  // lock. Does not detect a command that has already loaded the plug-in. Throws `Failure` if
  // another service holds the lock or the file cannot be used.
  explicit DatabaseLock(const std::filesystem::path& socket);

 private:
  Base::Descriptor m_File;
};

// Returns the service that holds the database that the environment selects; empty if there is none
// or the user may not read the lock file.
std::optional<LockHolder> FindLockHolder();

// If a service holds the database, throws a `Failure` that names the service.
void RequireNoService();

}  // namespace Console
