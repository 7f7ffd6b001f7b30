// Socket addresses.
#pragma once

#include <sys/un.h>

#include <optional>
#include <string>

namespace Base {

// Returns the address of the Unix socket at `path`, or std::nullopt if the path is too long.
std::optional<sockaddr_un> UnixAddress(const std::string& path);

// Returns 0 if a process listens on the path, or an errno: ENOENT if there is no such file,
// ECONNREFUSED if no process listens, EAGAIN if too many clients are waiting, ENAMETOOLONG if the
// path is too long for a socket. Does not block.
int ProbeSocket(const std::string& path);

// Formats an in_addr or in6_addr, depending on `family`: AF_INET or AF_INET6. Returns an empty
// string for any other family.
std::string AddressText(int family, const void* address);

}  // namespace Base
