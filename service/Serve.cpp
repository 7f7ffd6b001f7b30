#include "service/Serve.h"

#include <fmt/format.h>
#include <grp.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/base/Failure.h"
#include "console/base/StopSignals.h"
#include "console/plugin/DatabaseLock.h"
#include "hostkit/Database.h"
#include "hostkit/Paths.h"
#include "service/Audit.h"
#include "service/EventAnnouncer.h"
#include "service/EventHooks.h"
#include "service/Heap.h"
#include "service/Log.h"
#include "service/ManagerReports.h"
#include "service/RecordsHealth.h"
#include "service/ReloadSignal.h"
#include "service/api/ApiTable.h"
#include "service/http/Server.h"
#include "service/state/StateThread.h"
#include "service/systemd/Notify.h"

namespace Service {
namespace {

using Console::Failure;

constexpr const char* kReadGroup = "corvane";
constexpr const char* kChangeGroup = "corvane-admin";

// Returns empty if the machine has no such group.
std::optional<gid_t> FindGroup(const char* name) {
  char buffer[16384];
  group entry = {};
  group* found = nullptr;
  if (getgrnam_r(name, &entry, buffer, sizeof buffer, &found) != 0 || found == nullptr) return {};
  return found->gr_gid;
}

// Returns the host name in lower case, or an empty string if it cannot be read.
std::string HostName() {
  char name[HOST_NAME_MAX + 1] = "";
  if (gethostname(name, sizeof name - 1) != 0) return {};
  std::string lower = name;
  for (char& each : lower) each = static_cast<char>(std::tolower(static_cast<unsigned char>(each)));
  return lower;
}

Http::Permissions LookUpPermissions() {
  Http::Permissions permissions;
  permissions.m_Users = {0, geteuid()};
  permissions.m_ReadGroup = FindGroup(kReadGroup);
  permissions.m_ChangeGroup = FindGroup(kChangeGroup);
  return permissions;
}

// Passes the trace options to the plug-in process, through its environment.
void PassTracing(const Console::Options& options) {
  if (options.m_Trace) setenv("CORVANE_TRACE", options.m_Trace->c_str(), 1);
  if (!options.m_TraceFile.empty()) setenv("CORVANE_TRACE_FILE", options.m_TraceFile.c_str(), 1);
}

CollectorSettings SettingsOf(const Console::Context& context, EventAnnouncer& announcer,
                             SessionJobs& jobs, const JobTable& table) {
  CollectorSettings settings;
  settings.m_OnEvents = [&announcer, &jobs](const std::vector<HostKit::LoggedEvent>& events) {
    jobs.OnEvents(events);
    announcer.Announce(events);
  };
  settings.m_BeforePublish = [&jobs](const Snapshot& snapshot) { jobs.OnSnapshot(snapshot); };
  settings.m_HasRunningJobs = [&table] { return table.HasRunning(); };
  settings.m_OnWarning = LogWarning;
  settings.m_Program = "/proc/self/exe";
  settings.m_PluginFiles = context.Plugin();
  settings.m_OnObservation = [&announcer](const Observation& observation) {
    return announcer.Record(observation);
  };
  return settings;
}

void ReportStateFailure(const std::string& cause) {
  LogWarning(
      fmt::format("cannot use the database {}: {}", HostKit::DatabaseFile().string(), cause));
}

// Returns null if no directory is given.
std::unique_ptr<EventHooks> CreateHooks(const SnapshotStore& store,
                                        const std::filesystem::path& directory) {
  return directory.empty() ? nullptr : std::make_unique<EventHooks>(store, directory, LogWarning);
}

// The parts of a running service. They are created in the order of the members and destroyed in
// reverse.
struct Running {
  Running(Console::Context& context, const Console::CommandTable& commands,
          std::vector<Base::Descriptor> listeners, const Http::Permissions& permissions,
          const std::filesystem::path& eventsDirectory)
      : m_Feed(m_Store),
        m_Hooks(CreateHooks(m_Store, eventsDirectory)),
        m_Announcer(
            m_State, m_Feed, m_Summary, m_Hooks.get(), LogEvent,
            [this](const Console::CardRecords& cards) { SetKnownCards(cards); },
            [this] { LoadKnownCards(); }),
        m_Collector(SettingsOf(context, m_Announcer, m_SessionJobs, m_Jobs), m_Store),
        m_Api{commands, context.Stream(), m_Store,   m_Collector, m_Feed,  m_Summary,
              m_Jobs,   m_SessionJobs,    m_Replays, m_Threads,   m_State, m_Metrics} {
    m_Api.m_pRecords = &m_Records;
    m_Api.m_IsSimulated = context.m_Options.m_Simulate.has_value();
    m_Summary.Update();
    m_Jobs.Restore();
    m_Replays.Restore();
    LoadKnownCards();
    Http::Settings settings;
    settings.m_Permissions = permissions;
    settings.m_OnFailure = LogWarning;
    if (const std::string name = HostName(); !name.empty()) settings.m_Hosts.push_back(name);
    m_Server.emplace(ApiRoutes(m_Api), settings, std::move(listeners));
  }

