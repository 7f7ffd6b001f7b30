// The texts of what the layer throws.
//
// Four of them tell apart what could not be found, and two carry a text from below. The texts
// differ in small ways, and hosts tell failures apart by them.
#pragma once

#include <string>

#include "host/Database.h"

namespace DatabaseORM {

enum class failure_t { no_map, no_map_in_insert, no_map_for_alias, no_column, query, key };

struct failure_text_t {
  failure_t failure;
  const char* before;
  const char* after;
};

// Failure, its text up to the detail, and its text behind it.
constexpr failure_text_t failure_texts[] = {
    {failure_t::no_map, "Storage query exception thrown! No such model in map exist.", ""},
    {failure_t::no_map_in_insert, "Storage query exception thrown! No such model in map exist!",
     ""},
    {failure_t::no_map_for_alias, "Storage query exception thrown! No such model map exist.", ""},
    {failure_t::no_column, "Empty colName exception!", ""},
    {failure_t::query, "Storage query exception thrown! (", ")"},
    {failure_t::key, "Storage query exception thrown! Cannot read ID from database! (", ")"},
};

// `detail` is for the last two.
inline std::string failure_text(failure_t failure, const std::string& detail = {}) {
  for (const failure_text_t& row : failure_texts) {
    if (row.failure == failure) return row.before + detail + row.after;
  }
  return detail;
}

[[noreturn]] inline void fail(failure_t failure, const std::string& detail = {}) {
  throw DBEXCEPTION::DatabaseException(failure_text(failure, detail));
}

// Runs `step`; a failure of the database in it becomes `failure` with the old text as its detail.
// Any other exception passes.
template <class Step>
auto failing_as(failure_t failure, Step step) {
  try {
    return step();
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    fail(failure, exception.what());
  }
}

}  // namespace DatabaseORM
