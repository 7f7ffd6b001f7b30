// What the statements of plug-ins may do. They contain names that cards report, unescaped, so a
// malicious card could write any statement.
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

// A statement of the layer takes far less than a thousandth of it. The thread's own CPU time is
// counted, so that a stalled machine makes no statement fail.
constexpr std::int64_t kMaxNanoseconds = 1'000'000'000;
// Each step may process a text of the maximum length.
constexpr int kStepsBetweenChecks = 100;
// The time is not checked while a statement is compiled. A query that contains another one twice,
// which contains another one twice, soon amounts to millions; a statement with very many conditions
// has each compared with many others. These three limits prevent that.
constexpr int kMaxQueries = 32;
constexpr int kMaxWords = 16'384;  // inserting an adapter needs a few hundred
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

// How much statements may make the file grow, in bytes.
constexpr std::int64_t kMaxGrowth = 256 << 20;

constexpr std::array kActionsOnRows = {SQLITE_READ, SQLITE_INSERT, SQLITE_UPDATE, SQLITE_DELETE};

// The functions that the layer uses, and the count of rows. A single call of another function, such
// as `trim`, could take long.
constexpr std::array kFunctions = {"count", "max"};

bool IsSame(const char* left, const char* right) {
  return left != nullptr && strcasecmp(left, right) == 0;
}

bool IsRowTable(const char* name) {
  const auto& tables = RowTables();
  return std::any_of(tables.begin(), tables.end(), [name](const TableShape& table) {
    return IsSame(name, table.m_Name.c_str());
  });
}

bool IsFunction(const char* name) {
  return std::any_of(kFunctions.begin(), kFunctions.end(),
                     [name](const char* known) { return IsSame(name, known); });
}

bool IsAllowed(int action, const char* first, const char* second, const char* schema) {
  if (std::find(kActionsOnRows.begin(), kActionsOnRows.end(), action) != kActionsOnRows.end()) {
    // A table of which no column is read, as for COUNT(*), is reported without its schema.
    return IsRowTable(first) && (schema == nullptr || IsSame(schema, "main"));
  }
  switch (action) {
    case SQLITE_SELECT:
      return true;
    case SQLITE_FUNCTION:
      return IsFunction(second);
    case SQLITE_PRAGMA:  // the layer writes it in front of a statement
      return IsSame(first, "foreign_keys") && IsSame(second, "ON");
    default:
      return false;
  }
}

// Counts names, numbers and operators, including those inside string literals: only the library
// knows where a literal ends.
int CountWords(const std::string& sql) {
  int words = 0;
  bool isInWord = false;
  for (const char character : sql) {
    const auto byte = static_cast<unsigned char>(character);
    const bool isOfWord = std::isalnum(byte) != 0 || byte == '_' || byte >= 0x80;
    if (isOfWord ? !isInWord : std::isspace(byte) == 0) ++words;
    isInWord = isOfWord;
  }
  return words;
}

std::int64_t OwnTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// How much of its limits one call has used.
class Usage {
 public:
  bool HasTakenTooLong() {
    m_TookTooLong = m_TookTooLong || OwnTime() > m_End;
    return m_TookTooLong;
  }

  bool Allows(int action) {
    if (action == SQLITE_SELECT) ++m_Queries;
    return m_Queries <= kMaxQueries && !HasTakenTooLong();
  }

  // Throws the limit that was the reason for `error`, or else `error` itself.
  [[noreturn]] void Explain(const SqliteError& error) const {
    if (m_TookTooLong) throw SqliteError(SQLITE_INTERRUPT, "a statement takes too long");
    if (m_Queries > kMaxQueries) {
      throw SqliteError(SQLITE_AUTH, "a statement contains too many queries");
    }
    throw SqliteError(error);
  }

 private:
  const std::int64_t m_End = OwnTime() + kMaxNanoseconds;
  int m_Queries = 0;
  bool m_TookTooLong = false;
};

int Authorize(void* usage, int action, const char* first, const char* second, const char* schema,
              const char*) {
  const bool isWithin = usage == nullptr || static_cast<Usage*>(usage)->Allows(action);
  return isWithin && IsAllowed(action, first, second, schema) ? SQLITE_OK : SQLITE_DENY;
}

int CheckTime(void* usage) {
  return static_cast<Usage*>(usage)->HasTakenTooLong() ? 1 : 0;
}

// Limits the library's additional memory as long as it lives. The limit is for the whole process,
// but the host's connections are used one at a time.
class MemoryBound {
 public:
  MemoryBound() { sqlite3_hard_heap_limit64(sqlite3_memory_used() + kMaxMemory); }
  ~MemoryBound() {
    sqlite3_hard_heap_limit64(m_HardBefore);
    sqlite3_soft_heap_limit64(m_SoftBefore);  // setting the other one has lowered it
  }
  MemoryBound(const MemoryBound&) = delete;
  MemoryBound& operator=(const MemoryBound&) = delete;

 private:
  const std::int64_t m_HardBefore = sqlite3_hard_heap_limit64(-1);
  const std::int64_t m_SoftBefore = sqlite3_soft_heap_limit64(-1);
};

// Applies the limits to what the connection runs, as long as it lives.
class Bounds {
 public:
  Bounds(sqlite3* database, Usage& usage) : m_pDatabase(database) {
    sqlite3_set_authorizer(database, Authorize, &usage);
    sqlite3_progress_handler(database, kStepsBetweenChecks, CheckTime, &usage);
  }
  ~Bounds() {
    sqlite3_set_authorizer(m_pDatabase, Authorize, nullptr);
    sqlite3_progress_handler(m_pDatabase, 0, nullptr, nullptr);
  }
  Bounds(const Bounds&) = delete;
  Bounds& operator=(const Bounds&) = delete;

 private:
  sqlite3* const m_pDatabase;
  const MemoryBound m_Memory;
};

// Free pages count as new ones: otherwise every run of a host could add as much again.
std::int64_t MostPages(Connection& connection) {
  const auto number = [&connection](const std::string& pragma) -> std::int64_t {
    return std::stoll(connection.Run("PRAGMA " + pragma).at(0));
  };
  return number("page_count") - number("freelist_count") + kMaxGrowth / number("page_size");
}

}  // namespace

void Connection::Confine() {
  sqlite3* const database = m_pDatabase.get();
  Run("PRAGMA max_page_count = " + std::to_string(MostPages(*this)));
  for (const Limit& limit : kLimits) sqlite3_limit(database, limit.m_Kind, limit.m_Value);
  sqlite3_set_authorizer(database, Authorize, nullptr);
}

std::vector<std::string> Connection::RunConfined(const std::string& sql) {
  if (CountWords(sql) > kMaxWords) {
    throw SqliteError(SQLITE_TOOBIG, "a statement contains too many tokens");
  }
  Usage usage;
  const Bounds bounds(m_pDatabase.get(), usage);
  try {
    return Run(sql);
  } catch (const SqliteError& error) {
    usage.Explain(error);
  }
}

}  // namespace HostKit
