#include "hostkit/database/StatementCache.h"

#include <sqlite3.h>

#include <functional>
#include <utility>

namespace HostKit {

namespace {

constexpr std::size_t kMaxSize = 32 << 20;  // enough for the rows of about a thousand cards
constexpr std::size_t kMaxSeenOnce = 8192;

std::size_t SizeOf(const std::string& sql, sqlite3_stmt* statement) {
  const int size = sqlite3_stmt_status(statement, SQLITE_STMTSTATUS_MEMUSED, 0);
  return sql.size() + static_cast<std::size_t>(size);
}

}  // namespace

sqlite3_stmt* StatementCache::Find(const std::string& sql) {
  const auto found = m_BySql.find(sql);
  if (found == m_BySql.end()) return nullptr;
  m_Entries.splice(m_Entries.begin(), m_Entries, found->second);
  return found->second->m_Statement.get();
}

void StatementCache::Keep(const std::string& sql, StatementPtr statement) {
  if (!IsSecondRun(sql)) return;
  const std::size_t size = SizeOf(sql, statement.get());
  m_Entries.push_front({sql, std::move(statement), size});
  m_BySql.emplace(m_Entries.front().m_Sql, m_Entries.begin());
  m_Size += size;
  while (m_Size > kMaxSize) {
    m_Size -= m_Entries.back().m_Size;
    m_BySql.erase(m_Entries.back().m_Sql);
    m_Entries.pop_back();
  }
}

bool StatementCache::IsSecondRun(const std::string& sql) {
  const std::size_t hash = std::hash<std::string>()(sql);
  if (m_SeenOnce.erase(hash) > 0) return true;
  if (m_SeenOnce.size() >= kMaxSeenOnce) m_SeenOnce.clear();
  m_SeenOnce.insert(hash);
  return false;
}

}  // namespace HostKit
