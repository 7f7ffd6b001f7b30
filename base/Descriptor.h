// A file descriptor with one owner.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace Base {

// Owns a descriptor and closes it when destroyed. Thread cancellation is deferred until the close
// has finished. Not thread-safe.
class Descriptor {
 public:
  // Takes ownership of `number`. A negative number creates a descriptor that is not open.
  explicit Descriptor(int number = -1) : m_Number(number) {}
  ~Descriptor() { Close(); }
  // After a move, `other` is not open.
  Descriptor(Descriptor&& other) noexcept : m_Number(std::exchange(other.m_Number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool IsOpen() const { return m_Number >= 0; }
  // Returns the number, which this object continues to own; negative if not open.
  int Get() const { return m_Number; }
  // Closes the descriptor if it is open. Preserves errno.
  void Close();

 private:
  int m_Number;
};

// Calls openat() with O_CLOEXEC added. The result is never 0, 1 or 2; otherwise, in a process that
// was started with a standard stream closed, output to that stream would go to this file. On
// failure, the result is not open and errno is set.
Descriptor OpenAt(int directory, const std::string& name, int flags, mode_t mode = 0);

// Returns 0 if the file can be opened for reading, or the errno. Does not block on a FIFO that has
// no writer.
int CheckReadable(const std::string& name);

// Appends the file, from its current position to its end, to `text`. Returns 0 or an errno: EFBIG
// if `text` would become longer than `limit` bytes. On failure, `text` contains the data read so
// far.
int ReadAll(const Descriptor& file, std::size_t limit, std::string& text);

// The two ends of a pipe. Both are closed on exec.
struct Pipe {
  Descriptor m_Read = Descriptor();
  Descriptor m_Write = Descriptor();
};

// Creates a pipe. On failure, neither end is open and errno is set.
Pipe MakePipe();

// Redirects file descriptor `number` of this process to /dev/null, for writing only. Does nothing
// if /dev/null cannot be opened.
void RedirectToNull(int number);

// Writes all of `text` at the file's current position. Returns 0, or the errno of the failed write;
// part of `text` may have been written before the failure.
int WriteAll(const Descriptor& file, std::string_view text);

}  // namespace Base
