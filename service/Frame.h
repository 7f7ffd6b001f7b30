// Messages between the two processes of the service: JSON documents on a stream socket, each after
// its length.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "base/Mutex.h"

namespace Service {

// The most bytes of one document. The records of a thousand cards need about a tenth of it.
constexpr std::size_t kLargestFrame = 64U << 20U;

// The other process sent something that is not a frame.
class FrameError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Waits for the next document. Empty at the end of the stream, also in the middle of a frame and
// after an error of the socket. Throws `FrameError`. The descriptor remains the caller's; one
// reader at a time.
std::optional<nlohmann::json> ReadFrame(int socket);

// Writes documents, each as a whole, from any thread.
class FrameWriter {
 public:
  // The descriptor remains the caller's and must outlive the writer.
  explicit FrameWriter(int socket) : m_Socket(socket) {}

  // Bytes that are not UTF-8 are replaced. Waits until the other process has taken enough of what
  // was written before. False if it has ended or the document is too large; also, from then on,
  // if the socket's send timeout has cut a document.
  bool Write(const nlohmann::json& document);

 private:
  const int m_Socket;
  Base::Mutex m_Lock;  // so that frames do not mix
  bool m_IsBroken HOST_GUARDED_BY(m_Lock) = false;
};

}  // namespace Service
