// The host's own log of events, in the same file as the plug-ins' rows. It outlives them: no start
// of the host clears it. Beyond 20,000 entries the oldest go.
//
// All functions may be called from any thread, and throw `DBEXCEPTION::DatabaseException` when the
// database cannot be used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/PluginInterface.h"
#include "host/Visibility.h"

namespace HostKit {

struct LoggedEvent {
  std::int64_t m_Number;  // in order of logging, never used twice
  std::uint64_t m_Time;   // milliseconds since the epoch
  std::uint32_t m_Severity;
  std::uint32_t m_EventID;
  std::uint64_t m_ObjectID;
  std::string m_SourceName;  // the object's name
  std::string m_Message;     // the event's sentence, as it was worded when it was logged
  // What tells the object apart in every run; ids and names go by its place.
  std::string m_SerialNumber;      // of the card; empty: unknown
  std::uint32_t m_ObjectType = 0;  // an `_OBJECT_TYPE`; 0: unknown
};

// The event as the log words it, without a number; of its object nothing but id and name.
HOST_API LoggedEvent WordEvent(const PI::CEvent& event);

// Appends all of them or none, and draws their numbers.
HOST_API void AppendEvents(const std::vector<LoggedEvent>& events);

// The newest `limit` events among those not older than `sinceMs`, in order of logging.
HOST_API std::vector<LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit);

}  // namespace HostKit
