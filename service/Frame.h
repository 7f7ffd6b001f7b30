// Messages between the two processes of the service: JSON documents on a stream socket, each
// preceded by its length.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

#include "base/HeldLocks.h"

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
std::optional<nlohmann::json> ReadFrame(int socket) HOST_BLOCKS;

// Returns the bytes of the document's frame, or an empty string if the document is too large. Bytes
// that are not UTF-8 are replaced.
std::string EncodeFrame(const nlohmann::json& document);

// Writes an encoded frame. Blocks while the socket's buffer is full. Returns false if the other
// process has exited or the socket's send timeout has expired; part of the frame may have been
// written. The caller keeps ownership of the descriptor. Not thread-safe.
bool WriteFrame(int socket, const std::string& frame) HOST_BLOCKS;

}  // namespace Service
