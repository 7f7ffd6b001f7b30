#include "bench/HostTables.h"

#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "hostkit/Database.h"
#include "orm/storage.h"

namespace CorvaneBench {
namespace {

// A benchmark may replace the database of the storage; the first call keeps the host's.
const std::shared_ptr<DatabaseWrapper::DatabaseDAO>& HostsDatabase() {
  static const auto database = getDatabasePointer()->dao;
  return database;
}
[[maybe_unused]] const auto& g_CalledAtStart = HostsDatabase();

}  // namespace

std::shared_ptr<DatabaseORM::storage_t> NewStorage() {
  setenv("CORVANE_DATABASE", ":memory:", 1);
  HostKit::ReopenDatabase();
  auto storage = getDatabasePointer();
  storage->dao = HostsDatabase();
  return storage;
}

// Reads them from a file through a separate connection, because the host's connection rejects
// statements that read the schema.
std::vector<std::string> TableStatements() {
  std::string directory = (std::filesystem::temp_directory_path() / "corvane-XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) throw std::runtime_error("no temporary directory");
  setenv("CORVANE_DATABASE", (directory + "/rows.db").c_str(), 1);
  HostKit::ReopenDatabase();
  sqlite3* database = nullptr;
  sqlite3_open((directory + "/rows.db").c_str(), &database);
  std::vector<std::string> statements;
  const auto append = [](void* out, int, char** cells, char**) {
    static_cast<std::vector<std::string>*>(out)->emplace_back(cells[0]);
    return 0;
  };
  sqlite3_exec(database,
               "SELECT sql FROM sqlite_master WHERE tbl_name LIKE 'host_%_rows' AND sql IS NOT NULL"
               " ORDER BY type DESC",
               append, &statements, nullptr);
  sqlite3_close(database);
  NewStorage();
  std::filesystem::remove_all(directory);
  return statements;
}

}  // namespace CorvaneBench
