// The host's one database, guarded by one lock.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/CancellationGuard.h"
#include "host/Database.h"
#include "hostkit/database/Connection.h"
#include "hostkit/database/RowsLock.h"
#include "hostkit/toolkit/Mutex.h"

namespace HostKit {

// Opens its file when it is needed and not open, so that a fault lasts no longer than its cause.
// Any thread may call; a statement never waits for anything of the toolkit.
//
// The statements of plug-ins go over a connection of their own, which reaches nothing but their
// rows. These lie in the file for one host at a time; another one that uses the file meanwhile
// keeps its own in memory, and puts them into the file when the first one has ended.
class HostDatabase final : public DatabaseWrapper::DatabaseDAO {
 public:
  HostDatabase();
  ~HostDatabase() override;

  // For plug-ins. Throws `DBEXCEPTION::DatabaseException` and nothing else.
  std::vector<std::string> query(std::string sql) override;

  // Opens the file, for its effect on the rows of an earlier life.
  void OpenRows();

  // Begins a new life on the file that the environment names now.
  void Reopen();

  // Runs `use` on the connection for the host's own tables, with the lock held and a cancellation
  // of the thread kept off. Throws `SqliteError` and what `use` throws; a transaction left open is
  // then taken back.
  template <class Use>
  auto With(Use use) {
    return Guarded([&]() HOST_REQUIRES(m_Lock) { return use(OwnConnection()); });
  }

  // The same for a `use` that only reads: a file that may not be written does.
  template <class Use>
  auto WithToRead(Use use) {
    try {
      return With(use);
    } catch (const SqliteError& error) {
      if (!error.MayLackOnlyWriting()) throw;
    }
    const Base::CancellationGuard guard;
    const MutexLock lock(m_Lock);
    Connection connection(m_File, Access::Read);
    return use(connection);
  }

 private:
  template <class Work>
  auto Guarded(Work work) {
    const Base::CancellationGuard guard;
    const MutexLock lock(m_Lock);
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

  void BeginLife() HOST_REQUIRES(m_Lock);
  bool IsInMemory() const HOST_REQUIRES(m_Lock);
  Connection& OwnConnection() HOST_REQUIRES(m_Lock);
  Connection& RowsConnection() HOST_REQUIRES(m_Lock);
  void PutRowsIntoFile(Connection& own) HOST_REQUIRES(m_Lock);
  void KeepRowsInMemory() HOST_REQUIRES(m_Lock);
  void Recover(const SqliteError& error) HOST_REQUIRES(m_Lock);
  void CloseFile() HOST_REQUIRES(m_Lock);
  void CloseRowsInFile() HOST_REQUIRES(m_Lock);

  Mutex m_Lock;
  boost::filesystem::path m_File HOST_GUARDED_BY(m_Lock);
  std::int64_t m_Life HOST_GUARDED_BY(m_Lock) = 0;
  RowsLock m_RowsLock HOST_GUARDED_BY(m_Lock);  // destroyed after the connections
  std::unique_ptr<Connection> m_pOwn HOST_GUARDED_BY(m_Lock);
  bool m_RowsAreInFile HOST_GUARDED_BY(m_Lock) = false;
  std::unique_ptr<Connection> m_pRows HOST_GUARDED_BY(m_Lock);
};

// The one database; made at the first call, with its file opened if it can be.
const std::shared_ptr<HostDatabase>& TheDatabase();

}  // namespace HostKit
