// The host's own tables for other libraries of the host. Plug-ins cannot access them.
//
// All functions may be called from any thread, and throw `DBEXCEPTION::DatabaseException` if the
// database cannot be used.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/Visibility.h"
#include "hostkit/EventLog.h"
#include "hostkit/database/Connection.h"

namespace HostKit {

using OwnTablesUse = std::function<void(Connection&)>;

// Runs `use` with the connection for the host's own tables. Other threads wait for the database
// meanwhile. Opens the file if it is not open, has been deleted or replaced, or had an error that
// only reopening can clear. An exception of `use` is passed on, after an open transaction was
// rolled back.
HOST_API void WithOwnTables(const OwnTablesUse& use);

// The same for a `use` that only reads. If the file cannot be written, it runs again with a
// connection that is read-only.
HOST_API void WithOwnTablesToRead(const OwnTablesUse& use);

// Creates a table if it is missing. Drops foreign triggers and indexes on it, and a view with its
// name. Needs a transaction.
HOST_API void MakeOwnTable(Connection& connection, const std::string& table,
                           const std::string& sql);

// Like `AppendEvents`, in a transaction of the caller.
HOST_API void AppendEvents(Connection& connection, const std::vector<LoggedEvent>& events);

// The events with a number above `number`, in order of logging.
HOST_API std::vector<LoggedEvent> ReadEventsAfter(Connection& connection, std::int64_t number);

// The number of the newest event; 0 if none has ever been logged. Also reads a file that cannot be
// written.
HOST_API std::int64_t NewestEventNumber();
HOST_API std::int64_t NewestEventNumber(Connection& connection);

}  // namespace HostKit
