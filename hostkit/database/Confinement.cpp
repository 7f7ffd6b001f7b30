// What the statements of plug-ins may do. Their texts hold what cards call themselves, unescaped,
// so they are taken for what the worst card would write.
#include <sqlite3.h>
#include <strings.h>
#include <time.h>

#include <algorithm>
#include <array>

#include "hostkit/database/Connection.h"
#include "hostkit/database/Tables.h"

namespace HostKit {

namespace {

// A statement of the layer takes far less than a thousandth of it. It is the thread's own time that
// is counted, so that a machine that stands still breaks nothing.
constexpr std::int64_t kMostNanoseconds = 1'000'000'000;
constexpr int kStepsBetweenLooks = 10'000;

constexpr int kLongestText = 16 << 20;
// By so many pages, of 4 KiB, may statements make the file grow.
constexpr std::int64_t kMostNewPages = 65'536;

constexpr std::array kActionsOnRows = {SQLITE_READ, SQLITE_INSERT, SQLITE_UPDATE, SQLITE_DELETE};

// These have no effect and give no more than they take.
constexpr std::array kFunctions = {"abs",   "avg",  "coalesce", "count",  "ifnull", "length",
                                   "lower", "max",  "min",      "nullif", "round",  "sum",
                                   "total", "trim", "typeof",   "upper"};

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
    // A table of which no column is read, as for COUNT(*), comes without its schema.
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

int Authorize(void*, int action, const char* first, const char* second, const char* schema,
              const char*) {
  return IsAllowed(action, first, second, schema) ? SQLITE_OK : SQLITE_DENY;
}

std::int64_t OwnTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// For as long as it lives, what the connection runs has so much time in all.
class Deadline {
 public:
  explicit Deadline(sqlite3* database) : m_pDatabase(database) {
    sqlite3_progress_handler(database, kStepsBetweenLooks, HasPassed, &m_End);
  }
  ~Deadline() { sqlite3_progress_handler(m_pDatabase, 0, nullptr, nullptr); }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

 private:
  static int HasPassed(void* end) {
    return OwnTime() > *static_cast<const std::int64_t*>(end) ? 1 : 0;
  }

  sqlite3* const m_pDatabase;
  std::int64_t m_End = OwnTime() + kMostNanoseconds;
};

}  // namespace

void Connection::Confine() {
  sqlite3* const database = m_pDatabase.get();
  const std::int64_t pages = std::stoll(Run("PRAGMA page_count").at(0));
  Run("PRAGMA max_page_count = " + std::to_string(pages + kMostNewPages));
  sqlite3_limit(database, SQLITE_LIMIT_LENGTH, kLongestText);
  sqlite3_set_authorizer(database, Authorize, nullptr);
}

std::vector<std::string> Connection::RunConfined(const std::string& sql) {
  const Deadline deadline(m_pDatabase.get());
  return Run(sql);
}

}  // namespace HostKit
