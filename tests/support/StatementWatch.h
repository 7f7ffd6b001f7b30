// Intercepts the statements between the plug-in and the host's database: records them, and can make
// one fail or change its result.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/Database.h"
#include "orm/storage.h"

namespace CorvaneTest {

// Installed until destroyed. Construct and destroy it while no statement runs.
class StatementWatch {
 public:
  StatementWatch() : m_pStorage(getDatabasePointer()) {
    m_pInterceptor = std::make_shared<Interceptor>(m_pStorage->dao);
    m_pStorage->dao = m_pInterceptor;
  }
  ~StatementWatch() { m_pStorage->dao = m_pInterceptor->m_pDatabase; }
  StatementWatch(const StatementWatch&) = delete;
  StatementWatch& operator=(const StatementWatch&) = delete;

  // Clears the recorded statements and the failure. Statements of the test are also recorded.
  void Begin() {
    const std::lock_guard<std::mutex> guard(m_pInterceptor->m_Mutex);
    m_pInterceptor->m_Statements.clear();
    m_pInterceptor->m_FailingPosition = 0;
  }
  // Like `Begin`, but the statement at `position`, counted from 1, throws instead of running.
  template <class Failure>
  void BeginFailing(std::size_t position, Failure failure) {
    Begin();
    const std::lock_guard<std::mutex> guard(m_pInterceptor->m_Mutex);
    m_pInterceptor->m_FailingPosition = position;
    m_pInterceptor->m_pFailure = std::make_exception_ptr(std::move(failure));
  }
  // `listener` is called before each statement, on the thread that sends it. It may block and may
  // call the plug-in. Call `OnStatement` only while no statement runs.
  void OnStatement(std::function<void(const std::string& sql)> listener) {
    m_pInterceptor->m_Listener = std::move(listener);
  }
  // `change` is called after each statement that does not fail, and may change the cells of its
  // result. Otherwise like `OnStatement`.
  void OnResult(
      std::function<void(const std::string& sql, std::vector<std::string>& cells)> change) {
    m_pInterceptor->m_Change = std::move(change);
  }
  std::vector<std::string> Statements() const {
    const std::lock_guard<std::mutex> guard(m_pInterceptor->m_Mutex);
    return m_pInterceptor->m_Statements;
  }

 private:
  struct Interceptor : DatabaseWrapper::DatabaseDAO {
    explicit Interceptor(std::shared_ptr<DatabaseWrapper::DatabaseDAO> database)
        : m_pDatabase(std::move(database)) {}

    std::vector<std::string> query(std::string sql) override {
      if (m_Listener) m_Listener(sql);
      {
        const std::lock_guard<std::mutex> guard(m_Mutex);
        m_Statements.push_back(sql);
        if (m_Statements.size() == m_FailingPosition) std::rethrow_exception(m_pFailure);
      }
      std::vector<std::string> cells = m_pDatabase->query(sql);
      if (m_Change) m_Change(sql, cells);
      return cells;
    }

    const std::shared_ptr<DatabaseWrapper::DatabaseDAO> m_pDatabase;
    std::function<void(const std::string& sql)> m_Listener;
    std::function<void(const std::string& sql, std::vector<std::string>& cells)> m_Change;
    std::mutex m_Mutex;
    std::vector<std::string> m_Statements;
    std::size_t m_FailingPosition = 0;
    std::exception_ptr m_pFailure;
  };

  const std::shared_ptr<DatabaseORM::storage_t> m_pStorage;
  std::shared_ptr<Interceptor> m_pInterceptor;
};

}  // namespace CorvaneTest
