// A lock that decides which of the hosts sharing a database file keeps its plug-ins' rows in it.
#pragma once

#include <boost/filesystem/path.hpp>

#include "base/Descriptor.h"

namespace HostKit {

// A lock on an empty file next to the database, released when the host exits for any reason. The
// database file cannot be used for this lock: closing a second descriptor of it would release the
// locks that SQLite holds.
class RowsLock {
 public:
  RowsLock() = default;
  ~RowsLock() { Release(); }
  RowsLock(const RowsLock&) = delete;
  RowsLock& operator=(const RowsLock&) = delete;

  // Acquires the lock of that database if it is free, and returns whether this host now holds it.
  // Never waits. Call `Release` before acquiring the lock of another database. The path must not
  // contain symbolic links: another path to the same database would use another lock.
  bool TryAcquire(const boost::filesystem::path& database);
  // Releases the lock, if it is held, and removes the lock file.
  void Release();

 private:
  bool Lock();
  // Whether the lock file has been moved, deleted or replaced.
  bool HasMoved() const;

  boost::filesystem::path m_File;
  Base::Descriptor m_Descriptor;
  bool m_IsHeld = false;
};

}  // namespace HostKit
