#include "console/report/StatusSince.h"

#include <algorithm>

#include "hostkit/Texts.h"

namespace Console {
namespace {

namespace E = PI::Event;

// Whether an event ends a reason. Adding or removing a card ends every reason. CTRL_ATTACHED ends
// DETACHED, and CTRL_NORMAL ends every other reason.
bool Ends(std::uint32_t reason, std::uint32_t event) {
  if (event == E::CTRL_PNPADD || event == E::CTRL_PNPREMOVE) return true;
  return event == (reason == static_cast<std::uint32_t>(PI::Value::DETACHED) ? E::CTRL_ATTACHED
                                                                             : E::CTRL_NORMAL);
}

std::string ValueName(std::uint32_t number) {
  return HostKit::NameOf(HostKit::Family::Value, number);
}

// A reason with the status of the object causes that status, and so does DETACHED, which is a
// status of its own.
bool Causes(const Reason& reason, PI::_VALUE_ID severity, const std::string& status) {
  return status == ValueName(static_cast<std::uint32_t>(severity)) ||
         status == ValueName(reason.m_Number);
}

// Returns the time of the last event `startEvent`, which starts `reason`, or empty if there is none
// or the reason has ended since.
std::optional<std::uint64_t> StartOf(std::uint32_t reason, std::uint32_t startEvent,
                                     const std::vector<LoggedEvent>& events) {
  std::optional<std::uint64_t> start;
  for (const LoggedEvent& event : events) {
    if (event.m_EventID == startEvent) start = event.m_Time;
    if (Ends(reason, event.m_EventID)) start.reset();
  }
  return start;
}

}  // namespace

std::optional<std::uint64_t> StatusSince(const Health& health,
                                         const std::vector<LoggedEvent>& events) {
  std::optional<std::uint64_t> since;
  for (const Reason& reason : health.m_Reasons) {
    const PI::_VALUE_ID status = HostKit::StatusOf(reason.m_Number);
    if (status == PI::Value::OK) continue;
    const std::uint32_t startEvent = HostKit::EventOf(reason.m_Number);
    if (startEvent == 0) return std::nullopt;
    if (!Causes(reason, status, BareText(health.m_Status))) continue;
    const auto start = StartOf(reason.m_Number, startEvent, events);
    if (!start) return std::nullopt;
    since = std::min(since.value_or(*start), *start);
  }
  return since;
}

}  // namespace Console
