// The lines of an event stream.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Service {

// Looks only for lines that name an event ("event: ..."), because the events themselves are read
// from the log. Not thread-safe.
class StreamLines {
 public:
  static constexpr std::size_t kMaxLine = 1U << 20U;  // in bytes

  // Processes the next part of the stream, which may end within a line. Returns false if a line is
  // too long; the stream is then unusable.
  bool Append(std::string_view text);
  // Returns whether an event has arrived since the last call.
  bool TakeChange();

 private:
  std::string m_Line;  // not yet complete
  bool m_HasChange = false;
};

}  // namespace Service
