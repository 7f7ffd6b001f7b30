// A host with its own database file, and another program that reads the file.
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

// Another program on the same file.
class OtherProgram {
 public:
  explicit OtherProgram(const std::filesystem::path& file);

  // The cells, with "|" between those of a row and a blank between rows. Throws
  // `std::runtime_error` with the library's text.
  std::string Run(const std::string& sql);

 private:
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_pDatabase;
};

class HostDatabaseTest : public testing::Test {
 protected:
  HostDatabaseTest();
  ~HostDatabaseTest() override;

  std::filesystem::path File() const { return m_Folder.Path() / "state" / "corvane.db"; }
  // The host ends and starts again.
  void Restart();
  // The host continues with another file.
  void Use(const std::string& file);

  std::vector<std::string> Query(const std::string& sql) { return m_pStorage->dao->query(sql); }
  // The text with which a statement fails, or an empty one.
  std::string FailureOf(const std::string& sql);

  // Rows of all objects, by kind: "adapters 1 drives 0 plugins 1".
  std::string Counts();

  TemporaryFolder m_Folder;
  ScopedVariable m_Variable;
  std::shared_ptr<DatabaseORM::storage_t> m_pStorage;
};

// Logs an event by itself, as the log words it.
void AppendEvent(const PI::CEvent& event);

// An adapter that a condition finds.
RaidDataModels::Adapter AnAdapter(int number);
RaidDataModels::Plugin APlugin();

// The adapters of that number.
std::vector<RaidDataModels::Adapter> Find(DatabaseORM::storage_t& storage, int number);
