// A host with a temporary database file, and another program that uses the same file.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/Database.h"
#include "host/PluginInterface.h"
#include "models/Adapter.h"
#include "models/PD.h"
#include "models/Plugin.h"
#include "orm/storage.h"
#include "tests/support/Temporary.h"

struct sqlite3;

// A connection to the file, as another program would open it.
class OtherProgram {
 public:
  explicit OtherProgram(const std::filesystem::path& file);

  // Returns the cells of the result, with "|" between cells and a space between rows. Throws
  // `std::runtime_error` with SQLite's message.
  std::string Run(const std::string& sql);

 private:
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_pDatabase;
};

class HostDatabaseTest : public testing::Test {
 protected:
  HostDatabaseTest();
  ~HostDatabaseTest() override;

  std::filesystem::path File() const { return m_Directory.Path() / "state" / "corvane.db"; }
  // Reopens the database, as a restart of the host would.
  void Restart();
  // Restarts the host with another file.
  void Use(const std::string& file);

  std::vector<std::string> Query(const std::string& sql) { return m_pStorage->dao->query(sql); }
  // Returns the error message of a statement, or an empty string if it succeeds.
  std::string FailureOf(const std::string& sql);

  // The number of rows of each kind: "adapters 1 drives 0 plugins 1".
  std::string Counts();

  TemporaryDirectory m_Directory;
  ScopedVariable m_Variable;
  std::shared_ptr<DatabaseORM::storage_t> m_pStorage;
};

// Writes one event to the log.
void AppendEvent(const PI::CEvent& event);

// Returns an adapter row that `Find` finds by its number.
RaidDataModels::Adapter AnAdapter(int number);
RaidDataModels::Plugin APlugin();

// Returns the adapter rows with this number.
std::vector<RaidDataModels::Adapter> Find(DatabaseORM::storage_t& storage, int number);
