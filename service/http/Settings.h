// Settings of a server: limits, permissions and host names.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Http {

struct Limits {
  std::size_t m_Connections = 256;           // across all listeners; further ones are refused
  std::size_t m_ConnectionsPerAddress = 16;  // TCP only
  std::size_t m_Streams = 64;                // separately for Unix and TCP clients
  std::size_t m_HeaderBytes = 8192;          // request line and headers
  std::size_t m_BodyBytes = 65536;
  // Time limit for receiving a request in full, from the opening of the connection or the end of
  // the previous response.
  std::chrono::milliseconds m_RequestTimeout{10000};
  // Time limit for a client to receive a response other than a stream.
  std::chrono::milliseconds m_ResponseTimeout{30000};
  // Interval of the checks for expired time limits and for disconnected clients.
  std::chrono::milliseconds m_CheckInterval{500};
  unsigned m_Threads = 4;  // per listener
};

// Permissions of clients of a Unix socket.
struct Permissions {
  std::vector<uid_t> m_Users = {0};    // may do everything
  std::optional<gid_t> m_ReadGroup;    // its members may read
  std::optional<gid_t> m_ChangeGroup;  // its members may read and change
};

struct Settings {
  Limits m_Limits;
  Permissions m_Permissions;
  // Names and addresses that the Host header of TCP clients may contain: in lower case, without the
  // port, IPv6 addresses in brackets. The address to which the client connected is always allowed.
  std::vector<std::string> m_Hosts = {"localhost", "127.0.0.1", "[::1]"};
  // Receives the reason for a 500: the text of an exception that a handler threw, or the name of an
  // invalid header in its response. Called on any thread of the server.
  std::function<void(const std::string&)> m_OnFailure = nullptr;
};

}  // namespace Http
