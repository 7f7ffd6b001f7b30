// Sockets that the service manager opened for this process.
#pragma once

#include <vector>

#include "base/Descriptor.h"

namespace Systemd {

// The sockets that a socket unit passed, in its order; empty if the process was not started by one.
// They are closed when a program is executed. Call once, before any thread starts: it removes the
// variables that name the sockets. Throws `std::system_error` if the variables are malformed.
std::vector<Base::Descriptor> TakeListenSockets();

}  // namespace Systemd
