// Restricts the statements of plug-ins. They contain unescaped names reported by cards, so a
// malicious card could inject any SQL.
#include <sqlite3.h>
#include <strings.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <vector>

#include "hostkit/database/Connection.h"
#include "hostkit/database/Tables.h"

namespace HostKit {

namespace {

// The limit for one call. A statement of the persistence layer takes far less than a thousandth of
// it. Counts the thread's CPU time, so that statements do not fail on a stalled machine.
constexpr std::int64_t kMaxNanoseconds = 1'000'000'000;
// How many steps SQLite runs between two checks of the time. Small, because each step may process a
// string of the maximum length.
constexpr int kStepsBetweenChecks = 100;
// While a statement is compiled, the time is checked too rarely. The cost can grow exponentially
// with nested queries and quadratically with conditions; these three limits bound it.
constexpr int kMaxQueries = 32;
constexpr int kMaxTokens = 16'384;  // inserting an adapter needs a few hundred
constexpr std::int64_t kMaxMemory = 64 << 20;

struct Limit {
  int m_Kind;
  int m_Value;
};

constexpr Limit kLimits[] = {
    {SQLITE_LIMIT_LENGTH, 1 << 20},
    {SQLITE_LIMIT_SQL_LENGTH, 4 << 20},
    {SQLITE_LIMIT_VDBE_OP, 16'384},  // inserting an adapter takes a few thousand
};

// The number of bytes by which statements may grow the file.
constexpr std::int64_t kMaxGrowth = 256 << 20;

constexpr std::array kActionsOnRows = {SQLITE_READ, SQLITE_INSERT, SQLITE_UPDATE, SQLITE_DELETE};

// The persistence layer uses `max`; `count` is also allowed. A single call to another function,
// such as `trim`, could take a long time.
constexpr std::array kAllowedFunctions = {"count", "max"};

bool IsSame(const char* left, const char* right) {
  return left != nullptr && strcasecmp(left, right) == 0;
}

bool IsRowTable(const char* name) {
  const auto& tables = RowTables();
  return std::any_of(tables.begin(), tables.end(), [name](const TableShape& table) {
    return IsSame(name, table.m_Name.c_str());
  });
}

bool IsAllowedFunction(const char* name) {
  return std::any_of(kAllowedFunctions.begin(), kAllowedFunctions.end(),
                     [name](const char* known) { return IsSame(name, known); });
}

bool IsAllowed(int action, const char* first, const char* second, const char* schema) {
  if (std::find(kActionsOnRows.begin(), kActionsOnRows.end(), action) != kActionsOnRows.end()) {
    // If no column of a table is read, as in COUNT(*), SQLite does not pass the schema.
    return IsRowTable(first) && (schema == nullptr || IsSame(schema, "main"));
  }
  switch (action) {
    case SQLITE_SELECT:
      return true;
    case SQLITE_FUNCTION:
      return IsAllowedFunction(second);
    case SQLITE_PRAGMA:  // the persistence layer puts it before a statement
      return IsSame(first, "foreign_keys") && IsSame(second, "ON");
    default:
      return false;
  }
}

// Returns the number of names, numbers and operators, including those inside string literals: only
// SQLite knows where a literal ends.
int CountTokens(const std::string& sql) {
  int tokens = 0;
  bool isInToken = false;
  for (const char character : sql) {
    const auto byte = static_cast<unsigned char>(character);
    const bool isWordByte = std::isalnum(byte) != 0 || byte == '_' || byte >= 0x80;
    if (isWordByte ? !isInToken : std::isspace(byte) == 0) ++tokens;
    isInToken = isWordByte;
  }
  return tokens;
}

std::int64_t ThreadCpuTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Tracks how much of its limits one call has used.
class Usage {
 public:
  bool HasTakenTooLong() {
    m_TookTooLong = m_TookTooLong || ThreadCpuTime() > m_End;
    return m_TookTooLong;
  }

  bool Allows(int action) {
    if (action == SQLITE_SELECT) ++m_Queries;
    return m_Queries <= kMaxQueries && !HasTakenTooLong();
  }

  // Throws an error that names the exceeded limit, or `error` itself if no limit was exceeded.
  [[noreturn]] void Rethrow(const SqliteError& error) const {
    if (m_TookTooLong) throw SqliteError(SQLITE_INTERRUPT, "a statement takes too long");
    if (m_Queries > kMaxQueries) {
      throw SqliteError(SQLITE_AUTH, "a statement contains too many queries");
    }
    throw SqliteError(error);
  }

 private:
  const std::int64_t m_End = ThreadCpuTime() + kMaxNanoseconds;
  int m_Queries = 0;
  bool m_TookTooLong = false;
};

// `context` is the address of a pointer to the usage of the current call; null if there is none.
int Authorize(void* context, int action, const char* first, const char* second, const char* schema,
              const char*) {
  auto* const usage = static_cast<Usage*>(*static_cast<void**>(context));
  const bool isWithinLimits = usage == nullptr || usage->Allows(action);
  return isWithinLimits && IsAllowed(action, first, second, schema) ? SQLITE_OK : SQLITE_DENY;
}

int CheckTime(void* usage) {
  return static_cast<Usage*>(usage)->HasTakenTooLong() ? 1 : 0;
}

// Limits how much more memory SQLite may allocate during the lifetime of this object. The limit
// applies to the entire process, but the host uses its connections one at a time.
class MemoryLimit {
 public:
  MemoryLimit() { sqlite3_hard_heap_limit64(sqlite3_memory_used() + kMaxMemory); }
  ~MemoryLimit() {
    sqlite3_hard_heap_limit64(m_HardBefore);
    sqlite3_soft_heap_limit64(m_SoftBefore);  // setting the hard limit lowered it
  }
  MemoryLimit(const MemoryLimit&) = delete;
  MemoryLimit& operator=(const MemoryLimit&) = delete;

 private:
  const std::int64_t m_HardBefore = sqlite3_hard_heap_limit64(-1);
  const std::int64_t m_SoftBefore = sqlite3_soft_heap_limit64(-1);
};

// Applies the limits to the connection's statements for the lifetime of this object.
class CallLimits {
 public:
  // `slot` receives the address of `usage`, for the authorizer.
  CallLimits(sqlite3* database, Usage& usage, void*& slot) : m_pDatabase(database), m_Slot(slot) {
    m_Slot = &usage;
    sqlite3_progress_handler(database, kStepsBetweenChecks, CheckTime, &usage);
  }
  ~CallLimits() {
    m_Slot = nullptr;
    sqlite3_progress_handler(m_pDatabase, 0, nullptr, nullptr);
  }
  CallLimits(const CallLimits&) = delete;
  CallLimits& operator=(const CallLimits&) = delete;

 private:
  sqlite3* const m_pDatabase;
  void*& m_Slot;
  const MemoryLimit m_Memory;
};

void RequireRunnable(const std::string& sql) {
  if (sql.find('\0') != std::string::npos) {
    throw SqliteError(SQLITE_ERROR, "a statement contains a NUL character");
  }
  if (CountTokens(sql) > kMaxTokens) {
    throw SqliteError(SQLITE_TOOBIG, "a statement contains too many tokens");
  }
}

// Filling free pages counts as growth: otherwise every run of a host could add as much again.
std::int64_t MaxPages(Connection& connection) {
  const auto number = [&connection](const std::string& pragma) -> std::int64_t {
    return std::stoll(connection.Run("PRAGMA " + pragma).at(0));
  };
  return number("page_count") - number("freelist_count") + kMaxGrowth / number("page_size");
}

}  // namespace

void Connection::Confine() {
  sqlite3* const database = m_pDatabase.get();
  Run("PRAGMA max_page_count = " + std::to_string(MaxPages(*this)));
  for (const Limit& limit : kLimits) sqlite3_limit(database, limit.m_Kind, limit.m_Value);
  sqlite3_set_authorizer(database, Authorize, &m_pUsage);
}

// A text in the cache has passed the checks before it was compiled.
std::vector<std::string> Connection::RunConfined(const std::string& sql) {
  if (m_Statements.Find(sql) == nullptr) RequireRunnable(sql);
  Usage usage;
  const CallLimits limits(m_pDatabase.get(), usage, m_pUsage);
  try {
    return RunCached(sql);
  } catch (const SqliteError& error) {
    usage.Rethrow(error);
  }
}

}  // namespace HostKit
