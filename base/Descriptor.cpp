#include "base/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/CancellationGuard.h"

namespace Base {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    Close();
    m_Number = std::exchange(other.m_Number, -1);
  }
  return *this;
}

void Descriptor::Close() {
  if (!IsOpen()) return;
  const CancellationGuard guard;
  const int error = errno;
  close(m_Number);
  m_Number = -1;
  errno = error;
}

Descriptor OpenAt(int directory, const std::string& name, int flags, mode_t mode) {
  Descriptor file(openat(directory, name.c_str(), flags | O_CLOEXEC, mode));
  if (!file.IsOpen() || file.Get() > STDERR_FILENO) return file;
  return Descriptor(fcntl(file.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

int CheckReadable(const std::string& name) {
  return OpenAt(AT_FDCWD, name, O_RDONLY | O_NONBLOCK).IsOpen() ? 0 : errno;
}

int ReadAll(const Descriptor& file, std::size_t limit, std::string& text) {
  char block[16384];
  for (;;) {
    const ssize_t count = read(file.Get(), block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) return 0;
    if (text.size() + static_cast<std::size_t>(count) > limit) return EFBIG;
    text.append(block, static_cast<std::size_t>(count));
  }
}

Pipe MakePipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return Pipe();
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void RedirectToNull(int number) {
  const Descriptor null = OpenAt(AT_FDCWD, "/dev/null", O_WRONLY);
  if (null.IsOpen()) dup2(null.Get(), number);
}

int WriteAll(const Descriptor& file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(file.Get(), text.data(), text.size());
    if (count < 0 && errno != EINTR) return errno;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace Base
