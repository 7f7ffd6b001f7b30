#include "service/Frame.h"

#include <endian.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

namespace Service {
namespace {

using Length = std::uint32_t;

// Returns whether all bytes arrived.
bool ReadExactly(int socket, char* into, std::size_t size) {
  while (size > 0) {
    const ssize_t count = recv(socket, into, size, MSG_WAITALL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    into += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

// If the other process has exited, SIGPIPE must not terminate this one.
bool WriteExactly(int socket, const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace

std::optional<nlohmann::json> ReadFrame(int socket) {
  Base::RequireNoLock("reading from the other process of the service");
  Length length = 0;
  if (!ReadExactly(socket, reinterpret_cast<char*>(&length), sizeof length)) return std::nullopt;
  length = be32toh(length);
  if (length > kMaxFrameSize) throw FrameError("frame too large");
  std::string text(length, '\0');
  if (!ReadExactly(socket, text.data(), text.size())) return std::nullopt;
  auto document = nlohmann::json::parse(text, nullptr, false);
  if (document.is_discarded()) throw FrameError("frame is not valid JSON");
  return document;
}

std::string EncodeFrame(const nlohmann::json& document) {
  const std::string text = document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  if (text.size() > kMaxFrameSize) return {};
  const Length length = htobe32(static_cast<Length>(text.size()));
  std::string bytes(sizeof length, '\0');
  std::memcpy(bytes.data(), &length, sizeof length);
  return bytes + text;
}

bool WriteFrame(int socket, const std::string& frame) {
  Base::RequireNoLock("writing to the other process of the service");
  return WriteExactly(socket, frame);
}

}  // namespace Service
