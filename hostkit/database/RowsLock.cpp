#include "hostkit/database/RowsLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace HostKit {

namespace {

// An exiting host removes its lock file, possibly after this host has opened the file and before it
// has locked it.
constexpr int kMaxTries = 10;

// Another user's file is not accepted: that user could keep it locked.
bool IsOwnFile(const Base::Descriptor& file) {
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) return false;
  return S_ISREG(status.st_mode) && (status.st_uid == geteuid() || status.st_uid == 0);
}

// Whether other users can access the file, for example because another program copied it.
bool IsOpenToOthers(const Base::Descriptor& file) {
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) return false;
  return status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
}

}  // namespace

bool RowsLock::TryAcquire(const boost::filesystem::path& database) {
  m_File = database.string() + "-host";
  if (m_IsHeld && !HasMoved()) return true;
  m_IsHeld = false;
  for (int i = 0; i < kMaxTries; ++i) {
    if (!Lock()) return false;
    if (!HasMoved()) return m_IsHeld = true;
  }
  return false;
}

void RowsLock::Release() {
  if (m_IsHeld && !HasMoved()) unlink(m_File.c_str());
  m_IsHeld = false;
  m_Descriptor.Close();
}

// Other users must not be able to open the file: they could hold the lock forever.
bool RowsLock::Lock() {
  if (!m_Descriptor.IsOpen() || HasMoved()) {
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK;
    m_Descriptor = Base::OpenAt(AT_FDCWD, m_File.string(), kFlags, S_IRUSR | S_IWUSR);
    if (IsOpenToOthers(m_Descriptor)) {
      unlink(m_File.c_str());
      m_Descriptor = Base::OpenAt(AT_FDCWD, m_File.string(), kFlags | O_EXCL, S_IRUSR | S_IWUSR);
    }
  }
  return IsOwnFile(m_Descriptor) && flock(m_Descriptor.Get(), LOCK_EX | LOCK_NB) == 0;
}

bool RowsLock::HasMoved() const {
  struct stat open {};
  struct stat seen {};
  if (!m_Descriptor.IsOpen() || fstat(m_Descriptor.Get(), &open) != 0) return true;
  if (lstat(m_File.c_str(), &seen) != 0) return true;
  return open.st_ino != seen.st_ino || open.st_dev != seen.st_dev;
}

}  // namespace HostKit
