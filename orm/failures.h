// The texts of the exceptions that the layer throws.
//
// Four of them say what could not be found, and two contain a text of the database. Hosts recognize
// failures by these texts, including their small differences.
#pragma once

#include <string>

#include "host/Database.h"

namespace DatabaseORM {

// What failed.
enum class failure_t { no_map, no_map_in_insert, no_map_for_alias, no_column, query, key };

// A failure, and its text before and after the detail.
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

// The text of a failure. Only `query` and `key` have a detail: the database's own text.
inline std::string failure_text(failure_t failure, const std::string& detail = {}) {
  for (const failure_text_t& row : failure_texts) {
    if (row.failure == failure) return row.before + detail + row.after;
  }
  return detail;
}

// Throws `DBEXCEPTION::DatabaseException` with that text.
[[noreturn]] inline void fail(failure_t failure, const std::string& detail = {}) {
  throw DBEXCEPTION::DatabaseException(failure_text(failure, detail));
}

// Runs `step` and returns its result. If the database fails in it, throws `failure` with the
// database's text as its detail. Other exceptions pass.
template <class Step>
auto failing_as(failure_t failure, Step step) {
  try {
    return step();
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    fail(failure, exception.what());
  }
}

}  // namespace DatabaseORM