  // The stop is requested first, because stopping the plug-in ends the calls that clients wait for.
  // The state thread stops before the members that its queued tasks use are destroyed.
  ~Running() {
    m_Jobs.BeginStop();
    m_Collector.RequestStop();
    m_Server.reset();
    m_Collector.Stop();
    m_State.Stop();
  }

  // The plug-in takes longer to start than this read, so its first snapshot has the positions of
  // the known cards. Repeated after an observation that could not be stored, because the known
  // cards may still be readable.
  void LoadKnownCards() {
    m_State.QueueRead([](StateStore& store) { return store.Records(); },
                      [this](const StateOutcome<Console::CardRecords>& outcome) {
                        if (outcome.m_Result) SetKnownCards(*outcome.m_Result);
                        if (!outcome.m_Result) m_Records.Set(outcome.m_Failure);
                      });
  }

  void SetKnownCards(const Console::CardRecords& cards) {
    m_Records.Set("");
    m_Store.SetKnownCards(cards);
  }

  const HostKit::DatabaseThread m_Database;  // outlives all threads that use the database
  RecordsHealth m_Records;
  SnapshotStore m_Store;
  EventFeed m_Feed;
  const std::unique_ptr<EventHooks> m_Hooks;
  EventSummary m_Summary;
  EventAnnouncer m_Announcer;  // outlives the queued tasks of the state thread
  // Destroyed after the collector, so that its last observation is stored.
  StateThread m_State{ReportStateFailure};
  JobStore m_JobStore{ReportStateFailure};
  JobTable m_Jobs{
      [this](const BusyCards& cards) { m_Store.SetBusy(cards); },
      [this](const Job& job) { LogJobEnd(JobEndText(*m_Store.Get(), job), job.m_Serial); },
      &m_JobStore};
  SessionJobs m_SessionJobs{m_Jobs};  // used by the collector's thread
  Collector m_Collector;
  ReplayCache m_Replays{&ReplayCache::Clock::now, &m_JobStore};
  MetricsCache m_Metrics;
  ApiContext m_Api;
  CallThreads m_Threads;
  std::optional<Http::Server> m_Server;
};

// Looks up the groups again, because they may have been created since the last lookup.
void Reload(Running& running, const Listeners& listeners) {
  Systemd::NotifyReloading();
  const Http::Permissions permissions = LookUpPermissions();
  running.m_Server->SetPermissions(permissions);
  try {
    listeners.SetFileAccess(permissions);
  } catch (const Failure& failure) {
    LogWarning(failure.what());
  }
}

void RunUntilStop(Running& running, const Listeners& listeners, const ReloadSignal& reload,
                  const Console::Deadline& deadline) {
  const auto isStuck = [&running] { return running.m_Collector.IsStuck(); };
  ManagerReports reports(running.m_Store, {Systemd::Notify, isStuck, Systemd::WatchdogTimeout()});
  while (!deadline.HasPassed() && !Console::IsStopRequested()) {
    reports.Update();
    if (!reload.Wait(deadline.Remaining(reports.Interval()))) continue;
    Reload(running, listeners);
    reports.Reloaded();
  }
  reports.Stopping();
}

}  // namespace

void Serve(Console::Context& context, const Console::CommandTable& commands,
           const ServeSettings& settings) {
  ShareOneHeap();
  const Http::Permissions permissions = LookUpPermissions();
  Listeners listeners(settings.m_Listen, permissions);
  const ReloadSignal reload;
  context.PrepareForPlugin();
  PassTracing(context.m_Options);
  const Console::DatabaseLock databaseLock(listeners.UnixSocket());
  {
    Running running(context, commands, listeners.TakeSockets(), permissions,
                    settings.m_EventsDirectory);
    context.m_Diagnostics.Note("SERVING", fmt::format("serving at {}", listeners.Names()));
    RunUntilStop(running, listeners, reload, settings.m_Deadline);
    listeners.RemoveFile();
  }
  Console::ClearStopRequest();
}

}  // namespace Service
