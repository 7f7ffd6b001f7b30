// Who made a connection.
#pragma once

#include "service/http/Message.h"
#include "service/http/Settings.h"

namespace Http {

// What the kernel knows of the other end of a connected socket, TCP or Unix. Fields that it cannot
// say keep their defaults, which no permission includes.
Peer PeerOf(int socket);

// Whether a client of a Unix socket has the permission; `Access::Anyone` always.
bool MayUse(const Permissions& permissions, const Peer& peer, bool toChange);

}  // namespace Http
