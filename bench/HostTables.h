// The tables of the host's database.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/Database.h"

namespace CorvaneBench {

// Returns the host's storage with its own database, which is new and in memory.
std::shared_ptr<DatabaseORM::storage_t> NewStorage();

// Returns the statements that create the tables of rows and their indexes. Replaces the database of
// the host's storage by a new one in memory.
std::vector<std::string> TableStatements();

}  // namespace CorvaneBench
