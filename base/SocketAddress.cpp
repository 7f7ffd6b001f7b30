#include "base/SocketAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>

#include "base/Descriptor.h"

namespace Base {

std::optional<sockaddr_un> UnixAddress(const std::string& path) {
  sockaddr_un address = {};
  if (path.size() >= sizeof address.sun_path) return std::nullopt;
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, path.size());
  return address;
}

int ProbeSocket(const std::string& path) {
  const auto address = UnixAddress(path);
  if (!address) return ENAMETOOLONG;
  const Descriptor probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!probe.IsOpen()) return errno;
  const auto* const generic = reinterpret_cast<const sockaddr*>(&*address);
  return connect(probe.Get(), generic, sizeof *address) == 0 ? 0 : errno;
}

std::string AddressText(int family, const void* address) {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(family, address, text, sizeof text);
  return text;
}

}  // namespace Base
