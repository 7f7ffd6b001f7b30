// Reports to the service manager that started this process.
//
// Thread-safe while no thread changes the environment.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Systemd {

// Sends assignments, one per line, such as "READY=1\nSTATUS=text", to the socket that NOTIFY_SOCKET
// names. Does nothing if that variable is not set. Failures are ignored.
void Notify(const std::string& assignments);

// Sends RELOADING=1 with the current monotonic time, which the manager requires.
void NotifyReloading();

// Returns the time within which the manager expects the next WATCHDOG=1; empty if it expects none.
std::optional<std::chrono::microseconds> WatchdogTimeout();

}  // namespace Systemd
