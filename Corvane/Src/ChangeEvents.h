// Events for the changes found by a scan. Each contains the time of the comparison, the name of its
// object, and the name of the adapter as its first placeholder.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/EventTable.h"
#include "Corvane/Src/HostNumbers.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// Returns an event for the adapter, without an event number or severity.
inline PI::CEvent EventFor(const CFusionIOAdapter& adapter, unsigned long now) {
  PI::CEvent event;
  event.m_ObjectID = adapter.m_ID;
  event.m_Time = now;
  event.m_SourceName = adapter.m_Name;
  event.SetPlaceHolder1(adapter.m_Name);
  return event;
}

inline void Append(PI::_EVENT_ID id, PI::_SEVERITY severity, PI::CEvent event,
                   std::vector<PI::CEvent>& events) {
  event.m_EventID = id;
  event.m_Severity = severity;
  events.push_back(event);
}

// Appends the event for an adapter that is new in this scan.
inline void AppendAdded(const CFusionIOAdapter& adapter, unsigned long now,
                        std::vector<PI::CEvent>& events) {
  Append(PI::Event::CTRL_PNPADD, PI::SEVERITY_INFORMATION, EventFor(adapter, now), events);
}

// Appends the event for an adapter that is missing from this scan.
inline void AppendRemoved(const CFusionIOAdapter& adapter, unsigned long now,
                          std::vector<PI::CEvent>& events) {
  Append(PI::Event::CTRL_PNPREMOVE, PI::SEVERITY_WARNING, EventFor(adapter, now), events);
}

// Appends a copy of `event` for each bit in `bits` that changed from 0 to 1, in table order.
template <std::size_t N>
void AppendNewlySet(std::uint64_t before, std::uint64_t after, const StatusBit (&bits)[N],
                    const PI::CEvent& event, std::vector<PI::CEvent>& events) {
  const std::uint64_t newlySet = ~before & after;
  for (const StatusBit& row : bits) {
    if (IsSet(newlySet, row.m_Bit)) Append(row.m_Event, row.m_Severity, event, events);
  }
}

inline bool HasReason(const CFusionIOAdapter& adapter, int reason) {
  const auto& reasons = adapter.m_StatusReasons;
  return std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
}

// Appends an adapter's events for bits that have changed from 0 to 1, for the return to normal,
// and for a card that was attached or detached. The events contain the id and name of
// `before`. The masks of `after` must be debounced.
inline void AppendChanged(const CFusionIOAdapter& before, const CFusionIOAdapter& after,
                          unsigned long now, std::vector<PI::CEvent>& events) {
  const PI::CEvent event = EventFor(before, now);
  AppendNewlySet(before.m_ErrorFlags, after.m_ErrorFlags, kErrorBits, event, events);
  AppendNewlySet(before.m_WarningFlags, after.m_WarningFlags, kWarningBits, event, events);
  // Events of information bits require a change of the information mask, but are triggered by bits
  // of the warning mask.
  if (before.m_InfoFlags != after.m_InfoFlags) {
    AppendNewlySet(before.m_WarningFlags, after.m_WarningFlags, kInfoBits, event, events);
  }
  const auto anyFlag = [](const CFusionIOAdapter& adapter) {
    return (adapter.m_ErrorFlags | adapter.m_WarningFlags | adapter.m_InfoFlags) != 0;
  };
  if (anyFlag(before) && !anyFlag(after)) {
    Append(PI::Event::CTRL_NORMAL, PI::SEVERITY_INFORMATION, event, events);
  }
  for (const ReasonEvent& row : kReasonEvents) {
    const bool isNew = HasReason(after, row.m_Reason) && !HasReason(before, row.m_Reason);
    if (isNew) Append(row.m_Event, row.m_Severity, event, events);
  }
}

// Appends the event for a drive whose formatted capacity or sector size has changed. `adapter` is
// the scanned record. The second placeholder is the name of the drive.
inline void AppendChanged(const CFusionIOPhysicalDrive& before, const CFusionIOPhysicalDrive& after,
                          const CFusionIOAdapter& adapter, unsigned long now,
                          std::vector<PI::CEvent>& events) {
  if (before.m_FormattedSizeMiB == after.m_FormattedSizeMiB &&
      before.m_SectorSize == after.m_SectorSize) {
    return;
  }
  PI::CEvent event;
  event.m_ObjectID = before.m_ID;
  event.m_Time = now;
  event.m_SourceName = before.m_Name;
  event.SetPlaceHolder1(adapter.m_Name);
  event.SetPlaceHolder2(before.m_Name);
  Append(PI::Event::PD_FORMAT_CHANGED, PI::SEVERITY_INFORMATION, event, events);
}

}  // namespace NAMESPACE_Corvane
