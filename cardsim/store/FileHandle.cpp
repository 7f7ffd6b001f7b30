#include "cardsim/store/FileHandle.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "cardsim/store/CancellationShield.h"

namespace CardSim {

FileHandle::~FileHandle() {
  if (m_Fd < 0) return;
  // A version of the file is let go by whichever call replaces it.
  const CancellationShield shield;
  close(m_Fd);
}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  std::swap(m_Fd, other.m_Fd);
  return *this;
}

FileHandle OpenAt(int folder, const std::string& name, int flags, mode_t mode) {
  FileHandle file(openat(folder, name.c_str(), flags | O_CLOEXEC, mode));
  if (!file.IsOpen() || file.Get() > STDERR_FILENO) return file;
  return FileHandle(fcntl(file.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace CardSim
