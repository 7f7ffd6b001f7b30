// The host's event log, in the same file as the plug-ins' rows. Starting a host does not clear it.
// It keeps the newest 20,000 entries.
//
// All functions are thread-safe, and throw `DBEXCEPTION::DatabaseException` if the database cannot
// be used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/HeldLocks.h"
#include "host/PluginInterface.h"
#include "host/Visibility.h"

namespace HostKit {

// One entry of the log.
struct LoggedEvent {
  std::int64_t m_Number;  // increases in order of logging, never reused; 0 before logging
  std::uint64_t m_Time;   // milliseconds since the epoch
  std::uint32_t m_Severity;
  std::uint32_t m_EventID;
  std::uint64_t m_ObjectID;
  std::string m_SourceName;  // the object's name
  std::string m_Message;     // the event's message as worded when it was logged
  // These identify the object across runs; ids and names depend on where a card is plugged in.
  std::string m_SerialNumber;      // of the card; empty if unknown
  std::uint32_t m_ObjectType = 0;  // an `_OBJECT_TYPE`; 0 if unknown
};

// Returns the log entry for an event, including its message. Number, serial number and object type
// are not set.
HOST_API LoggedEvent LogEntryFor(const PI::CEvent& event);

// Appends all entries with new numbers, or none on failure. Ignores `m_Number`.
HOST_API void AppendEvents(const std::vector<LoggedEvent>& events) HOST_BLOCKS;

// Returns the newest `limit` entries with a time of `sinceMs` (milliseconds since the epoch) or
// later, in order of logging.
HOST_API std::vector<LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) HOST_BLOCKS;

// Returns the first `limit` entries with a number above `number`, in order of logging.
HOST_API std::vector<LoggedEvent> ReadEventsAfter(std::int64_t number,
                                                  std::size_t limit) HOST_BLOCKS;

struct EventNumbers {
  std::int64_t m_Oldest;
  std::int64_t m_Newest;
};

// Returns the numbers of the oldest and the newest entry; both are 0 if the log is empty.
HOST_API EventNumbers ReadEventNumbers() HOST_BLOCKS;

}  // namespace HostKit
