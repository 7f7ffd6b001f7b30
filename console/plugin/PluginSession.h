// A session with a plug-in that is loaded into this process.
#pragma once

#include <functional>
#include <memory>

#include "console/base/CallWithTimeout.h"
#include "console/base/Deadline.h"
#include "console/base/Notifier.h"
#include "console/plugin/EventHistory.h"
#include "console/plugin/PluginLibrary.h"
#include "console/plugin/Session.h"
#include "console/plugin/TimeLimits.h"
#include "hostkit/FailedThreads.h"

namespace Console {

// Calls are abandoned when the plug-in does not answer in time. A signal also ends reads, but not
// changes of a card.
class PluginSession : public Session {
 public:
  // Brings the plug-in up, which takes more than a second. Throws `Failure`; finding no card
  // is not a failure. The history and the diagnostics must outlive it.
  PluginSession(const std::filesystem::path& file, EventHistory& eventHistory,
                Diagnostics& diagnostics, const TimeLimits& limits);
  // Collects the pending events for the log, then stops and unloads the plug-in; waits up to 25
  // seconds for its running jobs. A plug-in that does not stop is abandoned with a note.
  ~PluginSession() override;

  PluginInfo Info() const override { return m_Info; }
  bool HasCards() const override { return m_HasCards; }
  std::size_t LostThreads() const override { return HostKit::FailedThreads() - m_FailedBefore; }
  std::chrono::duration<double> StartDuration() const override { return m_StartDuration; }
  void SetDeadline(const Deadline& deadline) override { m_Limits.m_Total = deadline; }
  std::vector<PI::CObject> Topology() override;
  std::vector<PI::CProperty> Properties(std::uint64_t object) override;
  std::vector<PI::CProperty> Property(std::uint64_t object, std::uint32_t property) override;
  std::uint32_t SetProperty(std::uint64_t object, PI::CProperty& property) override;
  std::vector<PI::COperation> Operations(std::uint64_t object) override;
  std::uint32_t CheckOperation(std::uint64_t object, PI::COperation& operation) override;
  std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) override;
  std::vector<LoggedEvent> CollectEvents() override;
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds atMost, const WaitSet& also) override;

 private:
  // What the plug-in's threads use. In order of life: the instance is destroyed before its
  // library, the notifier after both.
  struct Loaded {
    explicit Loaded(const std::filesystem::path& file) : m_Library(file), m_Plugin(m_Library) {}

    Notifier m_Notifier;
    PluginLibrary m_Library;
    PluginInstance m_Plugin;
  };

  void Load(const std::filesystem::path& file);
  void Start();
  void Stop();
  static bool CallWhenThreadsAreFree(const std::function<std::uint32_t()>& call,
                                     const Deadline& deadline);
  void CollectPendingEvents() noexcept;
  template <class Payload>
  std::uint32_t Read(PI::_COMMAND command, std::uint64_t object, Payload& payload);
  template <class Payload>
  Payload Require(const char* what, PI::_COMMAND command, std::uint64_t object,
                  Payload payload = {});
  template <class Payload>
  std::uint32_t Change(PI::_COMMAND command, std::uint64_t object, Payload& payload,
                       const Deadline& deadline);
  template <class Payload>
  std::optional<std::uint32_t> Call(PI::_COMMAND command, std::uint64_t object, Payload& payload,
                                    const Deadline& deadline, OnStop onStop);
  [[noreturn]] void Abandon();
  [[noreturn]] void AbandonChange();

  std::unique_ptr<Loaded> m_pLoaded;  // null: abandoned, and never unloaded
  PluginInfo m_Info;
  EventHistory& m_EventHistory;
  Diagnostics& m_Diagnostics;
  TimeLimits m_Limits;
  const std::size_t m_FailedBefore = HostKit::FailedThreads();
  bool m_HasChanged = false;     // a job of the plug-in may be running
  std::uint64_t m_PluginID = 0;  // 0: not known yet
  bool m_HasCards = false;
  std::chrono::duration<double> m_StartDuration{0};
};

}  // namespace Console
