// Compiled statements of a connection, by their text.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

struct sqlite3_stmt;

namespace HostKit {

using StatementPtr = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

// Keeps the statements of texts that are run repeatedly: compiling a statement takes longer than
// running it, and a card that is not in use has the same rows at every scan. A text is kept when it
// is run for the second time, so that texts that never recur need no memory. Drops the statements
// that have not been run for the longest time.
class StatementCache {
 public:
  // Returns the statement, ready to run, or null. Valid until the next call of `Keep`.
  sqlite3_stmt* Find(const std::string& sql);
  // Offers the statement of a text that `Find` did not find, after it has run.
  void Keep(const std::string& sql, StatementPtr statement);

 private:
  struct Entry {
    std::string m_Sql;
    StatementPtr m_Statement;
    std::size_t m_Size;  // in bytes
  };
  using Entries = std::list<Entry>;

  bool IsSecondRun(const std::string& sql);

  Entries m_Entries;  // the most recently used first
  std::unordered_map<std::string_view, Entries::iterator> m_BySql;
  std::size_t m_Size = 0;
  std::unordered_set<std::size_t> m_SeenOnce;  // hashes of texts
};

}  // namespace HostKit
