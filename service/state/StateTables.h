// The tables of the state, and the numbers that are kept in one of them.
#pragma once

#include <cstdint>

#include "hostkit/database/Connection.h"

namespace Service {

// Creates the tables that are missing. Atomic.
void PrepareStateTables(HostKit::Connection& connection);

// The numbers of which there is one per file.
enum class StateNumber {
  NextPosition,     // of a new card
  HasBaseline,      // whether the cards of a first observation are known
  LogPosition,      // the last event of the log that is part of the cards' logged state
  DifferenceFirst,  // the events that were logged as a difference: part of the logged state too
  DifferenceLast,
  NextMinute,      // the minutes of history written so far
  NextHourMinute,  // the first of them that is not yet part of an hour
  LastMinute,      // the time of the last one, in minutes since the epoch
};

// 0 if it was never written.
std::int64_t ReadNumber(HostKit::Connection& connection, StateNumber number);
void WriteNumber(HostKit::Connection& connection, StateNumber number, std::int64_t value);

}  // namespace Service
