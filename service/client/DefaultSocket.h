// Paths of the service's sockets.
#pragma once

#include <filesystem>
#include <vector>

namespace Service {

// Returns the path at which this user's service listens: CORVANE_SOCKET if it is set; otherwise
// /run/corvane/corvane.sock for root and $XDG_RUNTIME_DIR/corvane/corvane.sock for other users.
// Returns an empty path if XDG_RUNTIME_DIR is needed but not set.
std::filesystem::path DefaultSocket();

// Returns the paths at which a client looks for a service, in order: only CORVANE_SOCKET if it is
// set; otherwise the default path of this user, and then that of root.
std::vector<std::filesystem::path> ClientSockets();

}  // namespace Service
