// Chooses between a service and an in-process plug-in.
#pragma once

#include <memory>

#include "console/report/CommandContext.h"

namespace Console {

// Opens a session with the service at the socket in the options or, without that option, at the
// first default socket at which a service answers. Returns null if the options require a plug-in in
// this process or if no service answers at a default socket. Throws `Failure` if the options
// contradict each other or the service cannot be used.
std::unique_ptr<Session> ConnectToService(const SessionRequest& request);

// Returns the store of known cards for a plug-in in this process.
std::unique_ptr<CardStore> OpenCardStore();

}  // namespace Console
