// The texts of the exceptions that the layer throws.
//
// Four of them say what could not be found, and two contain a text of the database. Hosts recognize
// failures by these texts, including their small differences.
//
// All functions here may be called from any thread.
#pragma once

#include <string>

#include "host/Database.h"

namespace DatabaseORM {

// What failed.
enum class failure_t {
  no_map,            // a statement other than INSERT, or a condition, needs the map of a row type
  no_map_in_insert,  // INSERT needs it
  no_map_for_alias,  // the alias of a row type needs it
  no_column,         // the map has no column for a member, or one without a name
  query,             // the database rejected a statement
  key                // the largest key could not be read before an INSERT
};

// A failure, and its text before and after the detail. Literals: they live as long as the program.
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

// The text of a failure. Only `query` and `key` have a detail: the text of the exception that
// caused them. For `key` that is usually a text of `query`, with the database's own text in it.
inline std::string failure_text(failure_t failure, const std::string& detail = {}) {
  for (const failure_text_t& row : failure_texts) {
    if (row.failure == failure) return row.before + detail + row.after;
  }
  return detail;
}

// Throws `DBEXCEPTION::DatabaseException` with that text. The exception owns the text; catch it by
// reference.
[[noreturn]] inline void fail(failure_t failure, const std::string& detail = {}) {
  throw DBEXCEPTION::DatabaseException(failure_text(failure, detail));
}

// Runs `step`, once and on this thread, and returns its result. If it throws a `DatabaseException`,
// throws `failure` with the text of that exception as its detail. Other exceptions
// propagate, including the one that unwinds a canceled thread.
template <class Step>
auto failing_as(failure_t failure, Step step) {
  try {
    return step();
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    fail(failure, exception.what());
  }
}

}  // namespace DatabaseORM
