// The tables of the stored state, and the numbers in one of them.
#pragma once

#include <cstdint>

#include "hostkit/database/Connection.h"

namespace Service {

// Creates the tables that are missing. Atomic.
void PrepareStateTables(HostKit::Connection& connection);

// Numbers that are stored once per file.
enum class StateNumber {
  NextPosition,     // position of the next new card
  HasBaseline,      // 1 after the first observation
  LogPosition,      // the last log entry that the cards' logged state includes
  DifferenceFirst,  // first event logged as a difference, also included in the state
  DifferenceLast,   // last event logged as a difference
  NextMinute,       // number of minutes of history written so far
  NextHourMinute,   // the first of these minutes that is not yet part of an hour
  LastMinute,       // the time of the last minute, in minutes since the epoch
};

// Returns 0 if the number was never written.
std::int64_t ReadNumber(HostKit::Connection& connection, StateNumber number);
void WriteNumber(HostKit::Connection& connection, StateNumber number, std::int64_t value);

}  // namespace Service
