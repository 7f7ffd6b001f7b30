#include "hostkit/database/HostDatabase.h"

#include <random>

#include "hostkit/Database.h"
#include "hostkit/Paths.h"
#include "hostkit/database/Schema.h"

namespace HostKit {

namespace {

// Lives are told apart by a number that no other life has had.
std::int64_t DrawLife() {
  std::random_device device;
  return std::uniform_int_distribution<std::int64_t>(1)(device);
}

// Opens the file for its effect on the rows of an earlier life. What is wrong with it, the first
// statement says.
void TryToOpen(HostDatabase& database) {
  try {
    database.With([](Connection&) {});
  } catch (const SqliteError&) {
  }
}

}  // namespace

HostDatabase::HostDatabase() {
  BeginLife();
}

HostDatabase::~HostDatabase() = default;

std::vector<std::string> HostDatabase::query(std::string sql) {
  return With([&](Connection& connection) { return connection.Run(sql); });
}

void HostDatabase::Reopen() {
  const CancelShield shield;
  const std::lock_guard lock(m_Lock);
  m_pConnection.reset();
  BeginLife();
}

void HostDatabase::BeginLife() {
  m_File = DatabaseFile();
  m_Life = DrawLife();
}

Connection& HostDatabase::OpenConnection() {
  if (m_pConnection && m_pConnection->HasMoved()) {
    m_pConnection->EmptyLog();
    m_pConnection.reset();
  }
  if (!m_pConnection) {
    auto connection = std::make_unique<Connection>(m_File);
    PrepareTables(*connection, m_Life);
    m_pConnection = std::move(connection);
  }
  return *m_pConnection;
}

void HostDatabase::Recover(const SqliteError& error) {
  if (!m_pConnection) return;
  m_pConnection->RollBack();
  if (!error.NeedsReopen()) return;
  m_pConnection->LeaveAsItIs();
  m_pConnection.reset();
}

const std::shared_ptr<HostDatabase>& TheDatabase() {
  static const auto database = [] {
    auto made = std::make_shared<HostDatabase>();
    TryToOpen(*made);
    return made;
  }();
  return database;
}

void ReopenDatabase() {
  TheDatabase()->Reopen();
  TryToOpen(*TheDatabase());
}

}  // namespace HostKit
