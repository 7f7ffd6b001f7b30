// Reports to the service manager that started this process.
//
// From any thread, while no thread changes the environment.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Systemd {

// Sends assignments, one per line, to the socket that NOTIFY_SOCKET names: "READY=1\nSTATUS=text".
// Does nothing without that variable. A failure is ignored: the manager acts on what it receives.
void Notify(const std::string& assignments);

// Sends RELOADING=1 with the time that the manager needs to match it with READY=1.
void NotifyReloading();

// How long the manager waits for the next WATCHDOG=1; empty if it does not wait for any.
std::optional<std::chrono::microseconds> WatchdogTime();

}  // namespace Systemd
