#include "service/state/CardRows.h"

#include <sstream>
#include <tuple>

namespace Service {
namespace {

using HostKit::Connection;
using HostKit::Statement;

constexpr const char* kColumns =
    "serial_number, position, first_seen, last_seen, is_present, name, product, pci_address, slot, "
    "size_bytes, logged_present, logged_new, logged_object_id, logged_name, logged_reasons, "
    "logged_formats";
// Excludes the column `hours`, which the history updates.
constexpr const char* kUpdates =
    "position = excluded.position, first_seen = excluded.first_seen, "
    "last_seen = excluded.last_seen, is_present = excluded.is_present, name = excluded.name, "
    "product = excluded.product, pci_address = excluded.pci_address, slot = excluded.slot, "
    "size_bytes = excluded.size_bytes, logged_present = excluded.logged_present, "
    "logged_new = excluded.logged_new, logged_object_id = excluded.logged_object_id, "
    "logged_name = excluded.logged_name, logged_reasons = excluded.logged_reasons, "
    "logged_formats = excluded.logged_formats";

// Formats numbers separated by blanks.
std::string TextOf(const std::set<std::uint32_t>& reasons) {
  std::string text;
  for (const std::uint32_t reason : reasons) {
    text += (text.empty() ? "" : " ") + std::to_string(reason);
  }
  return text;
}

std::set<std::uint32_t> ReasonsIn(const std::string& text) {
  std::istringstream stream(text);
  std::set<std::uint32_t> reasons;
  for (std::uint32_t reason = 0; stream >> reason;) reasons.insert(reason);
  return reasons;
}

std::string TextOf(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : "-";
}

// Formats the layouts of drives, such as "785000000000 512", separated by blanks; "-" is unknown.
std::string TextOf(const std::vector<DriveState>& drives) {
  std::string text;
  for (const DriveState& drive : drives) {
    text += (text.empty() ? "" : " ") + TextOf(drive.m_Format.m_SizeBytes) + " " +
            TextOf(drive.m_Format.m_SectorSizeBytes);
  }
  return text;
}

std::optional<std::int64_t> NumberIn(const std::string& word) {
  std::istringstream stream(word);
  std::int64_t number = 0;
  if (!(stream >> number)) return std::nullopt;
  return number;
}

std::vector<DriveState> DrivesIn(const std::string& text) {
  std::istringstream stream(text);
  std::vector<DriveState> drives;
  std::string size, sector;
  while (stream >> size >> sector) drives.push_back({0, "", {NumberIn(size), NumberIn(sector)}});
  return drives;
}

CardRow RowOf(const Statement& statement) {
  CardRow row;
  KnownCard& card = row.m_Card;
  card.m_SerialNumber = statement.Text(0);
  card.m_Position = statement.Integer(1);
  card.m_FirstSeen = static_cast<std::uint64_t>(statement.Integer(2));
  card.m_LastSeen = static_cast<std::uint64_t>(statement.Integer(3));
  card.m_IsPresent = statement.Integer(4) != 0;
  card.m_Name = statement.Text(5);
  card.m_Product = statement.Text(6);
  card.m_PciAddress = statement.Text(7);
  card.m_Slot = statement.OptionalInteger(8);
  card.m_SizeBytes = statement.OptionalInteger(9);
  row.m_Logged.m_IsPresent = statement.Integer(10) != 0;
  row.m_Logged.m_IsNew = statement.Integer(11) != 0;
  row.m_Logged.m_ObjectID = static_cast<std::uint64_t>(statement.Integer(12));
  row.m_Logged.m_Name = statement.Text(13);
  row.m_Logged.m_Reasons = ReasonsIn(statement.Text(14));
  row.m_Logged.m_Drives = DrivesIn(statement.Text(15));
  return row;
}

void Write(Connection& connection, const CardRow& row) {
  Statement statement =
      connection.Prepare(std::string("INSERT INTO host_known_cards (") + kColumns +
                         ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) "
                         "ON CONFLICT (serial_number) DO UPDATE SET " +
                         kUpdates);
  const KnownCard& card = row.m_Card;
  const CardState& logged = row.m_Logged;
  statement.Bind(card.m_SerialNumber).Bind(card.m_Position);
  statement.Bind(static_cast<std::int64_t>(card.m_FirstSeen));
  statement.Bind(static_cast<std::int64_t>(card.m_LastSeen)).Bind(std::int64_t{card.m_IsPresent});
  statement.Bind(card.m_Name).Bind(card.m_Product).Bind(card.m_PciAddress);
  statement.Bind(card.m_Slot).Bind(card.m_SizeBytes);
  statement.Bind(std::int64_t{logged.m_IsPresent}).Bind(std::int64_t{logged.m_IsNew});
  statement.Bind(static_cast<std::int64_t>(logged.m_ObjectID)).Bind(logged.m_Name);
  statement.Bind(TextOf(logged.m_Reasons)).Bind(TextOf(logged.m_Drives)).Step();
}

auto Cells(const CardRow& row) {
  const KnownCard& card = row.m_Card;
  const CardState& logged = row.m_Logged;
  return std::make_tuple(card.m_Position, card.m_FirstSeen, card.m_LastSeen, card.m_IsPresent,
                         card.m_Name, card.m_Product, card.m_PciAddress, card.m_Slot,
                         card.m_SizeBytes, logged.m_IsPresent, logged.m_IsNew, logged.m_ObjectID,
                         logged.m_Name, logged.m_Reasons, TextOf(logged.m_Drives));
}

}  // namespace

CardRows ReadCardRows(Connection& connection) {
  Statement statement =
      connection.Prepare(std::string("SELECT ") + kColumns + " FROM host_known_cards");
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
    if (found == stored.end() || Cells(found->second) != Cells(row)) Write(connection, row);
  }
}

std::optional<std::int64_t> FindPosition(Connection& connection, const std::string& serial) {
  Statement statement =
      connection.Prepare("SELECT position FROM host_known_cards WHERE serial_number = ?");
  if (!statement.Bind(serial).Step()) return std::nullopt;
  return statement.Integer(0);
}

}  // namespace Service
