#include "service/SnapshotSession.h"

#include <algorithm>
#include <utility>

#include "console/base/Failure.h"

namespace Service {

SnapshotSession::SnapshotSession(SnapshotPtr snapshot) : m_Snapshot(std::move(snapshot)) {
  RequireReport(*m_Snapshot);
}

void RequireReport(const Snapshot& snapshot) {
  if (!snapshot.m_Info.m_File.empty()) return;
  const std::string& reason = snapshot.m_Plugin.m_Reason;
  throw Console::Failure(Console::ExitCode::PluginUnusable, "PLUGIN_DOWN",
                         "the plug-in has not started", reason.empty() ? "starting" : reason);
}

// An unknown object is the plug-in's error, whoever answers.
const PI::CObject& SnapshotSession::Require(const char* what, std::uint64_t object) const {
  const auto& objects = m_Snapshot->m_Objects;
  const auto found = std::find_if(objects.begin(), objects.end(),
                                  [object](const auto& each) { return each.m_ID == object; });
  if (found == objects.end()) throw Console::PluginFailure(what, PI::ERR_GENERAL);
  return *found;
}

std::vector<PI::CProperty> SnapshotSession::Properties(std::uint64_t object) {
  return Require("cannot read properties", object).m_Properties;
}

std::vector<PI::CProperty> SnapshotSession::Property(std::uint64_t object, std::uint32_t property) {
  std::vector<PI::CProperty> found;
  for (const PI::CProperty& each : Require("cannot read a property", object).m_Properties) {
    if (each.m_PropertyID == property && found.empty()) found.push_back(each);
  }
  return found;
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
