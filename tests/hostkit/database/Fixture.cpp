#include "tests/hostkit/database/Fixture.h"

#include <sqlite3.h>

#include <stdexcept>

#include "hostkit/Database.h"
#include "hostkit/EventLog.h"

using RaidDataModels::Adapter;
using RaidDataModels::Plugin;

OtherProgram::OtherProgram(const std::filesystem::path& file)
    : m_pDatabase(nullptr, sqlite3_close) {
  sqlite3* database = nullptr;
  sqlite3_open(file.c_str(), &database);
  m_pDatabase.reset(database);
  sqlite3_busy_timeout(database, 2000);
}

std::string OtherProgram::Run(const std::string& sql) {
  std::string text;
  const auto append = [](void* out, int count, char** cells, char**) {
    auto& all = *static_cast<std::string*>(out);
    for (int i = 0; i < count; ++i) {
      if (!all.empty()) all += i == 0 ? " " : "|";
      all += cells[i] != nullptr ? cells[i] : "(null)";
    }
    return 0;
  };
  if (sqlite3_exec(m_pDatabase.get(), sql.c_str(), append, &text, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(m_pDatabase.get()));
  }
  return text;
}

HostDatabaseTest::HostDatabaseTest() : m_Variable("CORVANE_DATABASE", File().string()) {
  m_pStorage = getDatabasePointer();
  Restart();
}

HostDatabaseTest::~HostDatabaseTest() {
  Use(":memory:");
}

void HostDatabaseTest::Restart() {
  HostKit::ReopenDatabase();
}

void HostDatabaseTest::Use(const std::string& file) {
  setenv("CORVANE_DATABASE", file.c_str(), 1);
  HostKit::ReopenDatabase();
}

std::string HostDatabaseTest::FailureOf(const std::string& sql) {
  try {
    Query(sql);
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    return exception.what();
  }
  return "";
}

std::string HostDatabaseTest::Counts() {
  return "adapters " + Query("SELECT COUNT(*) FROM host_adapter_rows").at(0) + " drives " +
         Query("SELECT COUNT(*) FROM host_drive_rows").at(0) + " plugins " +
         Query("SELECT COUNT(*) FROM host_plugin_rows").at(0);
}

void AppendEvent(const PI::CEvent& event) {
  HostKit::AppendEvents({HostKit::LogEntryFor(event)});
}

Adapter AnAdapter(int number) {
  Adapter row;
  row.adapterNumber = number;
  row.hostName = "localhost";
  return row;
}

Plugin APlugin() {
  Plugin row;
  row.pluginName = "SanDisk-Plugin";
  return row;
}

std::vector<Adapter> Find(DatabaseORM::storage_t& storage, int number) {
  using DatabaseORM::is_equal;
  return storage.get_all<Adapter>(DatabaseORM::where(is_equal(&Adapter::adapterNumber, number) and
                                                     is_equal(&Adapter::hostName, "localhost")));
}
