#include "service/PluginProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include "base/ThreadName.h"
#include "console/base/CallWithTimeout.h"
#include "console/base/Failure.h"
#include "console/base/Notifier.h"
#include "console/plugin/PluginLibrary.h"
#include "console/plugin/RecordJson.h"
#include "console/plugin/RowTables.h"
#include "host/Database.h"
#include "hostkit/Database.h"
#include "hostkit/FailedThreads.h"
#include "service/CardGuard.h"
#include "service/Frame.h"
#include "service/FrameSender.h"
#include "service/Heap.h"

namespace Service {
namespace {

using Json = nlohmann::json;
using std::chrono::milliseconds;

constexpr milliseconds kStopTimeout(30000);
constexpr milliseconds kPause(10);

Json PluginDocument(const std::string& file, const IPLUGINAPI& plugin) {
  const Console::PluginInfo info = {file, plugin.m_ModuleID, plugin.m_InterfaceVersion};
  return {{"plugin", Console::ToJson(info)}};
}

Json FailureDocument(const Console::Failure& failure) {
  return {{"failure",
           {{"exit_code", static_cast<int>(failure.m_Code)},
            {"id", failure.m_Id},
            {"text", failure.m_Text},
            {"advice", failure.m_Advice}}}};
}

// State shared by the command threads.
struct Process {
  Process(const Console::PluginFiles& files, int socket)
      : m_Socket(socket), m_Sender(socket), m_Library(files), m_Plugin(m_Library) {}

