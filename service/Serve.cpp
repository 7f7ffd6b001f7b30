#include "service/Serve.h"

#include <fmt/format.h>
#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "base/Printable.h"
#include "console/base/Failure.h"
#include "console/base/StopSignals.h"
#include "hostkit/Paths.h"
#include "service/api/ApiTable.h"
#include "service/http/Listen.h"
#include "service/http/Server.h"
#include "service/state/StateThread.h"

namespace Service {
namespace {

using Console::ExitCode;
using Console::Failure;

constexpr const char* kReadGroup = "corvane";
constexpr const char* kChangeGroup = "corvane-admin";

// Empty if the machine has no such group.
std::optional<gid_t> FindGroup(const char* name) {
  char buffer[16384];
  group entry = {};
  group* found = nullptr;
  if (getgrnam_r(name, &entry, buffer, sizeof buffer, &found) != 0 || found == nullptr) return {};
  return found->gr_gid;
}

Http::Permissions PermissionsHere() {
  Http::Permissions permissions;
  permissions.m_Users = {0, geteuid()};
  permissions.m_ReadGroup = FindGroup(kReadGroup);
  permissions.m_ChangeGroup = FindGroup(kChangeGroup);
  return permissions;
}

std::vector<std::string> AdviceFor(int error) {
  if (error == EADDRINUSE) return {"Another service uses it; pass another one with --socket."};
  return {"Pass another one with --socket."};
}

// Every user may enter a new folder: the socket has its own permissions.
void CreateFolder(const std::filesystem::path& folder) {
  if (!std::filesystem::create_directories(folder)) return;
  std::filesystem::permissions(folder, static_cast<std::filesystem::perms>(0755));
}

// Only root can give the socket to a group.
Base::Descriptor Listen(const std::filesystem::path& socket, const Http::Permissions& permissions) {
  const auto group = geteuid() == 0 ? permissions.m_ReadGroup : std::nullopt;
  try {
    CreateFolder(socket.parent_path());
    return Http::ListenUnix(socket, group ? 0660 : 0600, group);
  } catch (const std::system_error& error) {
    const int number = error.code().value();
    throw Failure(number == EACCES || number == EPERM ? ExitCode::Permission : ExitCode::Failed,
                  "SOCKET_UNUSABLE", fmt::format("cannot listen at {}", socket.string()),
                  std::strerror(number), AdviceFor(number));
  }
}

// The plug-in traces in its own process.
void PassTracing(const Console::Options& options) {
  if (options.m_Trace) setenv("CORVANE_TRACE", options.m_Trace->c_str(), 1);
  if (!options.m_TraceFile.empty()) setenv("CORVANE_TRACE_FILE", options.m_TraceFile.c_str(), 1);
}

// A failure to record is reported by the thread.
bool Record(StateThread& state, const Observation& observation) {
  return state.Change([observation](StateStore& store) { return store.Record(observation); },
                      [](const auto&) {});
}

CollectorSettings SettingsOf(const Console::Context& context, StateThread& state) {
  CollectorSettings settings;
  settings.m_Program = "/proc/self/exe";
  settings.m_PluginFile = context.PluginFile();
  settings.m_OnObservation = [&state](const Observation& observation) {
    return Record(state, observation);
  };
  return settings;
}

// Removes the file when destroyed: before the socket is closed, or another service could put its
// own there in between.
class SocketFile {
 public:
  explicit SocketFile(std::filesystem::path path) : m_Path(std::move(path)) {}
  ~SocketFile() {
    std::error_code ignored;
    std::filesystem::remove(m_Path, ignored);
  }
  SocketFile(const SocketFile&) = delete;
  SocketFile& operator=(const SocketFile&) = delete;

 private:
  const std::filesystem::path m_Path;
};

void Report(const std::string& text) {
  fmt::print(stderr, "corvane-host: {}\n", Base::Printable(text));
}

void ReportState(const std::string& cause) {
  Report(fmt::format("cannot use the database {}: {}", HostKit::DatabaseFile().string(), cause));
}

// The parts of a running service, in order of life.
struct Running {
  Running(Console::Context& context, const Console::CommandTable& commands,
          Base::Descriptor listener, const Http::Permissions& permissions)
      : m_Collector(SettingsOf(context, m_State), m_Store), m_Api{commands,  context.Stream(),
                                                                  m_Store,   m_Collector,
                                                                  m_Jobs,    m_Replays,
                                                                  m_Threads, permissions} {
    Http::Settings settings;
    settings.m_Permissions = permissions;
    settings.m_OnFailure = Report;
    std::vector<Base::Descriptor> listeners;
    listeners.push_back(std::move(listener));
    m_Server.emplace(ApiRoutes(m_Api), settings, std::move(listeners));
  }

  // Clients first; then the plug-in, which ends the calls that wait for it.
  ~Running() {
    m_Server.reset();
    m_Collector.Stop();
  }

  SnapshotStore m_Store;
  StateThread m_State{ReportState};  // ends after the collector, and with what that has observed
  Collector m_Collector;
  JobTable m_Jobs;
  ReplayCache m_Replays;
  ApiContext m_Api;
  CallThreads m_Threads;
  std::optional<Http::Server> m_Server;
};

}  // namespace

std::filesystem::path DefaultSocket() {
  if (const char* const socket = secure_getenv("CORVANE_SOCKET")) return socket;
  if (geteuid() == 0) return "/run/corvane/corvane.sock";
  const char* const folder = secure_getenv("XDG_RUNTIME_DIR");
  return folder == nullptr ? std::filesystem::path()
                           : std::filesystem::path(folder) / "corvane" / "corvane.sock";
}

void Serve(Console::Context& context, const Console::CommandTable& commands,
           const std::filesystem::path& socket, const Console::Deadline& deadline) {
  const Http::Permissions permissions = PermissionsHere();
  Base::Descriptor listener = Listen(socket, permissions);
  std::optional<SocketFile> file(std::in_place, socket);
  context.PrepareForPlugin();
  PassTracing(context.m_Options);
  {
    const Running running(context, commands, std::move(listener), permissions);
    context.m_Diagnostics.Note("SERVING", fmt::format("serving at {}", socket.string()));
    while (!deadline.IsOver() && !Console::WaitForStop(deadline.Left())) continue;
    file.reset();
  }
  Console::ClearStopRequest();
}

}  // namespace Service
