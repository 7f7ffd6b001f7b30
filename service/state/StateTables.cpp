#include "service/state/StateTables.h"

#include <string>

#include "hostkit/database/OwnTables.h"
#include "service/state/HistoryFields.h"

namespace Service {
namespace {

using HostKit::Connection;
using HostKit::Statement;

struct StateTable {
  const char* m_Name;
  std::string m_Columns;
};

constexpr const char* kCardColumns =
    "serial_number TEXT PRIMARY KEY, position INTEGER NOT NULL UNIQUE, "
    "first_seen INTEGER NOT NULL, last_seen INTEGER NOT NULL, is_present INTEGER NOT NULL, "
    "name TEXT NOT NULL, product TEXT NOT NULL, pci_address TEXT NOT NULL, slot INTEGER, "
    "size_bytes INTEGER, logged_present INTEGER NOT NULL, logged_new INTEGER NOT NULL, "
    "logged_object_id INTEGER NOT NULL, logged_name TEXT NOT NULL, logged_reasons TEXT NOT NULL, "
    "logged_formats TEXT NOT NULL, hours INTEGER NOT NULL DEFAULT 0";
constexpr const char* kAcknowledgmentColumns =
    "serial_number TEXT NOT NULL, reason TEXT NOT NULL, user TEXT NOT NULL, time INTEGER NOT NULL, "
    "until INTEGER, note TEXT NOT NULL, PRIMARY KEY (serial_number, reason)";
constexpr const char* kJobColumns =
    "id TEXT PRIMARY KEY, serial_number TEXT NOT NULL, operation TEXT NOT NULL, "
    "dry_run INTEGER NOT NULL, origin TEXT NOT NULL, user TEXT NOT NULL, state TEXT NOT NULL, "
    "started INTEGER NOT NULL, ended INTEGER, result TEXT NOT NULL";
constexpr const char* kResponseColumns =
    "key TEXT PRIMARY KEY, content TEXT NOT NULL, begun INTEGER NOT NULL, "
    "status INTEGER NOT NULL, content_type TEXT NOT NULL, body TEXT NOT NULL, "
    "location TEXT NOT NULL";

const StateTable kStateTables[] = {
    {"host_state", "name TEXT PRIMARY KEY, value INTEGER NOT NULL"},
    {"host_known_cards", kCardColumns},
    {"host_acknowledgments", kAcknowledgmentColumns},
    {"host_jobs", kJobColumns},
    {"host_responses", kResponseColumns},
    {"host_history_minutes",
     "id INTEGER PRIMARY KEY, time INTEGER NOT NULL" + HistoryColumns(HistoryTable::Minutes)},
    {"host_history_hours",
     "id INTEGER PRIMARY KEY, time INTEGER NOT NULL, samples INTEGER NOT NULL" +
         HistoryColumns(HistoryTable::Hours)},
};

// In the order of `StateNumber`.
constexpr const char* kNumberNames[] = {
    "next_position",   "has_baseline", "log_position",     "difference_first",
    "difference_last", "next_minute",  "next_hour_minute", "last_minute",
};

std::string NameOf(StateNumber number) {
  return kNumberNames[static_cast<std::size_t>(number)];
}

}  // namespace

void PrepareStateTables(Connection& connection) {
  InTransaction(connection, [&connection] {
    for (const StateTable& table : kStateTables) {
      const std::string name = table.m_Name;
      EnsureOwnTable(connection, name,
                     "CREATE TABLE " + name + " (" + table.m_Columns + ") STRICT");
    }
  });
}

std::int64_t ReadNumber(Connection& connection, StateNumber number) {
  Statement statement = connection.Prepare("SELECT value FROM host_state WHERE name = ?");
  return statement.Bind(NameOf(number)).Step() ? statement.Integer(0) : 0;
}

void WriteNumber(Connection& connection, StateNumber number, std::int64_t value) {
  if (ReadNumber(connection, number) == value) return;
  connection.Prepare("INSERT OR REPLACE INTO host_state VALUES (?, ?)")
      .Bind(NameOf(number))
      .Bind(value)
      .Step();
}

}  // namespace Service
