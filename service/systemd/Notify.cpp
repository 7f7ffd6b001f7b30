#include "service/systemd/Notify.h"

#include <systemd/sd-daemon.h>

#include <cstdint>

namespace Systemd {

void Notify(const std::string& assignments) {
  sd_notify(0, assignments.c_str());
}

void NotifyReloading() {
  using std::chrono::microseconds;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  const auto count = std::chrono::duration_cast<microseconds>(now).count();
  Notify("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(count));
}

std::optional<std::chrono::microseconds> WatchdogTimeout() {
  std::uint64_t time = 0;
  if (sd_watchdog_enabled(0, &time) <= 0) return std::nullopt;
  return std::chrono::microseconds(time);
}

}  // namespace Systemd
