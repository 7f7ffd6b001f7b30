// A file descriptor, closed with its owner.
#pragma once

#include <sys/types.h>

#include <string>

namespace CardSim {

class FileHandle {
 public:
  explicit FileHandle(int fd = -1) : m_Fd(fd) {}
  ~FileHandle();
  FileHandle(FileHandle&& other) noexcept : m_Fd(other.m_Fd) { other.m_Fd = -1; }
  FileHandle& operator=(FileHandle&& other) noexcept;
  int Get() const { return m_Fd; }
  bool IsOpen() const { return m_Fd >= 0; }

 private:
  int m_Fd;
};

// As openat, closed on exec. The descriptor is never 0, 1 or 2: in a process that was started
// without one of them, what it prints would end up in our file. Not open on failure, with errno.
FileHandle OpenAt(int folder, const std::string& name, int flags, mode_t mode = 0);

}  // namespace CardSim
