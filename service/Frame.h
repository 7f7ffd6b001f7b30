// Messages between the two processes of the service: JSON documents on a stream socket, each
// preceded by its length.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "base/Mutex.h"

namespace Service {

// Maximum size of a document in bytes. The records of a thousand cards need about a tenth of it.
constexpr std::size_t kMaxFrameSize = 64U << 20U;

// The other process sent something that is not a frame.
class FrameError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Waits for the next document. Returns empty at the end of the stream, even within a frame, and on
// a socket error. Throws `FrameError`. The caller keeps ownership of the descriptor. Not
// thread-safe.
std::optional<nlohmann::json> ReadFrame(int socket);

// Writes documents as frames. Thread-safe.
class FrameWriter {
 public:
  // The caller keeps ownership of the descriptor, which must outlive the writer.
  explicit FrameWriter(int socket) : m_Socket(socket) {}

  // Replaces bytes that are not UTF-8. Blocks while the socket's buffer is full. Returns false if
  // the document is too large, the other process has exited, or the socket's send timeout has
  // expired. After a failure to send, all later calls return false.
  bool Write(const nlohmann::json& document);

 private:
  const int m_Socket;
  Base::Mutex m_Lock;  // held while a frame is written
  bool m_IsBroken HOST_GUARDED_BY(m_Lock) = false;
};

}  // namespace Service
