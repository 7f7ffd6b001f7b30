#include "hostkit/database/HostDatabase.h"

#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <exception>
#include <mutex>
#include <random>

#include "hostkit/Database.h"
#include "hostkit/Paths.h"
#include "hostkit/database/LayerException.h"
#include "hostkit/database/ResultCheck.h"
#include "hostkit/database/Schema.h"

namespace HostKit {

namespace {

using boost::filesystem::path;

// A run is identified by a random number.
std::int64_t RandomRunNumber() {
  try {
    std::random_device device;
    return std::uniform_int_distribution<std::int64_t>(1)(device);
  } catch (const std::exception&) {  // no random numbers available
    return std::chrono::system_clock::now().time_since_epoch().count();
  }
}

// Returns the database that the environment now specifies. A relative name is resolved, because the
// host may change its working directory later; without a working directory it remains relative and
// cannot be opened.
path FileFromEnvironment() {
  const path file = DatabaseFile();
  if (HostKit::IsInMemory(file) || file.is_absolute()) return file;
  boost::system::error_code error;
  const path directory = boost::filesystem::current_path(error);
  return error ? file : directory / file;
}

// Ignores errors: the first statement reports them.
void TryToOpen(HostDatabase& database) {
  try {
    database.OpenRows();
  } catch (const std::exception&) {
  }
}

}  // namespace

HostDatabase::HostDatabase() {
  BeginRun();
}

HostDatabase::~HostDatabase() = default;

std::vector<std::string> HostDatabase::query(std::string sql) {
  try {
    return Run([&]() HOST_REQUIRES(m_Executor) {
      auto cells = RowsConnection().RunConfined(sql);
      RequireReadable(sql, cells);
      return cells;
    });
  } catch (...) {
    ThrowAsDatabaseException();
  }
}

void HostDatabase::OpenRows() {
  Run([this]() HOST_REQUIRES(m_Executor) { RowsConnection(); });
}

void HostDatabase::Reopen() {
  const Base::CancellationGuard guard;
  m_Executor.Run([this]() HOST_REQUIRES(m_Executor) {
    CloseFile();
    m_pRows.reset();
    m_RowsLock.Release();
    BeginRun();
  });
}

void HostDatabase::BeginRun() {
  m_File = FileFromEnvironment();
  m_RunNumber = RandomRunNumber();
}

bool HostDatabase::IsInMemory() const {
  return HostKit::IsInMemory(m_File);
}

Connection& HostDatabase::OwnConnection() {
  const bool rowsHaveMoved = m_RowsAreInFile && m_pRows && m_pRows->HasMoved();
  if (m_pOwn && (m_pOwn->HasMoved() || rowsHaveMoved)) {
    CloseRowsInFile();
    m_pOwn->TruncateLog();
    m_pOwn.reset();
  }
  if (!m_pOwn) {
    auto own = std::make_unique<Connection>(m_File);
    PrepareOwnTables(*own);
    m_pOwn = std::move(own);
  }
  return *m_pOwn;
}

Connection& HostDatabase::RowsConnection() {
  Connection& own = OwnConnection();
  if (m_RowsAreInFile && m_pRows) return *m_pRows;
  if (!IsInMemory() && m_RowsLock.TryAcquire(own.File())) {
    StoreRowsInFile(own);
  } else if (!m_pRows) {
    KeepRowsInMemory();
  }
  return *m_pRows;
}

void HostDatabase::StoreRowsInFile(Connection& own) {
  PrepareRowTables(own, m_RunNumber, m_pRows.get());
  auto rows = std::make_unique<Connection>(own.File(), Access::SecondWriter);
  rows->Confine();
  m_pRows = std::move(rows);
  m_RowsAreInFile = true;
}

void HostDatabase::KeepRowsInMemory() {
  auto rows = std::make_unique<Connection>(":memory:");
  PrepareRowTables(*rows, m_RunNumber, nullptr);
  rows->Confine();
  m_pRows = std::move(rows);
}

void HostDatabase::Recover(const SqliteError& error) {
  if (m_pOwn) m_pOwn->RollBack();
  if (!error.NeedsReopen() || !m_pOwn) return;
  m_pOwn->DisableCheckpointOnClose();
  if (m_pRows) m_pRows->DisableCheckpointOnClose();
  CloseFile();
}

void HostDatabase::CloseFile() {
  CloseRowsInFile();
  m_pOwn.reset();
}

void HostDatabase::CloseRowsInFile() {
  if (m_RowsAreInFile) m_pRows.reset();
  m_RowsAreInFile = false;
}

const std::shared_ptr<HostDatabase>& TheDatabase() {
  static const auto database = std::make_shared<HostDatabase>();
  return database;
}

const std::shared_ptr<HostDatabase>& TheRowsDatabase() {
  static std::once_flag once;
  std::call_once(once, [] { TryToOpen(*TheDatabase()); });
  return TheDatabase();
}

DatabaseThread::DatabaseThread() {
  TheDatabase()->StartThread();
}

DatabaseThread::~DatabaseThread() {
  TheDatabase()->StopThread();
}

void ReopenDatabase() {
  TheDatabase()->Reopen();
  TryToOpen(*TheDatabase());
}

}  // namespace HostKit
