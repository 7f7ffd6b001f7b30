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

// A statement failed; the text is the library's.
class SqliteError : public DBEXCEPTION::DatabaseException {
 public:
  SqliteError(int code, const std::string& text) : DatabaseException(text), m_Code(code) {}

  // Whether only opening the file anew can help.
  bool NeedsReopen() const;
  // Whether the file may well be one that can only be read.
  bool MayLackOnlyWriting() const;

 private:
  int m_Code;
};

// One statement with places for values, for the host's own tables. The connection must outlive it.
class Statement {
 public:
  Statement(sqlite3* database, const std::string& sql);

  Statement& Bind(std::int64_t value);
  Statement& Bind(const std::string& value);
  // All cells of the row at which another statement is.
  Statement& BindRow(const Statement& row);
  // True as long as there is a row; throws `SqliteError`.
  bool Step();
  std::int64_t Integer(int column) const;
  std::string Text(int column) const;

 private:
  sqlite3* m_pDatabase;
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> m_pStatement;
  int m_Bound = 0;
};

// How a file is opened. One that is only read is neither made nor changed, nor is anything beside
// it. Another connection to a file that is open to be written needs no second look at it.
enum class Access { Write, AnotherToWrite, Read };

class Connection {
 public:
  // Opens or makes the file. ":memory:" stands for none; any other path is absolute. Throws
  // `SqliteError`, also for a file that another user could have put there.
  explicit Connection(const boost::filesystem::path& file, Access access = Access::Write);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Runs the statements of `sql` in turn and gives all cells of all rows as text, an SQL NULL as
  // "NULL". Throws `SqliteError` at the first one that fails; the later ones do not run.
  std::vector<std::string> Run(const std::string& sql);
  Statement Prepare(const std::string& sql) { return {m_pDatabase.get(), sql}; }

  // From here on nothing but reading and writing the rows of plug-ins is allowed.
  void Confine();
  // As `Run`, for a statement of a plug-in: it fails when it takes too much time or memory.
  std::vector<std::string> RunConfined(const std::string& sql);

  // Where the file is, without links; ":memory:" when there is none.
  boost::filesystem::path File() const;
  // Takes an unfinished transaction back.
  void RollBack() noexcept;
  // Another file, or none, stands where this one was opened.
  bool HasMoved() const;
  // Brings the write-ahead log into the file and empties it, wherever both are now: left behind, it
  // would be taken for the log of the file that stands in this one's place.
  void EmptyLog() noexcept;
  // Leaves the file as it is when this closes, instead of bringing its write-ahead log into it.
  void LeaveAsItIs();

 private:
  void Configure();
  void CheckTrust(const boost::filesystem::path& file);
  void PrepareToWrite();
  // Fails for a damaged file before anything is written to it.
  void CheckWhole();

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_pDatabase;
};

}  // namespace HostKit
