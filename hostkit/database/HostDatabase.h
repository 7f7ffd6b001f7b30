// The host's database, guarded by a single lock.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/CancellationGuard.h"
#include "base/Mutex.h"
#include "host/Database.h"
#include "hostkit/database/Connection.h"
#include "hostkit/database/RowsLock.h"

namespace HostKit {

// Opens its file on demand, and retries after a failure, so that it works as soon as the cause is
// fixed. Thread-safe. Statements never wait for the toolkit's locks, events or threads.
//
// The statements of plug-ins use a separate connection, which can access only their rows. The file
// contains the rows of one host at a time. Another host that uses the file at the same time keeps
// its rows in memory and writes them to the file after the first host has exited.
class HostDatabase final : public DatabaseWrapper::DatabaseDAO {
 public:
  HostDatabase();
  ~HostDatabase() override;

  // Runs statements of plug-ins. Throws only `DBEXCEPTION::DatabaseException`.
  std::vector<std::string> query(std::string sql) override;

  // Opens the file, which clears the rows of an earlier run. Throws `SqliteError`.
  void OpenRows();

  // Starts a new run with the file that the environment now specifies.
  void Reopen();

  // Runs `use` with the connection for the host's own tables, with the lock held and cancellation
  // of the thread deferred. Throws `SqliteError` and what `use` throws, after rolling back an open
  // transaction.
  template <class Use>
  auto With(Use use) {
    return RunLocked([&]() HOST_REQUIRES(m_Lock) { return use(OwnConnection()); });
  }

  // Like `With`, for a `use` that only reads. If the file cannot be written, `use` runs with a
  // read-only connection; it may then run twice.
  template <class Use>
  auto WithReadAccess(Use use) {
    try {
      return With(use);
    } catch (const SqliteError& error) {
      if (!error.MayBeReadOnly()) throw;
    }
    const Base::CancellationGuard guard;
    const Base::MutexLock lock(m_Lock);
    Connection connection(m_File, Access::Read);
    return use(connection);
  }

 private:
  template <class Work>
  auto RunLocked(Work work) {
    const Base::CancellationGuard guard;
    const Base::MutexLock lock(m_Lock);
    try {
      return work();
    } catch (const SqliteError& error) {
      Recover(error);
      throw;
    } catch (...) {
      if (m_pOwn) m_pOwn->RollBack();
      throw;
    }
  }

  // Starts a run: reads the file's name from the environment and draws a new run number.
  void BeginRun() HOST_REQUIRES(m_Lock);
  bool IsInMemory() const HOST_REQUIRES(m_Lock);
  // Return the connection for the host's own tables and that for the plug-ins' rows. Open them if
  // they are closed, or if the file has been moved, deleted or replaced. Throw `SqliteError`.
  Connection& OwnConnection() HOST_REQUIRES(m_Lock);
  Connection& RowsConnection() HOST_REQUIRES(m_Lock);
  // Opens the connection for rows: in the file, to which rows in memory are copied, or in memory.
  void StoreRowsInFile(Connection& own) HOST_REQUIRES(m_Lock);
  void KeepRowsInMemory() HOST_REQUIRES(m_Lock);
  // Rolls back an open transaction, and closes the file if `error` makes that necessary.
  void Recover(const SqliteError& error) HOST_REQUIRES(m_Lock);
  // Close the connections to the file, and that of its rows only. Rows in memory are kept.
  void CloseFile() HOST_REQUIRES(m_Lock);
  void CloseRowsInFile() HOST_REQUIRES(m_Lock);

  Base::Mutex m_Lock;
  boost::filesystem::path m_File HOST_GUARDED_BY(m_Lock);
  std::int64_t m_RunNumber HOST_GUARDED_BY(m_Lock) = 0;
  RowsLock m_RowsLock HOST_GUARDED_BY(m_Lock);  // destroyed after the connections
  std::unique_ptr<Connection> m_pOwn HOST_GUARDED_BY(m_Lock);
  bool m_RowsAreInFile HOST_GUARDED_BY(m_Lock) = false;
  std::unique_ptr<Connection> m_pRows HOST_GUARDED_BY(m_Lock);
};

// Returns the host's database, which the first call creates. Does not open the file.
const std::shared_ptr<HostDatabase>& TheDatabase();

// Returns the same database for plug-ins: the first call also tries to open the file and its rows.
// A process that never calls this function, such as one that only reads the event log, leaves the
// rows to another host.
const std::shared_ptr<HostDatabase>& TheRowsDatabase();

}  // namespace HostKit
