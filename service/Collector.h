// The thread that runs the plug-in process: it restarts the process when it has exited, logs the
// plug-in's events, and publishes snapshots of the cards.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "console/base/Notifier.h"
#include "console/base/Output.h"
#include "console/plugin/LocateLedReader.h"
#include "console/plugin/PluginFiles.h"
#include "hostkit/EventLog.h"
#include "service/LocateLeds.h"
#include "service/ProgressWatch.h"
#include "service/Snapshot.h"
#include "service/WorkerSession.h"
#include "service/state/Observation.h"

namespace Service {

struct CollectorSettings {
  std::filesystem::path m_Program;  // has the command `plugin-process`
  Console::PluginFiles m_PluginFiles;
  std::chrono::milliseconds m_RefreshInterval{10000};
  // A plug-in process that does not respond within this time is killed and restarted.
  std::chrono::milliseconds m_CallTimeout{30000};
  // Delay before the first restart. Doubles with each restart, up to `m_MaxBackoff`.
  std::chrono::milliseconds m_InitialBackoff{1000};
  std::chrono::milliseconds m_MaxBackoff{60000};
  // Called on the collector's thread after each snapshot of a running plug-in, if set. Must not
  // block. Returns false if it did not accept the observation, which is then dropped.
  std::function<bool(const Observation&)> m_OnObservation;
  // The clock that `Collector::IsStuck` uses.
  std::function<ProgressWatch::Clock::time_point()> m_Now = &ProgressWatch::Clock::now;
  // Called with the plug-in's events after an attempt to log them. Also called, possibly without
  // events, once events that could not be logged earlier have been logged. Called on the
  // collector's thread, if set; must not block for long or throw.
  std::function<void(const std::vector<HostKit::LoggedEvent>&)> m_OnEvents = nullptr;
  // Called with each snapshot before it is published, on the collector's thread, if set. Must not
  // block.
  std::function<void(const Snapshot&)> m_BeforePublish = nullptr;
  // Whether a job is running, so that the plug-in process must not be restarted for a card that
  // responds again. Called on the collector's thread, if set. Must not block.
  std::function<bool()> m_HasRunningJobs = nullptr;
  // Called with a message for the administrator, on the collector's thread, if set.
  std::function<void(const std::string&)> m_OnWarning = nullptr;
};

// How a call to the plug-in ended.
struct CallEnd {
  pid_t m_Process = -1;      // the process that was called; -1: none was running
  bool m_HasExited = false;  // this process exited before it replied
};

class Collector {
 public:
  // Starts the thread. The store must outlive the collector.
  Collector(CollectorSettings settings, SnapshotStore& store);
  ~Collector();
  Collector(const Collector&) = delete;
  Collector& operator=(const Collector&) = delete;

  // Stops the plug-in and the thread; this can take 30 seconds or more if a card hangs. Afterwards
  // `Call` returns empty. Call only from the thread that created the collector.
  void Stop() HOST_BLOCKS;
  // Begins to stop, without waiting for the thread. Disconnects the plug-in process if a format is
  // running, because a format has no time limit. Thread-safe.
  void RequestStop();
  // Whether the thread is stuck; waiting for a format does not count. Thread-safe.
  bool IsStuck() const;
  // Makes the thread read the cards now. Thread-safe.
  void RequestRefresh() const { m_Wake.Notify(); }
  // Requests a refresh and waits for a snapshot that was read after this request. On a machine
  // without cards, the plug-in is restarted first, so that it searches for cards again. Returns
  // false at the deadline, or if no plug-in is running. Thread-safe.
  bool Refresh(const Console::Deadline& deadline) const HOST_BLOCKS;
  // Executes one command in the plug-in and waits for the reply. Returns empty if no plug-in is
  // running, the collector is stopping, or the plug-in process has exited or has not replied by the
  // deadline. If a process was called, sets `end` unless it is null. Thread-safe.
  std::optional<Console::PluginReply> Call(const Console::PluginCommand& command,
                                           const Console::Deadline& deadline,
                                           CallEnd* end = nullptr) const HOST_BLOCKS;
  // Like `Worker::ReadRows`. Also returns empty if no plug-in is running. Thread-safe.
  std::optional<nlohmann::json> ReadRows(const std::string& table,
                                         const Console::Deadline& deadline) const HOST_BLOCKS;
  // Number of threads that the running plug-in failed to start. Thread-safe.
  std::size_t FailedThreads() const;
  // Whether a plug-in is running, so that `Call` can succeed. Thread-safe.
  bool IsRunning() const { return RunningWorker() != nullptr; }

 private:
  void Run();
  bool RunPlugin();
  void AwaitCalls(const std::shared_ptr<Worker>& worker);
  void ForwardEvents(const std::vector<HostKit::LoggedEvent>& events, bool hadUnlogged) const;
  bool Follow(Worker& worker, WorkerSession& session);
  void Publish(WorkerSession& session, std::uint64_t refreshes);
  void ForwardObservation(const SnapshotPtr& snapshot, std::optional<std::int64_t> logPosition);
  void PublishDown(const std::string& reason);
  void BackOff();

  std::shared_ptr<Worker> RunningWorker() const;
  void RestoreLeds(WorkerSession& session);
  void RecordLed(const Snapshot& snapshot, const Console::PluginCommand& command,
                 const std::optional<Console::PluginReply>& reply) const;
  void PublishSnapshot(Snapshot snapshot);
  bool NeedsRestart(const WorkerSession& session, const Worker& worker) const;
  bool WillRun(const Snapshot& snapshot) const;
  std::shared_ptr<Worker> AwaitRunning(const Console::Deadline& deadline) const;
  void SetRunning(std::shared_ptr<Worker> worker);

  const CollectorSettings m_Settings;
  SnapshotStore& m_Store;
  Console::Notifier m_Wake;  // a refresh was requested, or the thread must stop
  mutable std::atomic<std::uint64_t> m_Refreshes{0};  // requested so far
  std::atomic<bool> m_IsStopping{false};
  ProgressWatch m_Progress{m_Settings.m_Now};
  mutable LocateLeds m_Leds;
  // Another program that switches an LED is noticed after this time.
  static constexpr std::chrono::minutes kMaxLedAge{1};
  mutable Console::LocateLedReader m_LedReader{kMaxLedAge};

  mutable Base::Mutex m_Lock;
  std::shared_ptr<Worker> m_pRunning HOST_GUARDED_BY(m_Lock);  // null: no plug-in is running

  // Used only by `m_Thread`.
  Console::Diagnostics m_Diagnostics{Console::Verbosity::All};
  Console::EventLogClient m_EventLog{m_Diagnostics};
  std::chrono::milliseconds m_NextBackoff;
  std::uint64_t m_Starts = 0;
  bool m_HasForwarded = false;  // an observation of this plug-in process was accepted

  std::thread m_Thread;
};

}  // namespace Service
