// The host's database.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/CancellationGuard.h"
#include "base/HeldLocks.h"
#include "host/Database.h"
#include "hostkit/database/Connection.h"
#include "hostkit/database/RowsLock.h"
#include "hostkit/database/SerialExecutor.h"

namespace HostKit {

// Opens its file on demand, and retries after a failure, so that it works as soon as the cause is
// fixed. Thread-safe. Statements never wait for the toolkit's locks, events or threads.
//
// The statements of plug-ins use a separate connection, which can access only their rows. The file
// contains the rows of one host at a time. Another host that uses the file at the same time keeps
// its rows in memory and writes them to the file after the first host has exited.
//
// One thread at a time uses the connections, without holding a lock: the calling thread, or a
// separate one between `StartThread` and `StopThread`.
class HostDatabase final : public DatabaseWrapper::DatabaseDAO {
 public:
  HostDatabase();
  ~HostDatabase() override;

  // Runs statements of plug-ins. Throws only `DBEXCEPTION::DatabaseException`.
  std::vector<std::string> query(std::string sql) override HOST_BLOCKS;

  // Opens the file, which clears the rows of an earlier run. Throws `SqliteError`.
  void OpenRows();

  // Starts a new run with the file that the environment now specifies.
  void Reopen();

  // Like `SerialExecutor::Start` and `Stop`.
  void StartThread() { m_Executor.Start(); }
  void StopThread() { m_Executor.Stop(); }

  // Runs `use` with the connection for the host's own tables, while no other thread uses the
  // database and cancellation of the calling thread is deferred. Throws `SqliteError` and what
  // `use` throws, after rolling back an open transaction.
  template <class Use>
  auto With(Use use) HOST_BLOCKS {
    return Run([&]() HOST_REQUIRES(m_Executor) { return use(OwnConnection()); });
  }

  // Like `With`, for a `use` that only reads. If the file cannot be written, `use` runs with a
  // read-only connection; it may then run twice.
  template <class Use>
  auto WithReadAccess(Use use) HOST_BLOCKS {
    try {
      return With(use);
    } catch (const SqliteError& error) {
      if (!error.MayBeReadOnly()) throw;
    }
    const Base::CancellationGuard guard;
    return m_Executor.Run([&]() HOST_REQUIRES(m_Executor) {
      Connection connection(m_File, Access::Read);
      return use(connection);
    });
  }

 private:
  template <class Work>
  auto Run(Work work) HOST_BLOCKS {
    Base::RequireNoLock("use of the database");
    const Base::CancellationGuard guard;
    return m_Executor.Run([&]() HOST_REQUIRES(m_Executor) {
      try {
        return work();
      } catch (const SqliteError& error) {
        Recover(error);
        throw;
      } catch (...) {
        if (m_pOwn) m_pOwn->RollBack();
        throw;
      }
    });
  }

  // Starts a run: reads the file's name from the environment and draws a new run number.
  void BeginRun() HOST_REQUIRES(m_Executor);
  bool IsInMemory() const HOST_REQUIRES(m_Executor);
  // Return the connection for the host's own tables and that for the plug-ins' rows. Open them if
  // they are closed, or if the file has been moved, deleted or replaced. Throw `SqliteError`.
  Connection& OwnConnection() HOST_REQUIRES(m_Executor);
  Connection& RowsConnection() HOST_REQUIRES(m_Executor);
  // Opens the connection for rows: in the file, to which rows in memory are copied, or in memory.
  void StoreRowsInFile(Connection& own) HOST_REQUIRES(m_Executor);
  void KeepRowsInMemory() HOST_REQUIRES(m_Executor);
  // Rolls back an open transaction, and closes the file if `error` makes that necessary.
  void Recover(const SqliteError& error) HOST_REQUIRES(m_Executor);
  // Close the connections to the file, and that of its rows only. Rows in memory are kept.
  void CloseFile() HOST_REQUIRES(m_Executor);
  void CloseRowsInFile() HOST_REQUIRES(m_Executor);

  SerialExecutor m_Executor;
  boost::filesystem::path m_File HOST_GUARDED_BY(m_Executor);
  std::int64_t m_RunNumber HOST_GUARDED_BY(m_Executor) = 0;
  RowsLock m_RowsLock HOST_GUARDED_BY(m_Executor);  // destroyed after the connections
  std::unique_ptr<Connection> m_pOwn HOST_GUARDED_BY(m_Executor);
  bool m_RowsAreInFile HOST_GUARDED_BY(m_Executor) = false;
  std::unique_ptr<Connection> m_pRows HOST_GUARDED_BY(m_Executor);
};

// Returns the host's database, which the first call creates. Does not open the file.
const std::shared_ptr<HostDatabase>& TheDatabase();

// Returns the same database for plug-ins: the first call also tries to open the file and its rows.
// A process that never calls this function, such as one that only reads the event log, leaves the
// rows to another host.
const std::shared_ptr<HostDatabase>& TheRowsDatabase();

}  // namespace HostKit
