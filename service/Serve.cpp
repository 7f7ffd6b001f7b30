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
#include "hostkit/Paths.h"
#include "service/EventHooks.h"
#include "service/Log.h"
#include "service/ManagerReports.h"
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

// Returns the host name in lower case, or empty text if it cannot be read.
std::string HostName() {
  char name[HOST_NAME_MAX + 1] = "";
  if (gethostname(name, sizeof name - 1) != 0) return {};
  std::string lower = name;
  for (char& each : lower) each = static_cast<char>(std::tolower(static_cast<unsigned char>(each)));
  return lower;
}

Http::Permissions PermissionsHere() {
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

// Call on the state thread.
void Announce(const std::vector<HostKit::LoggedEvent>& events, EventHooks* hooks) {
  for (const HostKit::LoggedEvent& event : events) LogEvent(event);
  if (hooks != nullptr && !events.empty()) hooks->OnEvents();
}

// Records the observation and announces the events that this adds to the log because no plug-in
// reported them. The state thread reports failures.
bool Record(StateThread& state, EventHooks* hooks, const Observation& observation) {
  return state.Change([observation](StateStore& store) { return store.Record(observation); },
                      [hooks](const auto& outcome) {
                        if (outcome.m_Result) Announce(*outcome.m_Result, hooks);
                      });
}

CollectorSettings SettingsOf(const Console::Context& context, StateThread& state,
                             EventHooks* hooks) {
  CollectorSettings settings;
  settings.m_OnEvents = [&state, hooks](const std::vector<HostKit::LoggedEvent>& events) {
    state.Read([](StateStore&) { return true; },
               [hooks, events](const auto&) { Announce(events, hooks); });
  };
  settings.m_Program = "/proc/self/exe";
  settings.m_PluginFile = context.PluginFile();
  settings.m_OnObservation = [&state, hooks](const Observation& observation) {
    return Record(state, hooks, observation);
  };
  return settings;
}

void ReportState(const std::string& cause) {
  LogWarning(
      fmt::format("cannot use the database {}: {}", HostKit::DatabaseFile().string(), cause));
}

// Returns null if no directory is given.
std::unique_ptr<EventHooks> MakeHooks(const SnapshotStore& store,
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
        m_Hooks(MakeHooks(m_Store, eventsDirectory)),
        m_Collector(SettingsOf(context, m_State, m_Hooks.get()), m_Store),
        m_Api{commands, context.Stream(), m_Store,   m_Collector, m_Feed,
              m_Jobs,   m_Replays,        m_Threads, m_State} {
    Http::Settings settings;
    settings.m_Permissions = permissions;
    settings.m_OnFailure = LogWarning;
    if (const std::string name = HostName(); !name.empty()) settings.m_Hosts.push_back(name);
    m_Server.emplace(ApiRoutes(m_Api), settings, std::move(listeners));
  }

  // Disconnects the clients first, and then stops the plug-in, which ends pending calls.
  ~Running() {
    m_Server.reset();
    m_Collector.Stop();
  }

  SnapshotStore m_Store;
  EventFeed m_Feed;
  const std::unique_ptr<EventHooks> m_Hooks;
  // Destroyed after the collector, so that its last observation is stored.
  StateThread m_State{ReportState};
  Collector m_Collector;
  JobTable m_Jobs;
  ReplayCache m_Replays;
  ApiContext m_Api;
  CallThreads m_Threads;
  std::optional<Http::Server> m_Server;
};

// Looks up the groups again, because they may have been created since.
void Reload(Running& running, const Listeners& listeners) {
  Systemd::NotifyReloading();
  const Http::Permissions permissions = PermissionsHere();
  running.m_Server->SetPermissions(permissions);
  try {
    listeners.ShareFile(permissions);
  } catch (const Failure& failure) {
    LogWarning(failure.what());
  }
}

void RunUntilStop(Running& running, const Listeners& listeners, const ReloadSignal& reload,
                  const Console::Deadline& deadline) {
  ManagerReports reports(running.m_Store, running.m_Collector.Progress(),
                         {Systemd::Notify, Systemd::WatchdogTime()});
  while (!deadline.IsOver() && !Console::IsStopRequested()) {
    reports.Update();
    if (!reload.Wait(deadline.Left(reports.Interval()))) continue;
    Reload(running, listeners);
    reports.Reloaded();
  }
  reports.Stopping();
}

}  // namespace

void Serve(Console::Context& context, const Console::CommandTable& commands,
           const ServeSettings& settings) {
  const Http::Permissions permissions = PermissionsHere();
  Listeners listeners(settings.m_Listen, permissions);
  const ReloadSignal reload;
  context.PrepareForPlugin();
  PassTracing(context.m_Options);
  const Console::DatabaseLock databaseLock(settings.m_Listen.m_Socket);
  {
    Running running(context, commands, listeners.Take(), permissions, settings.m_EventsDirectory);
    context.m_Diagnostics.Note("SERVING", fmt::format("serving at {}", listeners.Names()));
    RunUntilStop(running, listeners, reload, settings.m_Deadline);
    listeners.RemoveFile();
  }
  Console::ClearStopRequest();
}

}  // namespace Service
