#include "tests/orm/Database.h"

#include <utility>

void ScriptedDatabase::Answer(const std::vector<std::string>& cells) {
  m_Script.push_back([cells] { return cells; });
}

void ScriptedDatabase::Fail(const std::string& text) {
  Call([text] { throw DBEXCEPTION::DatabaseException(text); });
}

void ScriptedDatabase::Call(std::function<void()> action) {
  m_Script.push_back([action = std::move(action)] {
    action();
    return std::vector<std::string>();
  });
}

std::vector<std::string> ScriptedDatabase::query(std::string sql) {
  sent.push_back(std::move(sql));
  if (m_Script.empty()) return {};
  const auto next = m_Script.front();
  m_Script.pop_front();
  return next();
}
