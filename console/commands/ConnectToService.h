// Chooses between a service and a plug-in in this process.
#pragma once

#include <memory>

#include "console/report/CommandContext.h"

namespace Console {

// A session with the service at the socket of the options, else at a default socket if one answers.
// Null if the options ask for a plug-in in this process, or if no service answers. Throws `Failure`
// if the options contradict each other, or the service at the given socket cannot be used.
std::unique_ptr<Session> ConnectToService(const SessionRequest& request);

}  // namespace Console
