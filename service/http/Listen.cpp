#include "service/http/Listen.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <system_error>

#include "base/FileLock.h"
#include "base/SocketAddress.h"

namespace Http {
namespace {

// A socket address of any family.
struct Address {
  sockaddr_storage m_Storage = {};
  socklen_t m_Size = 0;

  sockaddr* Get() { return reinterpret_cast<sockaddr*>(&m_Storage); }
};

[[noreturn]] void Throw(int error, const std::string& what) {
  throw std::system_error(error, std::system_category(), what);
}

void Check(bool succeeded, const std::string& what) {
  if (!succeeded) Throw(errno, what);
}

template <typename Concrete>
Address MakeAddress(const Concrete& concrete) {
  Address address;
  address.m_Size = sizeof concrete;
  std::memcpy(&address.m_Storage, &concrete, sizeof concrete);
  return address;
}

// Returns the address as the sockaddr type of its family.
template <typename Concrete>
Concrete As(const Address& address) {
  Concrete concrete;
  std::memcpy(&concrete, &address.m_Storage, sizeof concrete);
  return concrete;
}

// The family is AF_UNSPEC if the descriptor is not a socket.
Address BoundAddress(const Base::Descriptor& socket) {
  Address address;
  address.m_Size = sizeof address.m_Storage;
  getsockname(socket.Get(), address.Get(), &address.m_Size);
  return address;
}

Address UnixAddress(const std::string& path) {
  const auto address = Base::UnixAddress(path);
  if (!address) Throw(ENAMETOOLONG, path);
  return MakeAddress(*address);
}

// An abstract name is shown as "@name", as in /proc/net/unix. A path of maximum length has no NUL.
std::string UnixName(const Address& bound) {
  const auto address = As<sockaddr_un>(bound);
  const std::size_t end = std::min<std::size_t>(bound.m_Size, sizeof address);
  std::string name(address.sun_path, end - offsetof(sockaddr_un, sun_path));
  if (name.empty() || name.front() != '\0') return name.substr(0, name.find('\0'));
  name.front() = '@';
  return name;
}

Address TcpAddress(const std::string& text, std::uint16_t port) {
  sockaddr_in v4 = {};
  v4.sin_family = AF_INET;
  v4.sin_port = htons(port);
  if (inet_pton(AF_INET, text.c_str(), &v4.sin_addr) == 1) return MakeAddress(v4);
  sockaddr_in6 v6 = {};
  v6.sin6_family = AF_INET6;
  v6.sin6_port = htons(port);
  if (inet_pton(AF_INET6, text.c_str(), &v6.sin6_addr) == 1) return MakeAddress(v6);
  Throw(EINVAL, text);
}

Base::Descriptor MakeSocket(int family) {
  Base::Descriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  Check(socket.IsOpen(), "socket");
  return socket;
}

// Keeps two services that start simultaneously from replacing each other's socket. A service holds
// the lock only briefly. Any user can hold it longer, so startup does not depend on it.
Base::Descriptor LockDirectory(const std::filesystem::path& path) {
  constexpr std::chrono::seconds kTimeout(1);
  const std::filesystem::path directory = path.has_parent_path() ? path.parent_path() : ".";
  Base::Descriptor file = Base::OpenAt(AT_FDCWD, directory, O_RDONLY | O_DIRECTORY);
  Check(file.IsOpen(), directory);
  const int error = Base::Lock(file, kTimeout);
  if (error != 0 && error != EWOULDBLOCK) Throw(error, directory);
  return file;
}

void RemoveStale(const std::string& path) {
  struct stat status;
  const bool exists = lstat(path.c_str(), &status) == 0;
  if (!exists && errno == ENOENT) return;
  Check(exists, path);
  if (!S_ISSOCK(status.st_mode)) Throw(EEXIST, path);
  if (Base::ProbeSocket(path) != ECONNREFUSED) Throw(EADDRINUSE, path);
  Check(unlink(path.c_str()) == 0, path);
}

}  // namespace

// No client can connect until listen() is called, so the group and mode are set first.
Base::Descriptor ListenUnix(const std::filesystem::path& path, mode_t mode,
                            std::optional<gid_t> group) {
  Address address = UnixAddress(path);
  const Base::Descriptor lock = LockDirectory(path);
  Base::Descriptor socket = MakeSocket(AF_UNIX);
  RemoveStale(path);
  Check(bind(socket.Get(), address.Get(), address.m_Size) == 0, path);
  SetSocketAccess(path, mode, group);
  Check(listen(socket.Get(), SOMAXCONN) == 0, path);
  return socket;
}

void SetSocketAccess(const std::filesystem::path& path, mode_t mode, std::optional<gid_t> group) {
  constexpr auto kKeepOwner = static_cast<uid_t>(-1);
  Check(!group || lchown(path.c_str(), kKeepOwner, *group) == 0, path);
  Check(chmod(path.c_str(), mode) == 0, path);
}

Base::Descriptor ListenTcp(const std::string& address, std::uint16_t port) {
  Address bound = TcpAddress(address, port);
  Base::Descriptor socket = MakeSocket(bound.Get()->sa_family);
  const int yes = 1;
  setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  Check(bind(socket.Get(), bound.Get(), bound.m_Size) == 0, address);
  Check(listen(socket.Get(), SOMAXCONN) == 0, address);
  return socket;
}

std::string NameOf(const Base::Descriptor& socket) {
  const Address bound = BoundAddress(socket);
  const std::string port = ":" + std::to_string(PortOf(socket));
  const auto v4 = As<sockaddr_in>(bound);
  const auto v6 = As<sockaddr_in6>(bound);
  switch (bound.m_Storage.ss_family) {
    case AF_UNIX:
      return UnixName(bound);
    case AF_INET:
      return Base::AddressText(AF_INET, &v4.sin_addr) + port;
    case AF_INET6:
      return "[" + Base::AddressText(AF_INET6, &v6.sin6_addr) + "]" + port;
    default:
      return {};
  }
}

bool IsLocal(const Base::Descriptor& socket) {
  constexpr std::uint8_t kLoopbackNet = 127;
  const Address bound = BoundAddress(socket);
  const auto v4 = As<sockaddr_in>(bound);
  const auto v6 = As<sockaddr_in6>(bound);
  switch (bound.m_Storage.ss_family) {
    case AF_UNIX:
      return true;
    case AF_INET:
      return ntohl(v4.sin_addr.s_addr) >> 24 == kLoopbackNet;
    case AF_INET6:
      return IN6_IS_ADDR_LOOPBACK(&v6.sin6_addr) ||
             (IN6_IS_ADDR_V4MAPPED(&v6.sin6_addr) && v6.sin6_addr.s6_addr[12] == kLoopbackNet);
    default:
      return false;
  }
}

std::uint16_t PortOf(const Base::Descriptor& socket) {
  const Address bound = BoundAddress(socket);
  if (bound.m_Storage.ss_family != AF_INET && bound.m_Storage.ss_family != AF_INET6) return 0;
  return ntohs(As<sockaddr_in>(bound).sin_port);  // same offset as in sockaddr_in6
}

}  // namespace Http
