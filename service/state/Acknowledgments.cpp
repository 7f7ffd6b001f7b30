#include "service/state/Acknowledgments.h"

#include <algorithm>
#include <limits>

#include "console/model/AcknowledgeableReasons.h"
#include "console/model/EffectiveState.h"
#include "service/state/CardRows.h"

namespace Service {
namespace {

using HostKit::Connection;
using HostKit::Statement;

// Caps the time, because SQLite's integers are signed.
std::int64_t TimeCell(std::uint64_t timeMs) {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
  return static_cast<std::int64_t>(std::min(timeMs, kLargest));
}

Acknowledgment AcknowledgmentOf(const Statement& row) {
  Acknowledgment acknowledgment;
  acknowledgment.m_SerialNumber = row.Text(0);
  acknowledgment.m_Reason = row.Text(1);
  acknowledgment.m_User = row.Text(2);
  acknowledgment.m_Time = static_cast<std::uint64_t>(row.Integer(3));
  if (const auto until = row.OptionalInteger(4)) {
    acknowledgment.m_Until = static_cast<std::uint64_t>(*until);
  }
  acknowledgment.m_Note = row.Text(5);
  return acknowledgment;
}

}  // namespace

bool IsAcknowledgeable(const std::string& reason) {
  const std::vector<std::string>& names = Console::AcknowledgeableReasons();
  return std::find(names.begin(), names.end(), reason) != names.end();
}

bool HidesRemoval(const std::string& reason, bool isPresent) {
  return isPresent && reason == Console::kMissing;
}

AcknowledgeResult WriteAcknowledgment(Connection& connection,
                                      const Acknowledgment& acknowledgment) {
  if (!IsAcknowledgeable(acknowledgment.m_Reason)) return AcknowledgeResult::UnknownReason;
  if (!FindPosition(connection, acknowledgment.m_SerialNumber)) {
    return AcknowledgeResult::UnknownCard;
  }
  std::optional<std::int64_t> until;
  if (acknowledgment.m_Until) until = TimeCell(*acknowledgment.m_Until);
  connection.Prepare("INSERT OR REPLACE INTO host_acknowledgments VALUES (?, ?, ?, ?, ?, ?)")
      .Bind(acknowledgment.m_SerialNumber)
      .Bind(acknowledgment.m_Reason)
      .Bind(acknowledgment.m_User)
      .Bind(TimeCell(acknowledgment.m_Time))
      .Bind(until)
      .Bind(acknowledgment.m_Note)
      .Step();
  return AcknowledgeResult::Done;
}

bool RemoveAcknowledgment(Connection& connection, const std::string& serial,
                          const std::string& reason, std::uint64_t nowMs) {
  Statement statement = connection.Prepare(
      "DELETE FROM host_acknowledgments WHERE serial_number = ? AND reason = ? RETURNING until");
  if (!statement.Bind(serial).Bind(reason).Step()) return false;
  const auto until = statement.OptionalInteger(0);
  return !until || *until > TimeCell(nowMs);
}

std::vector<Acknowledgment> ReadAcknowledgments(Connection& connection, std::uint64_t nowMs) {
  Statement statement = connection.Prepare(
      "SELECT * FROM host_acknowledgments WHERE until IS NULL OR until > ? "
      "ORDER BY serial_number, reason");
  statement.Bind(TimeCell(nowMs));
  std::vector<Acknowledgment> acknowledgments;
  while (statement.Step()) acknowledgments.push_back(AcknowledgmentOf(statement));
  return acknowledgments;
}

}  // namespace Service
