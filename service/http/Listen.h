// Listening sockets of a server.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "base/Descriptor.h"

namespace Http {

// Listens on a Unix socket at `path`, which is created with `mode` and, if given, `group`. Replaces
// a stale socket, on which no process listens. The socket file remains when the descriptor is
// closed. Throws `std::system_error`: EADDRINUSE if a process listens there, EEXIST if the file is
// not a socket, ENAMETOOLONG if the path does not fit in a socket address.
Base::Descriptor ListenUnix(const std::filesystem::path& path, mode_t mode,
                            std::optional<gid_t> group);

// Sets the mode and, if given, the group of a socket file. Throws `std::system_error`.
void SetSocketAccess(const std::filesystem::path& path, mode_t mode, std::optional<gid_t> group);

// Listens on a numeric IPv4 or IPv6 address; port 0 selects a free port. Throws
// `std::system_error`: EINVAL if `address` is not an IP address.
Base::Descriptor ListenTcp(const std::string& address, std::uint16_t port);

// Returns the path of a Unix socket, "@name" for an abstract one, or the address and port of a TCP
// socket, such as "127.0.0.1:80" or "[::1]:80". Returns an empty string for any other descriptor.
std::string NameOf(const Base::Descriptor& socket);

// Whether only clients on this machine can connect: a Unix socket, or TCP at a loopback address.
bool IsLocal(const Base::Descriptor& socket);

// Returns the port of a TCP socket, or 0 for any other descriptor.
std::uint16_t PortOf(const Base::Descriptor& socket);

}  // namespace Http
