#include "service/client/DefaultSocket.h"

#include <stdlib.h>
#include <unistd.h>

namespace Service {
namespace {

constexpr const char* kRootSocket = "/run/corvane/corvane.sock";

}  // namespace

std::filesystem::path DefaultSocket() {
  if (const char* const socket = secure_getenv("CORVANE_SOCKET")) return socket;
  if (geteuid() == 0) return kRootSocket;
  const char* const directory = secure_getenv("XDG_RUNTIME_DIR");
  return directory == nullptr ? std::filesystem::path()
                              : std::filesystem::path(directory) / "corvane" / "corvane.sock";
}

std::vector<std::filesystem::path> ClientSockets() {
  std::vector<std::filesystem::path> sockets;
  const std::filesystem::path userSocket = DefaultSocket();
  if (!userSocket.empty()) sockets.push_back(userSocket);
  if (secure_getenv("CORVANE_SOCKET") == nullptr && userSocket != kRootSocket) {
    sockets.emplace_back(kRootSocket);
  }
  return sockets;
}

}  // namespace Service
