#include "service/http/PeerOf.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "base/SocketAddress.h"

namespace Http {
namespace {

// An IPv4 client has the same address text with an IPv6 listener as with an IPv4 listener.
std::string AddressOf(const sockaddr_storage& peer) {
  if (peer.ss_family == AF_INET) {
    sockaddr_in address;
    std::memcpy(&address, &peer, sizeof address);
    return Base::AddressText(AF_INET, &address.sin_addr);
  }
  sockaddr_in6 address;
  std::memcpy(&address, &peer, sizeof address);
  if (!IN6_IS_ADDR_V4MAPPED(&address.sin6_addr))
    return Base::AddressText(AF_INET6, &address.sin6_addr);
  return Base::AddressText(AF_INET, &address.sin6_addr.s6_addr[12]);
}

// Returns empty if the kernel does not support SO_PEERGROUPS.
std::vector<gid_t> GroupsOf(int socket) {
  std::vector<gid_t> groups;
  socklen_t size = 0;
  getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, nullptr, &size);  // fails, but sets the size
  groups.resize(size / sizeof(gid_t));
  if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) != 0) return {};
  return groups;
}

void ReadCredentials(int socket, Peer& peer) {
  ucred credentials = {};
  socklen_t size = sizeof credentials;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return;
  peer.m_User = credentials.uid;
  peer.m_Group = credentials.gid;
  peer.m_Process = credentials.pid;
  peer.m_SupplementaryGroups = GroupsOf(socket);
}

bool IsMember(const Peer& peer, const std::optional<gid_t>& group) {
  if (!group) return false;
  const auto& groups = peer.m_SupplementaryGroups;
  return peer.m_Group == *group || std::find(groups.begin(), groups.end(), *group) != groups.end();
}

}  // namespace

Peer PeerOf(int socket) {
  Peer peer;
  sockaddr_storage address = {};
  socklen_t size = sizeof address;
  getpeername(socket, reinterpret_cast<sockaddr*>(&address), &size);
  sockaddr_storage local = {};
  socklen_t localSize = sizeof local;
  getsockname(socket, reinterpret_cast<sockaddr*>(&local), &localSize);
  // The family is read from the socket, because getpeername() fails once the client has
  // disconnected.
  int family = AF_UNSPEC;
  socklen_t familySize = sizeof family;
  getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &familySize);
  peer.m_IsTcp = family != AF_UNIX;
  if (peer.m_IsTcp) {
    peer.m_Address = AddressOf(address);
    peer.m_LocalAddress = AddressOf(local);
  } else {
    ReadCredentials(socket, peer);
  }
  return peer;
}

bool MayUse(const Permissions& permissions, const Peer& peer, bool toChange) {
  const auto& users = permissions.m_Users;
  if (std::find(users.begin(), users.end(), peer.m_User) != users.end()) return true;
  if (IsMember(peer, permissions.m_ChangeGroup)) return true;
  return !toChange && IsMember(peer, permissions.m_ReadGroup);
}

}  // namespace Http
