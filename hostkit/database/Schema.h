// What the host keeps in its file.
#pragma once

#include <cstdint>

#include "hostkit/database/Connection.h"

namespace HostKit {

// Makes the tables that are missing. The rows of plug-ins belong to one life of the host: unless
// they were written in the life with this number, they are cleared. All of it is done, or none;
// throws `SqliteError`.
void PrepareTables(Connection& connection, std::int64_t life);

}  // namespace HostKit
