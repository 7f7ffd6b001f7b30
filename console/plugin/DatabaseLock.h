// Lock that gives a service exclusive use of its database: a second plug-in with the same database
// would count events twice.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

#include "base/Descriptor.h"

namespace Console {

// The service that holds a database.
struct LockHolder {
  pid_t m_Process = -1;  // -1: not known
  std::string m_Socket;  // where it serves; empty: not known
};

// A lock on a file next to the database that the environment names. The kernel releases it when the
// process ends, however it ends; the file remains.
class DatabaseLock {
 public:
  // A command that loaded the plug-in before is not noticed. Takes the lock, and names this process
  // and its socket in the file. A database in memory needs no lock. Throws `Failure` if another
  // service holds it, or the file cannot be used.
  explicit DatabaseLock(const std::filesystem::path& socket);

 private:
  Base::Descriptor m_File;
};

// The service that holds the database that the environment names; empty if none does, or the user
// may not read the lock.
std::optional<LockHolder> FindLockHolder();

// Throws `Failure` that names the service, if one holds the database.
void RequireNoService();

}  // namespace Console
