// An open database file of the SQLite library. For use by one thread at a time.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/Database.h"

struct sqlite3;
struct sqlite3_stmt;

namespace HostKit {

// A statement failed. The text is the library's.
class SqliteError : public DBEXCEPTION::DatabaseException {
 public:
  SqliteError(int code, const std::string& text) : DatabaseException(text), m_Code(code) {}

  // Whether only reopening the file can help.
  bool NeedsReopen() const;
  // Whether the reason may be that the file is read-only.
  bool MayLackOnlyWriting() const;

 private:
  int m_Code;
};

// One statement with placeholders, for the host's own tables. The connection must outlive it. All
// members throw `SqliteError` on failure.
class Statement {
 public:
  Statement(sqlite3* database, const std::string& sql);

  // Fills the next placeholder. Returns this object.
  Statement& Bind(std::int64_t value);
  Statement& Bind(const std::string& value);
  // Fills the next placeholders with all cells of the current row of another statement.
  Statement& BindRow(const Statement& row);
  // Moves to the next row; false after the last one.
  bool Step();
  // A cell of the current row; columns count from 0.
  std::int64_t Integer(int column) const;
  std::string Text(int column) const;

 private:
  sqlite3* m_pDatabase;
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> m_pStatement;
  int m_Bound = 0;
};

// How a file is opened. `Read` neither creates nor changes anything. `AnotherToWrite` is for a file
// that another connection has already opened and checked.
enum class Access { Write, AnotherToWrite, Read };

class Connection {
 public:
  // Opens or creates the file. ":memory:" means none; any other path is absolute. Throws
  // `SqliteError`, also for a file that another user could have put there.
  explicit Connection(const boost::filesystem::path& file, Access access = Access::Write);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Runs the statements of `sql` in turn and returns all cells of all rows as text, NULL as "NULL".
  // Throws `SqliteError` at the first one that fails; later ones do not run.
  std::vector<std::string> Run(const std::string& sql);
  Statement Prepare(const std::string& sql) { return {m_pDatabase.get(), sql}; }

  // From now on, statements may only read and write the rows of plug-ins.
  void Confine();
  // Like `Run`, for a statement of a plug-in: it fails if it needs too much time or memory.
  std::vector<std::string> RunConfined(const std::string& sql);

  // The path of the file, without links; ":memory:" if there is none.
  boost::filesystem::path File() const;
  // Rolls an unfinished transaction back.
  void RollBack() noexcept;
  // Whether another file, or none, is now at the path of this one.
  bool HasMoved() const;
  // Writes the write-ahead log into the file and empties it, wherever both are now: otherwise the
  // log would be used for the file that has replaced this one.
  void EmptyLog() noexcept;
  // Makes closing leave the file as it is, instead of writing the write-ahead log into it.
  void LeaveAsItIs();

 private:
  void Configure();
  void CheckTrust(const boost::filesystem::path& file);
  void PrepareToWrite();
  // Throws for a damaged file, before anything is written to it.
  void CheckWhole();

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_pDatabase;
};

}  // namespace HostKit
