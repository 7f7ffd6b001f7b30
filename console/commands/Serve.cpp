// serve: run the service in the foreground.
#include "service/Serve.h"

#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "console/base/Duration.h"
#include "console/base/Failure.h"
#include "console/cli/CommandTable.h"
#include "console/commands/All.h"
#include "console/commands/NewDatabase.h"
#include "console/report/CommandContext.h"
#include "service/client/DefaultSocket.h"

namespace Console {
namespace {

// The service reads the directory again for each event, but a directory that is given and does not
// exist is a mistake: its programs would never run.
std::filesystem::path RequireDirectory(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (std::filesystem::is_directory(status)) return std::filesystem::absolute(path);
  throw Failure(ExitCode::Failed, "DIRECTORY_UNUSABLE", fmt::format("--events-directory: {}", path),
                std::filesystem::exists(status) ? "not a directory" : error.message(),
                {"Create the directory, or pass another one."});
}

// By default, only root's service runs event programs, so that a user's service does not run them a
// second time for the same event.
std::filesystem::path EventsDirectory(const Options& options) {
  if (!options.m_EventsDirectory.empty()) return RequireDirectory(options.m_EventsDirectory);
  return geteuid() == 0 ? "/etc/corvane/events.d" : "";
}

// The default sockets are those at which every command looks for the real cards. A service manager
// is configured by the administrator.
void RequireOwnSocket(const Options& options) {
  constexpr const char* kManaged[] = {"LISTEN_FDS", "NOTIFY_SOCKET"};
  const bool isManaged =
      std::any_of(std::begin(kManaged), std::end(kManaged),
                  [](const char* name) { return secure_getenv(name) != nullptr; });
  const bool isChosen = !options.m_Socket.empty() || !Service::ChosenSocket().empty();
  if (!options.m_Simulate || isManaged || isChosen) return;
  throw UsageFailure(
      "--simulate requires --socket, because all commands would use the default socket",
      {"For example: corvane-host serve --simulate --socket ./corvane.sock",
       "Then: corvane-host --socket ./corvane.sock list"});
}

CommandResult Run(Context& context) {
  RequireOwnSocket(context.m_Options);
  RequireDatabase(context.m_Command, context.m_Options);
  const std::string& path = context.m_Options.m_Socket;
  const std::filesystem::path socket =
      path.empty() ? Service::DefaultSocket() : std::filesystem::path(path);
  if (socket.empty()) {
    throw UsageFailure("no directory for the socket", {"Pass --socket PATH."});
  }
  Service::ServeSettings settings;
  settings.m_Listen.m_Socket = std::filesystem::absolute(socket);
  settings.m_Listen.m_Tcp = context.m_Options.m_Listen;
  settings.m_Listen.m_AllowsOtherHosts = context.m_Options.m_ListenAny;
  settings.m_EventsDirectory = EventsDirectory(context.m_Options);
  settings.m_Deadline = Deadline(ParseDuration("--for", context.m_Options.m_For));
  Service::Serve(context, AllCommands(), settings);
  CommandResult result;
  result.m_Text = "";
  return result;
}

}  // namespace

Command ServeCommand() {
  Command command;
  command.m_Group = Group::Service;
  command.m_Name = "serve";
  command.m_Summary = "run the service that shares the plug-in with other programs";
  command.m_OutputFormats = {"table"};
  command.m_Options = {"--listen", "--listen-any", "--events-directory", "--for"};
  command.m_Run = Run;
  command.m_Description =
      "Runs in the foreground until Ctrl-C or SIGTERM, or for the time given with --for. The "
      "plug-in runs in a separate process, which is restarted if it exits. Clients send HTTP "
      "requests to the socket, which GET /v1/openapi.json describes; reads never wait for a card. "
      "The default socket is CORVANE_SOCKET, "
      "or "
      "/run/corvane/corvane.sock for root and $XDG_RUNTIME_DIR/corvane/corvane.sock for other "
      "users; "
      "it is not used for simulated cards.";
  command.m_Examples = {{"serve --simulate --socket ./corvane.sock", "serve simulated cards"},
                        {"serve --listen 127.0.0.1:9188", "also serve read-only over TCP"}};
  return command;
}

}  // namespace Console
