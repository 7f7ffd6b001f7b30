// A session that reads a snapshot and never waits for a card.
#pragma once

#include "console/plugin/Session.h"
#include "service/Snapshot.h"

namespace Service {

// Throws `Console::Failure` if the plug-in has not reported anything yet.
void RequireReport(const Snapshot& snapshot);

// Reads return values from the snapshot. Changes, and checks of operations, fail with
// `PI::ERR_COMMAND_ERROR`. The list of events is empty.
class SnapshotSession : public Console::Session {
 public:
  // Throws like `RequireReport`.
  explicit SnapshotSession(SnapshotPtr snapshot);

  Console::PluginInfo Info() const override { return m_Snapshot->m_Info; }
  bool IsShared() const override { return true; }
  bool IsUp() const override { return m_Snapshot->m_Plugin.m_IsUp; }
  bool HasCards() const override { return m_Snapshot->m_HasCards; }
  std::size_t FailedThreads() const override { return m_Snapshot->m_Plugin.m_FailedThreads; }
  std::chrono::duration<double> StartDuration() const override {
    return m_Snapshot->m_Plugin.m_StartDuration;
  }
  void SetDeadline(const Console::Deadline&) override {}
  std::vector<PI::CObject> Topology() override { return ObjectsWithActivities(*m_Snapshot); }
  const Console::CardTimes& Times() const override { return m_Snapshot->m_Times; }
  Console::CardRecords Cards() const override { return m_Snapshot->m_Cards; }
  std::vector<PI::CProperty> Properties(std::uint64_t object) override;
  std::vector<PI::CProperty> Property(std::uint64_t object, std::uint32_t property) override;
  std::uint32_t SetProperty(std::uint64_t object, PI::CProperty& property) override;
  std::vector<PI::COperation> Operations(std::uint64_t object) override;
  std::uint32_t CheckOperation(std::uint64_t object, PI::COperation& operation) override;
  std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) override;
  std::vector<HostKit::LoggedEvent> CollectEvents() override { return {}; }
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds timeout,
                           const Console::WaitSet& extra) override;

 private:
  const PI::CObject& Require(const char* what, std::uint64_t object) const;

  const SnapshotPtr m_Snapshot;
};

}  // namespace Service
