// The API of the service in states that are hard to produce with the service itself.
//
// Usage: api_states STATE SOCKET PROGRAM PLUGIN
//   STATE    denied      no user has any permission
//            busy        all threads for calls and the queue for the database are full
//            starting    like busy, before the first report of the plug-in
//            timeouts    the plug-in is suspended, the database is in use, and the time limits are
//                        short
//            failing     the handler of GET /v1/jobs throws an exception
//   PROGRAM  the program with the command `plugin-process`
// Exits when standard input ends.
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "console/commands/All.h"
#include "console/plugin/Simulation.h"
#include "service/api/ApiTable.h"
#include "service/api/SessionJobs.h"
#include "service/http/Listen.h"
#include "service/http/Server.h"

namespace {

using std::chrono::milliseconds;

// Long enough for the slowest machine.
constexpr std::chrono::minutes kTimeout(2);

class ApiInState {
 public:
  ApiInState(const std::string& state, const std::string& socket, const std::string& program,
             const std::string& plugin)
      : m_State(state), m_Collector(SettingsOf(program, plugin), m_Store) {
    const Service::SnapshotPtr snapshot = AwaitCards();
    if (state == "busy" || state == "starting") FillQueues();
    if (state == "timeouts") {
      m_Suspended = snapshot->m_Plugin.m_Process;
      m_Api.m_CallTimeout = m_Api.m_RefreshTimeout = milliseconds(20);
      m_Api.m_DatabaseTimeout = milliseconds(20);
      OccupyDatabase();
      if (m_Suspended <= 1) throw std::runtime_error("the plug-in process is unknown");
      kill(m_Suspended, SIGSTOP);
    }
    std::vector<Http::Route> routes = Service::ApiRoutes(m_Api);
    if (state == "failing") MakeFail(routes);
    Http::Settings settings;
    settings.m_Permissions.m_Users = {};
    if (state != "denied") settings.m_Permissions.m_Users.push_back(geteuid());
    std::vector<Base::Descriptor> listeners;
    listeners.push_back(Http::ListenUnix(socket, 0600, std::nullopt));
    m_Server.emplace(std::move(routes), settings, std::move(listeners));
  }

  ~ApiInState() {
    m_End.set_value();
    if (m_Suspended > 1) kill(m_Suspended, SIGCONT);
    m_Collector.RequestStop();
    m_Server.reset();
    m_Collector.Stop();
    m_StateThread.Stop();
  }
  ApiInState(const ApiInState&) = delete;
  ApiInState& operator=(const ApiInState&) = delete;

 private:
  // A plug-in that does not respond is not replaced.
  static Service::CollectorSettings SettingsOf(const std::string& program,
                                               const std::string& plugin) {
    Service::CollectorSettings settings;
    settings.m_Program = program;
    settings.m_PluginFiles = {plugin, Console::SimulatedCardLibrary()};
    settings.m_CallTimeout = kTimeout;
    return settings;
  }

  Service::SnapshotPtr AwaitCards() const {
    const Console::Deadline deadline(kTimeout);
    Service::SnapshotPtr snapshot = m_Store.Get();
    while (!snapshot->m_Plugin.m_IsUp && !deadline.HasPassed()) {
      snapshot = m_Store.AwaitNewer(snapshot->m_Number, deadline);
    }
    if (!snapshot->m_Plugin.m_IsUp) throw std::runtime_error("the plug-in has not started");
    return snapshot;
  }

  // Lets the database thread run a function until the end, and waits until it is no longer queued.
  void OccupyDatabase() {
    std::promise<void> begun;
    const auto begin = [ended = m_Ended, &begun](Service::StateStore&) {
      begun.set_value();
      return ended.wait(), true;
    };
    m_StateThread.QueueRead(begin, [](const auto&) {});
    begun.get_future().wait();
  }

  void FillQueues() {
    const auto wait = [ended = m_Ended] { ended.wait(); };
    while (m_Threads.Run(wait)) continue;
    const auto read = [wait](Service::StateStore&) { return wait(), true; };
    OccupyDatabase();
    while (m_StateThread.QueueRead(read, [](const auto&) {})) continue;
  }

  static void MakeFail(std::vector<Http::Route>& routes) {
    for (Http::Route& route : routes) {
      if (route.m_Method != Http::Method::Get || route.m_Path != "/v1/jobs") continue;
      route.m_Handler = [](const Http::Request&) -> Http::Reply {
        throw std::runtime_error("a failure");
      };
    }
  }

  const Console::Simulation m_Simulation{"", {}};  // before any thread starts
  const std::string m_State;
  std::promise<void> m_End;
  const std::shared_future<void> m_Ended = m_End.get_future().share();
  pid_t m_Suspended = -1;
  const Console::ResultStream m_Stream{true};
  Service::SnapshotStore m_Store;
  Service::SnapshotStore m_NoReport;  // of a plug-in that is starting
  Service::EventFeed m_Feed{m_Store};
  Service::EventSummary m_Summary;
  Service::StateThread m_StateThread{[](const std::string&) {}};
  Service::Collector m_Collector;
  Service::JobTable m_Jobs;
  Service::SessionJobs m_SessionJobs{m_Jobs};
  Service::ReplayCache m_Replays;
  Service::MetricsCache m_Metrics;
  Service::CallThreads m_Threads;
  Service::ApiContext m_Api{Console::AllCommands(),
                            m_Stream,
                            m_State == "starting" ? m_NoReport : m_Store,
                            m_Collector,
                            m_Feed,
                            m_Summary,
                            m_Jobs,
                            m_SessionJobs,
                            m_Replays,
                            m_Threads,
                            m_StateThread,
                            m_Metrics};
  std::optional<Http::Server> m_Server;
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 5) return 2;
  try {
    const ApiInState api(arguments[1], arguments[2], arguments[3], arguments[4]);
    while (std::cin.get() != std::char_traits<char>::eof()) continue;
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "api_states: " << error.what() << "\n";
    return 1;
  }
}
