// Sockets that the service manager opened for this process.
#pragma once

#include <vector>

#include "base/Descriptor.h"

namespace Systemd {

// Returns the sockets that the service manager passed, in the order of the socket unit; empty if it
// passed none. They are close-on-exec. Call once, before any thread starts, because it
// removes the environment variables that describe the sockets. Throws `std::system_error` if these
// variables are malformed.
std::vector<Base::Descriptor> TakeListenSockets();

}  // namespace Systemd
