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

// Listens at a numeric IPv4 or IPv6 address; port 0 is any free one. Throws `std::system_error`:
// EINVAL if it is not an address.
Base::Descriptor ListenTcp(const std::string& address, std::uint16_t port);

// The port of a TCP socket, 0 of any other.
std::uint16_t PortOf(const Base::Descriptor& socket);

}  // namespace Http
