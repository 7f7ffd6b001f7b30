// The host's one database, behind one lock.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/Database.h"
#include "hostkit/database/Connection.h"
#include "hostkit/toolkit/CancelShield.h"

namespace HostKit {

// Opens its file when it is needed and not open, so that a fault lasts no longer than its cause.
// Any thread may call; a statement never waits for anything of the toolkit.
class HostDatabase final : public DatabaseWrapper::DatabaseDAO {
 public:
  HostDatabase();
  ~HostDatabase() override;

  std::vector<std::string> query(std::string sql) override;

  // Begins a new life on the file that the environment names now.
  void Reopen();

  // Runs `use` on the open connection, with the lock held and a cancellation of the thread kept
  // off. Throws `SqliteError` and what `use` throws; a transaction left open is then taken back.
  template <class Use>
  auto With(Use use) {
    const CancelShield shield;
    const std::lock_guard lock(m_Lock);
    try {
      return use(OpenConnection());
    } catch (const SqliteError& error) {
      Recover(error);
      throw;
    } catch (...) {
      if (m_pConnection) m_pConnection->RollBack();
      throw;
    }
  }

  // The same for a `use` that only reads: a file that may not be written does.
  template <class Use>
  auto WithToRead(Use use) {
    try {
      return With(use);
    } catch (const SqliteError& error) {
      if (!error.MayLackOnlyWriting()) throw;
    }
    const CancelShield shield;
    const std::lock_guard lock(m_Lock);
    Connection connection(m_File, Access::Read);
    return use(connection);
  }

 private:
  void BeginLife();
  Connection& OpenConnection();
  void Recover(const SqliteError& error);

  std::mutex m_Lock;
  // The members below are guarded by m_Lock.
  boost::filesystem::path m_File;
  std::int64_t m_Life = 0;
  std::unique_ptr<Connection> m_pConnection;
};

// The one database; made at the first call, with its file opened if it can be.
const std::shared_ptr<HostDatabase>& TheDatabase();

}  // namespace HostKit
