// Access to the host's own tables for its other libraries. Plug-ins cannot access these tables.
//
// All functions are thread-safe, and throw `DBEXCEPTION::DatabaseException` if the database cannot
// be used.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/HeldLocks.h"
#include "host/Visibility.h"
#include "hostkit/EventLog.h"
#include "hostkit/database/Connection.h"

namespace HostKit {

using OwnTablesUse = std::function<void(Connection&)>;

// Runs `use` with the connection for the host's own tables. Other threads that need the database
// wait until `use` returns. Opens the file if it is not open, has been deleted or replaced, or had
// an error that only reopening can clear. If `use` throws, rolls back an open transaction and
// rethrows the exception.
HOST_API void WithOwnTables(const OwnTablesUse& use) HOST_BLOCKS;

// Like `WithOwnTables`, for a `use` that only reads. If the file cannot be written, `use` runs with
// a read-only connection; it may then run twice.
HOST_API void ReadOwnTables(const OwnTablesUse& use) HOST_BLOCKS;

// Creates the table with `sql`, a CREATE TABLE statement, if it is missing. Drops any triggers and
// indexes that were added to the table, and a view with its name. Call in a transaction.
HOST_API void EnsureOwnTable(Connection& connection, const std::string& table,
                             const std::string& sql);

// Like the function in hostkit/EventLog.h, within the caller's transaction.
HOST_API void AppendEvents(Connection& connection, const std::vector<LoggedEvent>& events);

// Returns the events with a number above `number`, in order of logging.
HOST_API std::vector<LoggedEvent> ReadEventsAfter(Connection& connection, std::int64_t number);

// Returns the number of the newest event; 0 if none has ever been logged. Also works with a
// read-only file.
HOST_API std::int64_t NewestEventNumber() HOST_BLOCKS;
HOST_API std::int64_t NewestEventNumber(Connection& connection);

}  // namespace HostKit
