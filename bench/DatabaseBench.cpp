// Compares the persistence layer and the host's database with SQLite alone, for the same
// statements.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/HostTables.h"
#include "models/PD.h"
#include "orm/storage.h"

namespace CorvaneBench {
namespace {

using RaidDataModels::PD;

// Number of rows inserted, the same for both sides.
constexpr benchmark::IterationCount kRows = 20000;

PD SampleDrive() {
  PD row;
  row.serialNumber = "FA00000001";
  row.hostName = "localhost";
  row.model = "Flash Adapter G2";
  row.objectId = 0x0130000000000002;  // the default is too large for the database
  row.adapterNumber = 1;
  row.temperature = 52;
  row.factorySize = 785000000000;
  row.remainingReserve = 98.5;
  return row;
}

// Records the statements that are sent to the database.
class RecordingDatabase : public DatabaseWrapper::DatabaseDAO {
 public:
  explicit RecordingDatabase(DatabaseORM::storage_t& storage)
      : m_Storage(storage), m_pDatabase(std::exchange(storage.dao, Pointer(this))) {}
  ~RecordingDatabase() override { m_Storage.dao = m_pDatabase; }

  std::vector<std::string> query(std::string sql) override {
    m_Statements.push_back(sql);
    return m_pDatabase->query(std::move(sql));
  }

  std::vector<std::string> m_Statements;

 private:
  // Returns a pointer that does not own `self`.
  static std::shared_ptr<DatabaseDAO> Pointer(RecordingDatabase* self) {
    return {std::shared_ptr<void>(), self};
  }

  DatabaseORM::storage_t& m_Storage;
  const std::shared_ptr<DatabaseDAO> m_pDatabase;
};

// Returns the statements that `change` sends, so that SQLite alone can execute them.
template <class Change>
std::vector<std::string> StatementsOf(DatabaseORM::storage_t& storage, Change change) {
  RecordingDatabase recording(storage);
  change();
  return recording.m_Statements;
}

// An in-memory SQLite database with the same tables, accessed directly.
class BareSqlite {
 public:
  BareSqlite() : m_pDatabase(nullptr, sqlite3_close) {
    sqlite3* database = nullptr;
    Check(sqlite3_open_v2(":memory:", &database,
                          SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                          nullptr));
    m_pDatabase.reset(database);
    for (const std::string& sql : TableStatements()) Run(sql);
  }

  void Run(const std::string& sql) {
    for (const char* rest = sql.c_str(); *rest != '\0';) {
      sqlite3_stmt* statement = nullptr;
      Check(sqlite3_prepare_v2(m_pDatabase.get(), rest, -1, &statement, &rest));
      int result = SQLITE_ROW;
      while (result == SQLITE_ROW) result = sqlite3_step(statement);
      sqlite3_finalize(statement);
      Check(result == SQLITE_DONE ? SQLITE_OK : result);
    }
  }

 private:
  static void Check(int result) {
    if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errstr(result));
  }

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_pDatabase;
};

void RunAll(benchmark::State& state, BareSqlite& sqlite, const std::vector<std::string>& texts) {
  for ([[maybe_unused]] auto _ : state) {
    for (const std::string& text : texts) sqlite.Run(text);
  }
}

void Insert(benchmark::State& state) {
  const auto storage = NewStorage();
  const PD row = SampleDrive();
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(storage->insert(row));
}

void InsertBare(benchmark::State& state) {
  const auto storage = NewStorage();
  BareSqlite sqlite;
  RunAll(state, sqlite, StatementsOf(*storage, [&] { storage->insert(SampleDrive()); }));
}

void Update(benchmark::State& state) {
  const auto storage = NewStorage();
  PD row = SampleDrive();
  row.id = storage->insert(row);
  for ([[maybe_unused]] auto _ : state) storage->update(row);
}

void UpdateBare(benchmark::State& state) {
  const auto storage = NewStorage();
  BareSqlite sqlite;
  PD row = SampleDrive();
  const auto inserted = StatementsOf(*storage, [&] { row.id = storage->insert(row); });
  for (const std::string& text : inserted) sqlite.Run(text);
  RunAll(state, sqlite, StatementsOf(*storage, [&] { storage->update(row); }));
}

BENCHMARK(Insert)->Name("Insert/layer")->Iterations(kRows)->Unit(benchmark::kMicrosecond);
BENCHMARK(InsertBare)->Name("Insert/sqlite")->Iterations(kRows)->Unit(benchmark::kMicrosecond);
BENCHMARK(Update)->Name("Update/layer")->Unit(benchmark::kMicrosecond);
BENCHMARK(UpdateBare)->Name("Update/sqlite")->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace CorvaneBench
