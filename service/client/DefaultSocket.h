// Paths of the service's sockets.
#pragma once

#include <filesystem>
#include <vector>

namespace Service {

// Returns the path at which this user's service listens: CORVANE_SOCKET if it is set and not empty;
// otherwise /run/corvane/corvane.sock for root and $XDG_RUNTIME_DIR/corvane/corvane.sock for other
// users. Returns an empty path if XDG_RUNTIME_DIR is needed but not set.
std::filesystem::path DefaultSocket();

// Returns the value of CORVANE_SOCKET: the socket at which the user expects a service. Empty if it
// is not set or empty.
std::filesystem::path ChosenSocket();

// Returns the paths at which a client looks for a service if the user has not chosen one, in order:
// the default path of this user, and then that of root. None if CORVANE_SOCKET is set, even to an
// empty string.
std::vector<std::filesystem::path> ClientSockets();

}  // namespace Service
