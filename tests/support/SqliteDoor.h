// The connections that the kit opens in this process, for faults that no statement of a plug-in may
// bring about.
#pragma once

#include <sqlite3.h>

#include <stdexcept>

class SqliteDoor {
 public:
  // From now on each connection that is opened in the process is noted.
  SqliteDoor() {
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(Note));
    Newest() = nullptr;
  }
  ~SqliteDoor() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(Note)); }
  SqliteDoor(const SqliteDoor&) = delete;
  SqliteDoor& operator=(const SqliteDoor&) = delete;

  // Runs a statement on the newest connection, which is that for plug-ins when the kit has just
  // opened its database. The connection is no longer confined then.
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
  static int Note(sqlite3* database, char**, const void*) {
    Newest() = database;
    return SQLITE_OK;
  }
};
