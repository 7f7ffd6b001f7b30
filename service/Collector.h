// The one thread of the service that calls the plug-in: it restarts the plug-in's process when it
// has ended, logs its events, and publishes what it reports.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "console/base/Notifier.h"
#include "console/base/Output.h"
#include "hostkit/EventLog.h"
#include "service/ProgressWatch.h"
#include "service/Snapshot.h"
#include "service/WorkerSession.h"
#include "service/state/Observation.h"

namespace Service {

struct CollectorSettings {
  std::filesystem::path m_Program;  // that has the command `plugin-process`
  std::filesystem::path m_PluginFile;
  std::chrono::milliseconds m_RefreshInterval{10000};
  // A plug-in that has not answered after this time is replaced.
  std::chrono::milliseconds m_CallTimeout{30000};
  // The pause before the first new start; it doubles up to the longest one.
  std::chrono::milliseconds m_FirstPause{1000};
  std::chrono::milliseconds m_LongestPause{60000};
  // Called by the collector's thread after each snapshot of a running plug-in, if it is not empty.
  // Must not wait. False: it did not take the observation; the next one replaces it.
  std::function<bool(const Observation&)> m_OnObservation;
  // The clock of `Collector::Progress`.
  std::function<ProgressWatch::Clock::time_point()> m_Now = &ProgressWatch::Clock::now;
  // Receives the events that the plug-in has reported, after they were logged. Called by the
  // collector's thread; must not wait for long or throw.
  std::function<void(const std::vector<HostKit::LoggedEvent>&)> m_OnEvents = nullptr;
};

class Collector {
 public:
  // Starts the thread. The store must outlive the collector.
  Collector(CollectorSettings settings, SnapshotStore& store);
  ~Collector();
  Collector(const Collector&) = delete;
  Collector& operator=(const Collector&) = delete;

  // Stops the plug-in and the thread, which takes half a minute or more if a card hangs. From then
  // on `Call` returns empty. For the thread that made the collector.
  void Stop();
  // Whether the thread is stuck. From any thread.
  const ProgressWatch& Progress() const { return m_Progress; }
  // Makes the thread read the cards now. From any thread.
  void RequestRefresh() const { m_Wake.Notify(); }
  // Requests a refresh and waits for a snapshot read after this call began. False if there is none
  // by the deadline, or no plug-in is running. From any thread.
  bool Refresh(const Console::Deadline& deadline) const;
  // Carries out one command in the plug-in, on the calling thread; any thread may call it. Empty if
  // no plug-in is running, or it has not answered by the deadline.
  std::optional<Console::PluginReply> Call(const Console::PluginCommand& command,
                                           const Console::Deadline& deadline) const;
  // How many threads the running plug-in could not start. From any thread.
  std::size_t LostThreads() const;
  // Whether a plug-in is running, so that `Call` can succeed. From any thread.
  bool IsRunning() const { return Running() != nullptr; }

 private:
  void Run();
  void RunPlugin();
  void Release(Worker& worker);
  void Follow(Worker& worker, WorkerSession& session);
  void Publish(WorkerSession& session, std::uint64_t refreshes);
  void PassOn(const SnapshotPtr& snapshot, std::optional<std::int64_t> logPosition);
  void PublishDown(const std::string& reason);
  void Pause();

  std::shared_ptr<Worker> Running() const;
  void SetRunning(std::shared_ptr<Worker> worker);

  const CollectorSettings m_Settings;
  SnapshotStore& m_Store;
  Console::Notifier m_Wake;  // a refresh was requested, or the thread has to stop
  mutable std::atomic<std::uint64_t> m_Refreshes{0};  // requested so far
  std::atomic<bool> m_IsStopping{false};
  ProgressWatch m_Progress{m_Settings.m_Now};

  mutable Base::Mutex m_Lock;
  std::shared_ptr<Worker> m_pRunning HOST_GUARDED_BY(m_Lock);  // null: no plug-in is running

  // Used only by `m_Thread`.
  Console::Diagnostics m_Diagnostics{Console::Verbosity::All};
  Console::EventLogClient m_EventLog{m_Diagnostics};
  std::chrono::milliseconds m_NextPause;
  std::uint64_t m_Starts = 0;
  bool m_HasPassedOn = false;  // an observation of this plug-in process

  std::thread m_Thread;
};

}  // namespace Service
