#include "service/api/SnapshotSession.h"

#include <utility>

#include "console/base/Failure.h"

namespace Service {

SnapshotSession::SnapshotSession(SnapshotPtr snapshot) : m_Snapshot(std::move(snapshot)) {
  RequireReport(*m_Snapshot);
}

void RequireReport(const Snapshot& snapshot) {
  if (snapshot.HasReport()) return;
  throw Console::Failure(Console::ExitCode::PluginUnusable, "PLUGIN_DOWN",
                         snapshot.m_Plugin.DownReason());
}

// Reports an unknown object with the same error as the plug-in.
const PI::CObject& SnapshotSession::Require(const char* what, std::uint64_t object) const {
  const PI::CObject* const found = m_Snapshot->Find(object);
  if (found == nullptr) throw Console::PluginFailure(what, PI::ERR_GENERAL);
  return *found;
}

std::vector<PI::CProperty> SnapshotSession::Properties(std::uint64_t object) {
  return Require("cannot read properties", object).m_Properties;
}

std::vector<PI::CProperty> SnapshotSession::Property(std::uint64_t object, std::uint32_t property) {
  const auto* const found = FindProperty(Require("cannot read a property", object), property);
  if (found == nullptr) return {};
  return {*found};
}

std::vector<PI::COperation> SnapshotSession::Operations(std::uint64_t object) {
  return Require("cannot read operations", object).m_Operations;
}

std::uint32_t SnapshotSession::SetProperty(std::uint64_t, PI::CProperty&) {
  return PI::ERR_COMMAND_ERROR;
}

std::uint32_t SnapshotSession::CheckOperation(std::uint64_t, PI::COperation&) {
  return PI::ERR_COMMAND_ERROR;
}

std::uint32_t SnapshotSession::ExecuteOperation(std::uint64_t, PI::COperation&) {
  return PI::ERR_COMMAND_ERROR;
}

bool SnapshotSession::WaitForNotification(std::chrono::milliseconds, const Console::WaitSet&) {
  return false;
}

}  // namespace Service
