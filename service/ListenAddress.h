// Addresses of TCP sockets as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Service {

struct TcpAddress {
  std::string m_Host;  // without brackets
  std::uint16_t m_Port = 0;
};

// Parses "127.0.0.1:9188" or "[::1]:9188". Returns empty for text in any other form. Whether the
// host is an address of this machine is checked only when listening.
std::optional<TcpAddress> ParseTcpAddress(std::string_view text);

}  // namespace Service
