#include "service/client/DefaultSocket.h"

#include <stdlib.h>
#include <unistd.h>

namespace Service {
namespace {

constexpr const char* kVariable = "CORVANE_SOCKET";
constexpr const char* kRootSocket = "/run/corvane/corvane.sock";

}  // namespace

std::filesystem::path DefaultSocket() {
  if (const std::filesystem::path chosen = ChosenSocket(); !chosen.empty()) return chosen;
  if (geteuid() == 0) return kRootSocket;
  const char* const directory = secure_getenv("XDG_RUNTIME_DIR");
  return directory == nullptr ? std::filesystem::path()
                              : std::filesystem::path(directory) / "corvane" / "corvane.sock";
}

std::filesystem::path ChosenSocket() {
  const char* const socket = secure_getenv(kVariable);
  return socket == nullptr ? "" : socket;
}

std::vector<std::filesystem::path> ClientSockets() {
  if (secure_getenv(kVariable) != nullptr) return {};
  std::vector<std::filesystem::path> sockets;
  const std::filesystem::path userSocket = DefaultSocket();
  if (!userSocket.empty()) sockets.push_back(userSocket);
  if (userSocket != kRootSocket) sockets.emplace_back(kRootSocket);
  return sockets;
}

}  // namespace Service
