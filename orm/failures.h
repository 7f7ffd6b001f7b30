// Messages of the exceptions that the persistence layer throws.
//
// Four messages report a missing map or column, and two contain a message of the database. Hosts
// identify failures by the exact messages, including the small differences between them.
//
// All functions are thread-safe.
#pragma once

#include <string>

#include "host/Database.h"

namespace DatabaseORM {

// The kinds of failure.
enum class failure_t {
  no_map,            // no map of the row type, for a condition or a statement other than INSERT
  no_map_in_insert,  // no map of the row type, for INSERT
  no_map_for_alias,  // no map of the row type, for its alias
  no_column,         // the map has no column for a member, or the column has no name
  query,             // the database rejected a statement
  key                // the largest key could not be read before an INSERT
};

// A failure, and its message before and after the detail.
struct failure_text_t {
  failure_t failure;
  const char* before;
  const char* after;
};

constexpr failure_text_t failure_texts[] = {
    {failure_t::no_map, "Storage query exception thrown! No such model in map exist.", ""},
    {failure_t::no_map_in_insert, "Storage query exception thrown! No such model in map exist!",
     ""},
    {failure_t::no_map_for_alias, "Storage query exception thrown! No such model map exist.", ""},
    {failure_t::no_column, "Empty colName exception!", ""},
    {failure_t::query, "Storage query exception thrown! (", ")"},
    {failure_t::key, "Storage query exception thrown! Cannot read ID from database! (", ")"},
};

// Returns the message of a failure. Only `query` and `key` have a detail: the message of the
// exception that caused them. For `key`, that message usually is one of `query`, which contains the
// message of the database.
inline std::string failure_text(failure_t failure, const std::string& detail = {}) {
  for (const failure_text_t& row : failure_texts) {
    if (row.failure == failure) return row.before + detail + row.after;
  }
  return detail;
}

// Throws `DBEXCEPTION::DatabaseException` with the message of the failure.
[[noreturn]] inline void fail(failure_t failure, const std::string& detail = {}) {
  throw DBEXCEPTION::DatabaseException(failure_text(failure, detail));
}

// Calls `step` and returns its result. If `step` throws a `DatabaseException`, throws `failure`
// with the message of that exception as the detail. Other exceptions propagate, including the one
// that unwinds a canceled thread.
template <class Step>
auto failing_as(failure_t failure, Step step) {
  try {
    return step();
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    fail(failure, exception.what());
  }
}

}  // namespace DatabaseORM
