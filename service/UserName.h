// Names of users.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

#include "base/HeldLocks.h"

namespace Service {

// Returns the user's name, or the user ID of a user without a name. Also returns the user ID if the
// lookup takes longer than `limit`, because a directory service on the network may not respond.
// Blocks, so the server's threads must not call it. Thread-safe.
std::string UserName(uid_t user,
                     std::chrono::milliseconds limit = std::chrono::seconds(1)) HOST_BLOCKS;

}  // namespace Service
