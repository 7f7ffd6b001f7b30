// The client of a connection.
#pragma once

#include "service/http/Message.h"
#include "service/http/Settings.h"

namespace Http {

// Returns what the kernel knows about the peer of a connected TCP or Unix socket. Fields that the
// kernel does not know keep their defaults, which match no permission.
Peer PeerOf(int socket);

// Whether a client of a Unix socket may read or, with `toChange`, make changes.
bool MayUse(const Permissions& permissions, const Peer& peer, bool toChange);

}  // namespace Http