  const int m_Socket;
  FrameSender m_Sender;
  Console::Notifier m_Notifier;
  Console::PluginLibrary m_Library;
  Console::PluginInstance m_Plugin;
  std::atomic<bool> m_IsInitialized{false};
  std::atomic<int> m_RunningCommands{0};
};

// If the plug-in throws an exception, the command fails.
Console::PluginReply ExecuteSafely(Process& process, Console::PluginCommand command) {
  try {
    return Console::Execute(*process.m_Plugin, command);
  } catch (const std::exception&) {
    return {PI::ERR_GENERAL, std::move(command.m_Payload)};
  }
}

// Executes the command and records whether the plug-in is initialized.
Json RunCommand(Process& process, Console::PluginCommand command) {
  const PI::_COMMAND number = command.m_Command;
  const Console::PluginReply reply = ExecuteSafely(process, std::move(command));
  if (reply.m_Result == PI::SUCCESS && number == PI::CMD_INITIALIZE) process.m_IsInitialized = true;
  if (reply.m_Result == PI::SUCCESS && number == PI::CMD_DEINITIALIZE) {
    process.m_IsInitialized = false;
  }
  return Console::ToJson(reply);
}

// The service cannot read the rows itself, because the database may be in this process's memory.
Json ReadRows(const std::string& table) {
  for (const Console::RowSource& source : Console::kRowSources) {
    if (table != source.m_Name) continue;
    try {
      return {{"rows", Console::ToJson(HostKit::ReadRows(source.m_Kind))}};
    } catch (const DBEXCEPTION::DatabaseException& failure) {
      return {{"error", failure.what()}};
    }
  }
  return {{"error", "unknown table"}};
}

Json UnresponsiveCards() {
  Json list = Json::array();
  for (const Console::UnresponsiveCard& card : CardGuard::Instance().UnresponsiveCards()) {
    list.push_back({{"serial_number", card.m_SerialNumber},
                    {"device_path", card.m_DevicePath},
                    {"reason", card.m_Reason},
                    {"omitted", card.m_IsOmitted}});
  }
  return list;
}

void Reply(Process& process, const Json& id, Json document) {
  document["id"] = id;
  document["failed_threads"] = HostKit::FailedThreads();
  document["unresponsive"] = UnresponsiveCards();
  document["needs_restart"] = CardGuard::Instance().HasReturnedCard();
  process.m_Sender.Send(document);
}

using Work = std::function<Json()>;

// Runs `work` and sends its result.
void RunAndReply(Process& process, const Json& id, const Work& work) {
  try {
    Reply(process, id, work());
  } catch (const std::exception&) {
    // Out of memory. Without a reply, the call times out in the service.
  }
}

// Runs `work` and replies, then returns free memory to the system, because a reply with all cards
// takes several times the memory that the plug-in itself uses.
void HandleRequest(Process& process, const Json& id, const Work& work) {
  Base::NameThread("command");
  RunAndReply(process, id, work);
  ReturnFreeMemory();
  --process.m_RunningCommands;
}

// Handles a request on a new thread. Replies with the result of `fallback` if the thread cannot be
// started.
void Start(Process& process, const Json& id, const Work& work, const Work& fallback) {
  ++process.m_RunningCommands;
  try {
    std::thread(HandleRequest, std::ref(process), id, work).detach();
  } catch (const std::system_error&) {
    --process.m_RunningCommands;
    Reply(process, id, fallback());
  }
}

void SetKnownCards(const Json& list) {
  std::vector<ListedCard> cards;
  for (const Json& each : list) {
    cards.push_back(
        {each.at("device_path").get<std::string>(), each.at("serial_number").get<std::string>()});
  }
  CardGuard::Instance().SetKnownCards(std::move(cards));
}

// Runs each request on a separate thread, so that a hung request does not delay the others.
void Dispatch(Process& process, Json document) {
  if (document.contains("known_cards")) return SetKnownCards(document.at("known_cards"));
  const Json id = document.at("id");
  document.erase("id");
  if (document.contains("rows")) {
    const auto read = [table = document.at("rows").get<std::string>()] { return ReadRows(table); };
    Start(process, id, read, [] { return Json{{"error", "cannot start a thread"}}; });
    return;
  }
  const Console::PluginCommand command = Console::CommandFromJson(document);
  Start(
      process, id, [&process, command] { return RunCommand(process, command); },
      [&command] {
        return Console::ToJson(Console::PluginReply{PI::ERR_GENERAL, command.m_Payload});
      });
}

enum class Ready { Command, Notification };

Ready Wait(const Process& process) {
  pollfd waits[] = {{process.m_Socket, POLLIN, 0}, {process.m_Notifier.Number(), POLLIN, 0}};
  while (poll(waits, 2, -1) < 0) continue;
  return waits[0].revents != 0 ? Ready::Command : Ready::Notification;
}

// Serves commands until the service closes its end of the connection.
void Serve(Process& process) {
  for (;;) {
    if (Wait(process) == Ready::Notification) {
      process.m_Notifier.Wait(milliseconds(0), {});
      process.m_Sender.Send({{"notified", true}});
      continue;
    }
    auto document = ReadFrame(process.m_Socket);
    if (!document) return;
    Dispatch(process, std::move(*document));
  }
}

// A malformed frame closes the connection.
void ServeUntilEnd(Process& process) {
  try {
    Serve(process);
  } catch (const std::exception&) {
    shutdown(process.m_Socket, SHUT_RDWR);
  }
}

// Returns true once the plug-in has stopped and no command is using it. DEINITIALIZE must not
// overlap another command. Returns false on timeout, because a hung card must not keep this process
// alive. The plug-in itself waits up to 25 seconds for its jobs.
bool Stop(Process& process) {
  const auto call = [&process]() -> std::uint32_t {
    while (process.m_RunningCommands > 0) std::this_thread::sleep_for(kPause);
    if (process.m_IsInitialized) process.m_Plugin->Execute(PI::CMD_DEINITIALIZE, 0, nullptr);
    return PI::SUCCESS;
  };
  const Console::Deadline deadline(kStopTimeout);
  return Console::CallWithTimeout(call, deadline, Console::OnStop::Continue).has_value();
}

}  // namespace

int RunPluginProcess(const Console::PluginFiles& plugin, int socket) {
  Base::NameThread("plugin-process");  // the service starts it as /proc/self/exe
  // Only the end of the connection stops this process, so that running commands can finish.
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) signal(number, SIG_IGN);
  fcntl(socket, F_SETFD, FD_CLOEXEC);
  ShareOneHeap();
  CardGuard::Instance().Enable();
  try {
    auto process = std::make_unique<Process>(plugin, socket);
    process->m_Plugin->m_HostNotify = [notifier = &process->m_Notifier](IPLUGINAPI*) {
      notifier->Notify();
    };
    process->m_Sender.Send(PluginDocument(process->m_Library.m_File, *process->m_Plugin));
    ServeUntilEnd(*process);
    const bool isStopped = Stop(*process) && !CardGuard::Instance().HasStuckCards();
    if (!isStopped) static_cast<void>(process.release());  // a hung call still uses it
    return EXIT_SUCCESS;
  } catch (const Console::Failure& failure) {
    WriteFrame(socket, EncodeFrame(FailureDocument(failure)));
  } catch (const std::exception& error) {
    const Console::Failure failure(Console::ExitCode::Failed, "UNEXPECTED", error.what());
    WriteFrame(socket, EncodeFrame(FailureDocument(failure)));
  }
  return EXIT_FAILURE;
}

}  // namespace Service
