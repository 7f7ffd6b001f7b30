// Sockets for a server.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "base/Descriptor.h"

namespace Http {

// Listens at a path, with this mode and, if given, this group; it replaces a socket at which no
// process listens. The file remains when the descriptor is closed. Throws `std::system_error`:
// EADDRINUSE if a process listens there, EEXIST if the file is not a socket, ENAMETOOLONG.
Base::Descriptor ListenUnix(const std::filesystem::path& path, mode_t mode,
                            std::optional<gid_t> group);

// Gives the file of such a socket to this group, if given, and sets its mode. Throws
// `std::system_error`.
void ShareSocket(const std::filesystem::path& path, mode_t mode, std::optional<gid_t> group);

// Listens at a numeric IPv4 or IPv6 address; port 0 is any free one. Throws `std::system_error`:
// EINVAL if it is not an address.
Base::Descriptor ListenTcp(const std::string& address, std::uint16_t port);

// The path of a Unix socket, "127.0.0.1:80" or "[::1]:80" of a TCP socket; empty for any other
// descriptor.
std::string NameOf(const Base::Descriptor& socket);

// Whether only this machine can connect: a Unix socket, or TCP at a loopback address.
bool IsLocal(const Base::Descriptor& socket);

// The port of a TCP socket, 0 of any other.
std::uint16_t PortOf(const Base::Descriptor& socket);

}  // namespace Http
