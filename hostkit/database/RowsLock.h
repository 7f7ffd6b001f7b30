// Which of several hosts that use one file keeps its plug-ins' rows in it.
#pragma once

#include <boost/filesystem/path.hpp>

#include "base/Descriptor.h"

namespace HostKit {

// A lock on an empty file next to the database, released when the host ends, however it ends. The
// database itself cannot be locked for that: closing a second descriptor of it would release the
// locks that the library holds.
class RowsLock {
 public:
  RowsLock() = default;
  ~RowsLock() { Release(); }
  RowsLock(const RowsLock&) = delete;
  RowsLock& operator=(const RowsLock&) = delete;

  // Whether this host now holds the lock of that database. Never waits. One database at a time:
  // call `Release` before another one. The path must have no links: through another path the
  // database would have another lock.
  bool Take(const boost::filesystem::path& database);
  // Releases the lock, if it is held, and removes its file.
  void Release();

 private:
  bool Lock();
  // Whether another file, or none, is now at the path of the locked one.
  bool HasMoved() const;

  boost::filesystem::path m_File;
  Base::Descriptor m_Descriptor;
  bool m_IsHeld = false;
};

}  // namespace HostKit
