// The tables in the host's database file.
#pragma once

#include <cstdint>

#include "hostkit/database/Connection.h"

namespace HostKit {

// Creates the host's own tables if they are missing. Atomic. Throws `SqliteError`.
void PrepareOwnTables(Connection& connection);

// Creates the tables for the rows of plug-ins if they are missing. The rows belong to one run of
// the host: unless they were written in the run with this number, they are replaced by those of
// `pSource`, or cleared if `pSource` is null. Atomic. Throws `SqliteError`.
void PrepareRowTables(Connection& connection, std::int64_t run, Connection* pSource);

}  // namespace HostKit
