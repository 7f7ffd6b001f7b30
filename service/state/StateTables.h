// Creates the service's state tables, and reads and writes the numbers stored once per database.
#pragma once

#include <cstdint>

#include "hostkit/database/Connection.h"

namespace Service {

// Creates the tables that are missing. Atomic.
void PrepareStateTables(HostKit::Connection& connection);

// Numbers that are stored once per database. A difference consists of the events that the service
// itself appends to the log on the first observation of a plug-in process.
enum class StateNumber {
  NextPosition,     // position of the next new card
  HasBaseline,      // 1 after the first observation
  LogPosition,      // number of the last log entry applied to the logged card states
  DifferenceFirst,  // first entry of the last logged difference; the states already include it
  DifferenceLast,   // last entry of that difference
  NextMinute,       // sequence number of the next history minute to write
  NextHourMinute,   // first history minute that is not yet summarized into an hour
  LastMinute,       // time of the last history minute, in minutes since the epoch
};

// Returns 0 if the number was never written.
std::int64_t ReadNumber(HostKit::Connection& connection, StateNumber number);
void WriteNumber(HostKit::Connection& connection, StateNumber number, std::int64_t value);

}  // namespace Service
