#include "hostkit/database/Connection.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>
#include <utility>

#include "base/HeldLocks.h"
#include "base/TrustedPath.h"
#include "hostkit/Paths.h"
#include "hostkit/records/Files.h"

namespace HostKit {

namespace {

using boost::filesystem::path;

constexpr std::size_t kMaxResultSize = 64 << 20;
constexpr int kBusyMs = 500;  // to wait for another process's lock

// After one of these errors, the connection is unusable.
constexpr std::array kReopenCodes = {SQLITE_CANTOPEN, SQLITE_CORRUPT, SQLITE_IOERR, SQLITE_NOTADB};

[[noreturn]] void Fail(sqlite3* database) {
  throw SqliteError(sqlite3_errcode(database), sqlite3_errmsg(database));
}

void Check(int result, sqlite3* database) {
  if (result != SQLITE_OK) Fail(database);
}

// The codes for a file that can be read but not written, or whose directory cannot be written.
constexpr std::array kNotWritableCodes = {SQLITE_CANTOPEN, SQLITE_PERM, SQLITE_READONLY};

template <class Codes>
bool IsAmong(const Codes& codes, int code) {
  const int primary = code & 0xFF;
  return std::find(codes.begin(), codes.end(), primary) != codes.end();
}

// The suffixes of the files that belong to a database: the database itself, SQLite's other files,
// and the lock file of the host.
constexpr std::array kFileSuffixes = {"", "-wal", "-shm", "-journal", "-host"};

// Resolves the symbolic links of `file`. Throws `SqliteError` if another user could have created
// the file: it might be forged, or a link to a file that only this user may write.
path TrustedFile(const path& file) {
  const Base::TrustedPath found = Base::ResolveTrusted(file.string());
  std::string trustError = found.m_TrustError;
  for (const char* suffix : kFileSuffixes) {
    if (trustError.empty())
      trustError = Base::ResolveTrusted(found.m_File.string() + suffix).m_TrustError;
  }
  if (!trustError.empty()) throw SqliteError(SQLITE_PERM, trustError);
  return found.m_File.string();
}

// A relative name refers to different files in different working directories.
void RequireAbsolute(const path& file) {
  if (!file.is_absolute()) throw SqliteError(SQLITE_CANTOPEN, sqlite3_errstr(SQLITE_CANTOPEN));
}

sqlite3* Open(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  if (database == nullptr) throw SqliteError(SQLITE_NOMEM, sqlite3_errstr(SQLITE_NOMEM));
  return database;
}

sqlite3* OpenReadWrite(const path& file) {
  CreateDirectories(file.parent_path().string());  // opening the file reports errors
  return Open(file.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOFOLLOW);
}

std::string UriOf(const std::string& name) {
  std::string uri = "file://" + boost::replace_all_copy(name, "%", "%25");
  boost::replace_all(uri, "?", "%3F");
  boost::replace_all(uri, "#", "%23");
  return uri;
}

// A file without a write-ahead log is opened as immutable: otherwise SQLite would create a log,
// which may fail or leave the log behind.
sqlite3* OpenReadOnly(const path& file) {
  const std::string name = file.string();
  boost::system::error_code ignored;
  const bool hasLog = boost::filesystem::exists(name + "-wal", ignored);
  return Open(UriOf(name) + (hasLog ? "" : "?immutable=1"),
              SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOFOLLOW);
}

sqlite3* Open(const path& file, Access access) {
  if (IsInMemory(file)) return Open(file.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  RequireAbsolute(file);
  const path trusted = TrustedFile(file);
  return access == Access::Read ? OpenReadOnly(trusted) : OpenReadWrite(trusted);
}

// Compiles the first statement in `rest` and advances `rest` past it. Returns null for white space
// or a comment.
sqlite3_stmt* Compile(sqlite3* database, const char*& rest) {
  sqlite3_stmt* statement = nullptr;
  Check(sqlite3_prepare_v2(database, rest, -1, &statement, &rest), database);
  return statement;
}

std::uint64_t NextNumber() {
  static std::atomic<std::uint64_t> newest{0};
  return ++newest;
}

bool NextRow(sqlite3* database, sqlite3_stmt* statement) {
  Base::RequireNoLock("a database statement");
  const int result = sqlite3_step(statement);
  if (result != SQLITE_ROW && result != SQLITE_DONE) Fail(database);
  return result == SQLITE_ROW;
}

std::string CellText(sqlite3_stmt* statement, int column) {
  if (sqlite3_column_type(statement, column) == SQLITE_NULL) return "NULL";
  const unsigned char* const text = sqlite3_column_text(statement, column);
  if (text == nullptr) return {};  // an empty blob
  return {text, text + sqlite3_column_bytes(statement, column)};
}

}  // namespace

bool SqliteError::NeedsReopen() const {
  return IsAmong(kReopenCodes, m_Code);
}

bool SqliteError::MayBeReadOnly() const {
  return IsAmong(kNotWritableCodes, m_Code);
}

Statement::Statement(sqlite3* database, const std::string& sql)
    : m_pDatabase(database), m_pStatement(nullptr, sqlite3_finalize) {
  const char* rest = sql.c_str();
  m_pStatement.reset(Compile(database, rest));
}

Statement& Statement::Bind(std::int64_t value) {
  Check(sqlite3_bind_int64(m_pStatement.get(), ++m_Bound, value), m_pDatabase);
  return *this;
}

Statement& Statement::Bind(const std::string& value) {
  Check(sqlite3_bind_text64(m_pStatement.get(), ++m_Bound, value.data(), value.size(),
                            SQLITE_TRANSIENT, SQLITE_UTF8),
        m_pDatabase);
  return *this;
}

Statement& Statement::Bind(const std::optional<std::int64_t>& value) {
  if (value) return Bind(*value);
  Check(sqlite3_bind_null(m_pStatement.get(), ++m_Bound), m_pDatabase);
  return *this;
}

Statement& Statement::BindRow(const Statement& row) {
  const int width = sqlite3_column_count(row.m_pStatement.get());
  for (int column = 0; column < width; ++column) {
    sqlite3_value* const value = sqlite3_column_value(row.m_pStatement.get(), column);
    Check(sqlite3_bind_value(m_pStatement.get(), ++m_Bound, value), m_pDatabase);
  }
  return *this;
}

bool Statement::Step() {
  return NextRow(m_pDatabase, m_pStatement.get());
}

std::int64_t Statement::Integer(int column) const {
  return sqlite3_column_int64(m_pStatement.get(), column);
}

std::optional<std::int64_t> Statement::OptionalInteger(int column) const {
  if (sqlite3_column_type(m_pStatement.get(), column) == SQLITE_NULL) return std::nullopt;
  return Integer(column);
}

std::string Statement::Text(int column) const {
  return CellText(m_pStatement.get(), column);
}

Connection::Connection(const path& file, Access access)
    : m_pDatabase(Open(file, access), sqlite3_close), m_Number(NextNumber()) {
  if (sqlite3_errcode(m_pDatabase.get()) != SQLITE_OK) Fail(m_pDatabase.get());
  Configure();
  if (access == Access::Write) PrepareToWrite();
  if (access != Access::Read) Run("PRAGMA synchronous = NORMAL");
  if (!IsInMemory(file)) CheckTrust(file);
}

// Checks again, because another user may have created the file between the first check and the
// opening. A trusted file remains trusted.
void Connection::CheckTrust(const path& file) {
  try {
    TrustedFile(file);
  } catch (const SqliteError&) {
    DisableCheckpointOnClose();
    throw;
  }
}

void Connection::PrepareToWrite() {
  // Using a read-only file would create a read-only write-ahead log, which would still be read-only
  // when the file becomes writable.
  if (sqlite3_db_readonly(m_pDatabase.get(), "main") == 1) {
    throw SqliteError(SQLITE_READONLY, sqlite3_errstr(SQLITE_READONLY));
  }
  try {
    CheckIntegrity();
    Run("PRAGMA journal_mode = WAL");
  } catch (const SqliteError&) {
    DisableCheckpointOnClose();
    throw;
  }
}

void Connection::Configure() {
  sqlite3* const database = m_pDatabase.get();
  sqlite3_busy_timeout(database, kBusyMs);
  // The plug-ins' statements contain strings in double quotes.
  sqlite3_db_config(database, SQLITE_DBCONFIG_DQS_DML, 1, nullptr);
  // Injected SQL must not access other files or internal tables.
  sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_limit(database, SQLITE_LIMIT_ATTACHED, 0);
  // Keeps temporary data out of files, because an environment variable could set their directory.
  Run("PRAGMA temp_store = MEMORY");
}

void Connection::CheckIntegrity() {
  const std::string finding = Run("PRAGMA quick_check(1)").at(0);
  if (finding == "ok") return;
  throw SqliteError(SQLITE_CORRUPT, sqlite3_errstr(SQLITE_CORRUPT) + (": " + finding));
}

std::vector<std::string> Connection::Run(const std::string& sql) {
  if (sql.find('\0') != std::string::npos) {
    throw SqliteError(SQLITE_ERROR, "a statement contains a NUL character");
  }
  std::vector<std::string> cells;
  RunAll(sql.c_str(), cells);
  return cells;
}

void Connection::RunAll(const char* rest, std::vector<std::string>& cells) {
  while (*rest != '\0') {
    const StatementPtr statement(Compile(m_pDatabase.get(), rest), sqlite3_finalize);
    if (statement) Run(statement.get(), cells);
  }
}

void Connection::Run(sqlite3_stmt* statement, std::vector<std::string>& cells) {
  std::size_t size = 0;
  for (const std::string& cell : cells) size += sizeof(std::string) + cell.size();
  while (NextRow(m_pDatabase.get(), statement)) {
    // The first step may compile the statement again, after another program has changed the table.
    const int width = sqlite3_column_count(statement);
    for (int column = 0; column < width; ++column) {
      cells.push_back(CellText(statement, column));
      size += sizeof(std::string) + cells.back().size();
      if (size > kMaxResultSize) throw SqliteError(SQLITE_TOOBIG, "the result is too large");
    }
  }
}

// Keeps only texts of a single statement, which are all that the persistence layer repeats.
std::vector<std::string> Connection::RunCached(const std::string& sql) {
  std::vector<std::string> cells;
  if (sqlite3_stmt* const kept = m_Statements.Find(sql)) {
    // Ends the statement even if it fails; otherwise it would keep a transaction open.
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> reset(kept, sqlite3_reset);
    Run(kept, cells);
    return cells;
  }
  const char* rest = sql.c_str();
  StatementPtr statement(Compile(m_pDatabase.get(), rest), sqlite3_finalize);
  if (statement) Run(statement.get(), cells);
  if (statement && *rest == '\0') {
    sqlite3_reset(statement.get());
    m_Statements.Keep(sql, std::move(statement));
  } else {
    statement.reset();
    RunAll(rest, cells);
  }
  return cells;
}

bool Connection::IsReadOnly() const {
  return sqlite3_db_readonly(m_pDatabase.get(), "main") == 1;
}

path Connection::File() const {
  const char* const file = sqlite3_db_filename(m_pDatabase.get(), "main");
  return file == nullptr || *file == '\0' ? ":memory:" : file;
}

void Connection::RollBack() noexcept {
  if (sqlite3_get_autocommit(m_pDatabase.get()) != 0) return;
  sqlite3_exec(m_pDatabase.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

bool Connection::HasMoved() const {
  int moved = 0;
  sqlite3_file_control(m_pDatabase.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved != 0;
}

void Connection::TruncateLog() noexcept {
  sqlite3_wal_checkpoint_v2(m_pDatabase.get(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                            nullptr);
}

void Connection::DisableCheckpointOnClose() {
  sqlite3_db_config(m_pDatabase.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

}  // namespace HostKit
