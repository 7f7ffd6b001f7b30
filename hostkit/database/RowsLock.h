// Which of several hosts on one file keeps its plug-ins' rows in it.
#pragma once

#include <boost/filesystem/path.hpp>

#include "base/Descriptor.h"

namespace HostKit {

// A lock on an empty file beside the database, which goes when the host ends, however it ends. The
// database itself cannot be locked for that: closing it a second time would take the locks away
// that the library holds on it.
class RowsLock {
 public:
  RowsLock() = default;
  ~RowsLock() { Release(); }
  RowsLock(const RowsLock&) = delete;
  RowsLock& operator=(const RowsLock&) = delete;

  // True when this host holds the lock of that database now. Never waits. One database at a time:
  // `Release` comes before another one. The file's name is one without links: by another name it
  // would have another lock.
  bool Take(const boost::filesystem::path& database);
  void Release();

 private:
  bool Lock();
  // The file that was locked is not the one that others see.
  bool HasMoved() const;

  boost::filesystem::path m_File;
  Base::Descriptor m_Descriptor;
  bool m_IsHeld = false;
};

}  // namespace HostKit
