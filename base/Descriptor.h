// A file descriptor with one owner.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace Base {

// Owns a descriptor and closes it when destroyed; a cancellation of the thread waits for that.
// Not synchronized: one thread at a time.
class Descriptor {
 public:
  // Takes ownership of `number`. Any negative number means "not open".
  explicit Descriptor(int number = -1) : m_Number(number) {}
  ~Descriptor() { Close(); }
  // The source is not open afterwards.
  Descriptor(Descriptor&& other) noexcept : m_Number(std::exchange(other.m_Number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool IsOpen() const { return m_Number >= 0; }
  // The number, still owned by this object; negative when not open.
  int Get() const { return m_Number; }
  // Closes it now. Does nothing when it is not open. Keeps errno.
  void Close();

 private:
  int m_Number;
};

// Like openat(), with O_CLOEXEC added. The result is never 0, 1 or 2: in a process that was started
// without a standard stream, what it prints would end up in this file. On failure the result is not
// open and errno gives the reason.
Descriptor OpenAt(int directory, const std::string& name, int flags, mode_t mode = 0);

// 0 if the file can be opened for reading, else errno. Does not wait for the other end of a pipe.
int ErrorOfReading(const std::string& name);

// Appends all that is left of the file to `text`. 0, or an errno: EFBIG if `text` would become
// longer than `limit` bytes. On failure `text` holds what was read so far.
int ReadAll(const Descriptor& file, std::size_t limit, std::string& text);

// The two ends of a pipe; closed when a program is executed.
struct Pipe {
  Descriptor m_Read = Descriptor();
  Descriptor m_Write = Descriptor();
};

// Creates a pipe. On failure both ends are not open and errno gives the reason.
Pipe MakePipe();

// Makes descriptor `number` of this process discard what is written to it. Does nothing if
// /dev/null cannot be opened.
void Discard(int number);

// Writes all of `text` at the file's position. 0, or the errno of the write that failed, after
// which an unknown part has been written.
int WriteAll(const Descriptor& file, std::string_view text);

}  // namespace Base
