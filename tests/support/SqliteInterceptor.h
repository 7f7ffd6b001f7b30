// Access to the database connections that the kit opens in this process, to cause faults that no
// plug-in statement can cause.
#pragma once

#include <sqlite3.h>

#include <stdexcept>

class SqliteInterceptor {
 public:
  // Records each connection that the process opens from now on.
  SqliteInterceptor() {
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(Record));
    Newest() = nullptr;
  }
  ~SqliteInterceptor() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(Record)); }
  SqliteInterceptor(const SqliteInterceptor&) = delete;
  SqliteInterceptor& operator=(const SqliteInterceptor&) = delete;

  // Runs a statement on the newest connection: that of the plug-ins, if the kit has just opened its
  // database. Afterwards, statements on that connection run without restrictions.
  static void Run(const char* sql) {
    sqlite3_set_authorizer(Newest(), nullptr, nullptr);
    if (sqlite3_exec(Newest(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(Newest()));
    }
  }

 private:
  static sqlite3*& Newest() {
    static sqlite3* newest = nullptr;
    return newest;
  }
  static int Record(sqlite3* database, char**, const void*) {
    Newest() = database;
    return SQLITE_OK;
  }
};
