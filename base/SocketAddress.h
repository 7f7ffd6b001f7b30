// Socket addresses.
#pragma once

#include <sys/un.h>

#include <optional>
#include <string>

namespace Base {

// Returns the address of a Unix socket; empty if the path is too long for one.
std::optional<sockaddr_un> UnixAddress(const std::string& path);

// Returns 0 if a process listens on the path, or the errno of connect(): ECONNREFUSED if none does,
// ENAMETOOLONG, EAGAIN if too many clients are waiting.
int ProbeSocket(const std::string& path);

// Formats an in_addr or in6_addr, depending on `family`.
std::string AddressText(int family, const void* address);

}  // namespace Base
