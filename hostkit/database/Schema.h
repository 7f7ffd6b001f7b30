// What the host keeps in its file.
#pragma once

#include <cstdint>

#include "hostkit/database/Connection.h"

namespace HostKit {

// Makes the host's own tables where they are missing. All of it is done, or none; throws
// `SqliteError`.
void PrepareOwnTables(Connection& connection);

// Makes the tables for the rows of plug-ins. The rows belong to one life of the host: unless they
// were written in the life with this number, they are cleared, and those of `pSource`, if there is
// one, put in their place. All of it is done, or none; throws `SqliteError`.
void PrepareRowTables(Connection& connection, std::int64_t life, Connection* pSource);

}  // namespace HostKit
