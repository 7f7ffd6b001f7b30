// Where the service listens.
#pragma once

#include <filesystem>
#include <vector>

namespace Service {

// Where a service of this user listens: CORVANE_SOCKET, else /run/corvane/corvane.sock for root,
// else $XDG_RUNTIME_DIR/corvane/corvane.sock. Empty if no variable names a directory for this user.
std::filesystem::path DefaultSocket();

// Where a client looks for a service, in this order: CORVANE_SOCKET alone, if set; else the default
// of this user and that of root.
std::vector<std::filesystem::path> ClientSockets();

}  // namespace Service
