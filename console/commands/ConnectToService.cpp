#include "console/commands/ConnectToService.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "console/base/Failure.h"
#include "console/commands/All.h"
#include "console/commands/NewDatabase.h"
#include "console/plugin/CardLibraryGuard.h"
#include "console/plugin/SimulatedService.h"
#include "console/plugin/UnreadableRecords.h"
#include "service/CardGuard.h"
#include "service/CardRecorder.h"
#include "service/client/DefaultSocket.h"
#include "service/client/ServiceFailure.h"
#include "service/client/ServiceSession.h"

namespace Console {
namespace {

using Paths = std::vector<std::filesystem::path>;

// Options that configure an in-process plug-in, so they cannot apply to a service.
constexpr const char* kDirectOptions[] = {"--direct",   "--plugin", "--simulate",
                                          "--database", "--trace",  "--trace-file"};

// Returns the option that requires an in-process plug-in, or null.
const char* DirectOption(const Options& options) {
  const auto* const found =
      std::find_if(std::begin(kDirectOptions), std::end(kDirectOptions),
                   [&](const char* name) { return options.m_Given.count(name) > 0; });
  return found == std::end(kDirectOptions) ? nullptr : *found;
}

void RequireNoDirectOption(const Options& options) {
  const char* const name = DirectOption(options);
  if (name == nullptr) return;
  throw UsageFailure(fmt::format("--socket cannot be combined with {}", name),
                     {"With --socket, the command uses the plug-in of the service."});
}

// Returns only paths that exist, because no service can listen on the others.
Paths DefaultSockets() {
  Paths existing;
  for (const std::filesystem::path& path : Service::ClientSockets()) {
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored)) existing.push_back(path);
  }
  return existing;
}

// Whether a command shows all cards, so that simulated ones could be mistaken for those of the
// machine.
bool ShowsCards(const std::string& command) {
  constexpr const char* kCommands[] = {"list", "tree", "status", "watch", "plugin"};
  return std::find(std::begin(kCommands), std::end(kCommands), command) != std::end(kCommands);
}

void RequirePlugin(const SessionRequest& request, const Service::ServiceSession& session) {
  if (session.IsUp()) return;
  if (AllCommands().Require(request.m_Command).m_NeedsPlugin) {
    throw Failure(ExitCode::PluginUnusable, "PLUGIN_DOWN", "the plug-in of the service is down",
                  session.Reason());
  }
  request.m_Diagnostics.Note(
      "STALE", fmt::format("the plug-in is not running: {}; values are from its last report",
                           session.Reason()));
}

std::unique_ptr<Session> Connect(const SessionRequest& request, const std::filesystem::path& path) {
  auto session =
      std::make_unique<Service::ServiceSession>(path, request.m_EventLog, request.m_Limits);
  if (request.m_Options.m_Verbose) {
    request.m_Diagnostics.Note("SERVICE", fmt::format("using the service at {}", path.string()));
  }
  RequirePlugin(request, *session);
  if (session->IsSimulated() && ShowsCards(request.m_Command)) {
    NoteSimulatedService(request.m_Diagnostics);
  }
  if (const std::string& cause = session->RecordsFailure(); !cause.empty()) {
    ReportUnreadableRecords(UnreadableRecordsFailure(cause, session->DatabaseAdvice()),
                            request.m_Diagnostics);
  }
  return session;
}

// The variable is as definite as --socket: without its service, the cards that the user would see
// could be other ones.
std::unique_ptr<Session> ConnectToChosen(const SessionRequest& request,
                                         const std::filesystem::path& path) {
  try {
    return Connect(request, path);
  } catch (const Failure& failure) {
    if (failure.m_Id != Service::kNoService) throw;
    std::vector<std::string> advice = failure.m_Advice;
    advice.emplace_back("CORVANE_SOCKET names this socket.");
    throw Failure(failure.m_Code, failure.m_Id, failure.m_Text, advice);
  }
}

// Prepares this process for an in-process plug-in: a card that does not respond must not block the
// other cards.
std::nullptr_t GuardCards() {
  Service::CardGuard::Instance().Enable();
  CardLibraryGuard guard;
  guard.m_HasStuckCalls = [] { return Service::CardGuard::Instance().HasStuckCards(); };
  guard.m_UnresponsiveCards = [] { return Service::CardGuard::Instance().UnresponsiveCards(); };
  SetCardLibraryGuard(guard);
  return nullptr;
}

}  // namespace

std::unique_ptr<Session> ConnectToService(const SessionRequest& request) {
  const Options& options = request.m_Options;
  if (!options.m_Socket.empty()) {
    RequireNoDirectOption(options);
    return Connect(request, options.m_Socket);
  }
  if (DirectOption(options) != nullptr) {
    RequireDatabase(request.m_Command, options);
    return GuardCards();
  }
  if (const auto chosen = Service::ChosenSocket(); !chosen.empty()) {
    return ConnectToChosen(request, chosen);
  }
  for (const std::filesystem::path& path : DefaultSockets()) {
    try {
      return Connect(request, path);
    } catch (const Failure& failure) {
      if (failure.m_Id != Service::kNoService) throw;
    }
  }
  return GuardCards();
}

std::unique_ptr<CardStore> OpenCardStore() {
  return Service::CreateCardRecorder();
}

}  // namespace Console
