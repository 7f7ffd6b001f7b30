#include "service/state/CardRows.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <variant>
#include <vector>

#include "service/state/CardTexts.h"

namespace Service {
namespace {

using HostKit::Connection;
using HostKit::Statement;

// The value of one column in a row.
using Cell = std::variant<std::optional<std::int64_t>, std::string>;

template <class Number>
Cell CellOf(const Number& number) {
  return std::optional(static_cast<std::int64_t>(number));
}
Cell CellOf(const std::optional<std::int64_t>& number) {
  return number;
}
Cell CellOf(const std::string& text) {
  return text;
}
Cell CellOf(const std::set<std::uint32_t>& reasons) {
  return TextOf(reasons);
}
Cell CellOf(const std::vector<DriveState>& drives) {
  return TextOf(drives);
}

template <class Number>
void Read(const Statement& statement, int column, Number& number) {
  number = static_cast<Number>(statement.Integer(column));
}
void Read(const Statement& statement, int column, std::optional<std::int64_t>& number) {
  number = statement.OptionalInteger(column);
}
void Read(const Statement& statement, int column, std::string& text) {
  text = statement.Text(column);
}
void Read(const Statement& statement, int column, std::set<std::uint32_t>& reasons) {
  reasons = ParseReasons(statement.Text(column));
}
void Read(const Statement& statement, int column, std::vector<DriveState>& drives) {
  drives = ParseDrives(statement.Text(column));
}

// Calls `visit(name, value)` for each column, the key first, except `hours`, which the history
// updates.
template <class Row, class Visit>
void ForEachColumn(Row& row, Visit visit) {
  visit("serial_number", row.m_Card.m_SerialNumber);
  visit("position", row.m_Card.m_Position);
  visit("first_seen", row.m_Card.m_FirstSeen);
  visit("last_seen", row.m_Card.m_LastSeen);
  visit("is_present", row.m_Card.m_IsPresent);
  visit("name", row.m_Card.m_Name);
  visit("product", row.m_Card.m_Product);
  visit("pci_address", row.m_Card.m_PciAddress);
  visit("slot", row.m_Card.m_Slot);
  visit("size_bytes", row.m_Card.m_SizeBytes);
  visit("logged_present", row.m_Logged.m_IsPresent);
  visit("logged_new", row.m_Logged.m_IsNew);
  visit("logged_object_id", row.m_Logged.m_ObjectID);
  visit("logged_name", row.m_Logged.m_Name);
  visit("logged_reasons", row.m_Logged.m_Reasons);
  visit("logged_formats", row.m_Logged.m_Drives);
}

// Formats each column with `pattern`, where "{0}" is its name, and joins them with commas.
std::string ColumnList(const char* pattern) {
  std::string list;
  const CardRow row;
  ForEachColumn(row, [&](const char* name, const auto&) {
    list += (list.empty() ? "" : ", ") + fmt::format(fmt::runtime(pattern), name);
  });
  return list;
}

CardRow RowOf(const Statement& statement) {
  CardRow row;
  int column = 0;
  ForEachColumn(row, [&](const char*, auto& value) { Read(statement, column++, value); });
  return row;
}

std::vector<Cell> CellsOf(const CardRow& row) {
  std::vector<Cell> cells;
  ForEachColumn(row, [&](const char*, const auto& value) { cells.push_back(CellOf(value)); });
  return cells;
}

void Write(Connection& connection, const CardRow& row) {
  static const std::string sql = fmt::format(
      "INSERT INTO host_known_cards ({}) VALUES ({}) ON CONFLICT (serial_number) DO UPDATE SET {}",
      ColumnList("{0}"), ColumnList("?"), ColumnList("{0} = excluded.{0}"));
  Statement statement = connection.Prepare(sql);
  for (const Cell& cell : CellsOf(row)) {
    std::visit([&statement](const auto& value) { statement.Bind(value); }, cell);
  }
  statement.Step();
}

}  // namespace

CardRows ReadCardRows(Connection& connection) {
  Statement statement =
      connection.Prepare(fmt::format("SELECT {} FROM host_known_cards", ColumnList("{0}")));
  CardRows rows;
  while (statement.Step()) {
    CardRow row = RowOf(statement);
    const std::string serial = row.m_Card.m_SerialNumber;
    rows.emplace(serial, std::move(row));
  }
  return rows;
}

void WriteCardRows(Connection& connection, const CardRows& stored, const CardRows& rows) {
  for (const auto& [serial, row] : rows) {
    const auto found = stored.find(serial);
    if (found == stored.end() || CellsOf(found->second) != CellsOf(row)) Write(connection, row);
  }
}

std::optional<std::int64_t> FindPosition(Connection& connection, const std::string& serial) {
  Statement statement =
      connection.Prepare("SELECT position FROM host_known_cards WHERE serial_number = ?");
  if (!statement.Bind(serial).Step()) return std::nullopt;
  return statement.Integer(0);
}

}  // namespace Service
