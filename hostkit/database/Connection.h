// An open SQLite database file. Not thread-safe: one thread at a time may use it.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "host/Database.h"
#include "host/Visibility.h"
#include "hostkit/database/StatementCache.h"

struct sqlite3;
struct sqlite3_stmt;

namespace HostKit {

// Thrown when a database cannot be opened or used. `code` is an SQLite result code; `text` is
// SQLite's message or, if the host has detected the error, the host's.
class HOST_API SqliteError : public DBEXCEPTION::DatabaseException {
 public:
  SqliteError(int code, const std::string& text) : DatabaseException(text), m_Code(code) {}

  // Whether the connection has become unusable, so that the file must be reopened.
  bool NeedsReopen() const;
  // Whether the cause may be that the file is read-only.
  bool MayBeReadOnly() const;

 private:
  int m_Code;
};

// A prepared statement, for the host's own tables. The connection must outlive it. All members
// throw `SqliteError` on failure.
class HOST_API Statement {
 public:
  Statement(sqlite3* database, const std::string& sql);

  // Fills the next placeholder. Returns this object.
  Statement& Bind(std::int64_t value);
  Statement& Bind(const std::string& value);
  // std::nullopt binds NULL.
  Statement& Bind(const std::optional<std::int64_t>& value);
  // Fills the next placeholders with all cells of the current row of another statement.
  Statement& BindRow(const Statement& row);
  // Moves to the next row; returns false after the last one.
  bool Step();
  // Return a cell of the current row; columns are numbered from 0. For NULL, `Integer` returns 0,
  // `OptionalInteger` returns std::nullopt, and `Text` returns "NULL".
  std::int64_t Integer(int column) const;
  std::optional<std::int64_t> OptionalInteger(int column) const;
  std::string Text(int column) const;

 private:
  sqlite3* m_pDatabase;
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> m_pStatement;
  int m_Bound = 0;
};

// How a file is opened. `Read` neither creates nor changes anything. `SecondWriter` is for a file
// that another connection has already opened and checked.
enum class Access { Write, SecondWriter, Read };

class HOST_API Connection {
 public:
  // Opens or creates the file. ":memory:" is a database in memory; any other path must be absolute.
  // Throws `SqliteError` on failure, and for a file that another user could have created.
  explicit Connection(const boost::filesystem::path& file, Access access = Access::Write);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Runs the statements of `sql` in turn and returns all cells of all rows as text, NULL as "NULL".
  // Throws `SqliteError` at the first statement that fails; later statements do not run.
  std::vector<std::string> Run(const std::string& sql);
  Statement Prepare(const std::string& sql) { return {m_pDatabase.get(), sql}; }

  // Restricts all later statements to reading and writing the rows of plug-ins.
  void Confine();
  // Like `Run`, for a plug-in's statement, which fails if it needs too much time or memory.
  std::vector<std::string> RunConfined(const std::string& sql);

  // Returns a number that is unique among all connections of this process.
  std::uint64_t Number() const { return m_Number; }
  bool IsReadOnly() const;
  // Returns the path of the file with symbolic links resolved, or ":memory:" for a database in
  // memory.
  boost::filesystem::path File() const;
  // Rolls back an unfinished transaction.
  void RollBack() noexcept;
  // Whether the file has been moved, deleted or replaced since it was opened.
  bool HasMoved() const;
  // Checkpoints and truncates the write-ahead log, even if the file has moved: otherwise SQLite
  // would replay the log into the file that replaced this one.
  void TruncateLog() noexcept;
  // Disables the checkpoint on close.
  void DisableCheckpointOnClose();

 private:
  void Configure();
  void CheckTrust(const boost::filesystem::path& file);
  void PrepareToWrite();
  // Throws if the file is damaged. Called before the first write.
  void CheckIntegrity();
  // Run the statements of a text, or a compiled one, and append the cells to `cells`.
  void RunAll(const char* rest, std::vector<std::string>& cells);
  void Run(sqlite3_stmt* statement, std::vector<std::string>& cells);
  std::vector<std::string> RunCached(const std::string& sql);

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_pDatabase;
  const std::uint64_t m_Number;
  StatementCache m_Statements;  // of `RunConfined`; destroyed before the database
  // The limits of the current call of `RunConfined`. SQLite's authorizer refers to this member: a
  // new authorizer for each call would invalidate all compiled statements.
  void* m_pUsage = nullptr;
};

// Runs `work` in a transaction, which is rolled back if it throws.
template <class Work>
auto InTransaction(Connection& connection, Work work) {
  try {
    connection.Run("BEGIN IMMEDIATE");
    if constexpr (std::is_void_v<decltype(work())>) {
      work();
      connection.Run("COMMIT");
    } else {
      auto result = work();
      connection.Run("COMMIT");
      return result;
    }
  } catch (...) {
    connection.RollBack();
    throw;
  }
}

}  // namespace HostKit
