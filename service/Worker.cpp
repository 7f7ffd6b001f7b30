#include "service/Worker.h"

#include <fmt/format.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "base/ThreadName.h"
#include "console/base/Failure.h"
#include "console/base/StopSignals.h"
#include "console/model/FieldTable.h"
#include "console/model/Model.h"
#include "console/plugin/RecordJson.h"
#include "service/Frame.h"
#include "service/Log.h"
#include "service/WorkerDocuments.h"

namespace Service {
namespace {

using Console::ExitCode;
using Console::Failure;
using Json = nlohmann::json;

// The socket's descriptor in the new process.
constexpr int kChildSocket = 3;

Failure ProcessFailure(const std::string& why) {
  return Failure(ExitCode::Failed, "NO_PROCESS", "cannot start the plug-in process", why);
}

struct SocketPair {
  Base::Descriptor m_Parent;
  Base::Descriptor m_Child;
};

SocketPair CreateSocketPair() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw ProcessFailure(std::strerror(errno));
  }
  // A process that stops reading must not block the service.
  constexpr timeval kSendTimeout = {5, 0};
  setsockopt(ends[0], SOL_SOCKET, SO_SNDTIMEO, &kSendTimeout, sizeof kSendTimeout);
  return {Base::Descriptor(ends[0]), Base::Descriptor(ends[1])};
}

// The file actions and attributes of the new process.
struct SpawnSettings {
  explicit SpawnSettings(int socket) {
    // This clears the close-on-exec flag, even if the socket already has this number.
    posix_spawn_file_actions_init(&m_Actions);
    posix_spawn_file_actions_adddup2(&m_Actions, socket, kChildSocket);
    // A separate process group, so that Ctrl-C at the terminal reaches only the service, which then
    // stops the process.
    posix_spawnattr_init(&m_Attributes);
    posix_spawnattr_setflags(&m_Attributes, POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnSettings() {
    posix_spawnattr_destroy(&m_Attributes);
    posix_spawn_file_actions_destroy(&m_Actions);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t m_Actions;
  posix_spawnattr_t m_Attributes;
};

std::string NameOf(const Console::UnresponsiveCard& card) {
  if (!card.m_SerialNumber.empty()) return card.m_SerialNumber;
  return card.m_DevicePath.empty() ? "cannot list all cards" : card.m_DevicePath;
}

// Time limit for the exit of a killed process. One that hangs in the kernel is left running.
constexpr std::chrono::milliseconds kKillTimeout(3000);

// Extra time for a call that has waited for a format.
constexpr std::chrono::milliseconds kAfterFormat(30000);
// Interval at which a call past its deadline checks whether a format is still running.
constexpr std::chrono::milliseconds kFormatCheck(500);

}  // namespace

Worker::Worker(const std::filesystem::path& program, const Console::PluginFiles& plugin,
               const Console::Deadline& deadline)
    : Worker(Start(program, plugin), deadline) {}

Worker::Worker(Started started, const Console::Deadline& deadline)
    : m_Socket(std::move(started.m_Socket)), m_Process(started.m_Process) {
  try {
    ReceivePluginInfo(deadline);
    m_Sender.emplace(m_Socket.Get(), [this] { HandleSendFailure(); });
    m_Reader = std::thread(&Worker::ReadReplies, this);
  } catch (...) {
    Kill();
    AwaitEnd(Console::Deadline(kKillTimeout));
    throw;
  }
}

Worker::~Worker() {
  Finish();
}

void Worker::Finish() {
  if (!m_Reader.joinable()) return;
  Disconnect();
  m_Reader.join();
  // The process exits after 30 seconds even if the plug-in has not stopped.
  constexpr std::chrono::milliseconds kStopTimeout(32000);
  if (AwaitEnd(Console::Deadline(kStopTimeout))) return;
  Kill();
  AwaitEnd(Console::Deadline(kKillTimeout));
}

// Waits for the process to exit. Returns false at the deadline.
bool Worker::AwaitEnd(const Console::Deadline& deadline) {
  constexpr std::chrono::milliseconds kPause(10);
  while (!HasExited()) {
    if (deadline.HasPassed()) return false;
    std::this_thread::sleep_for(deadline.Remaining(kPause));
  }
  return true;
}

// Returns whether the process has exited. Reaps it.
bool Worker::HasExited() {
  const Base::MutexLock lock(m_Lock);
  if (!m_IsReaped) m_IsReaped = waitpid(m_Process, nullptr, WNOHANG) != 0;
  return m_IsReaped;
}

Worker::Started Worker::Start(const std::filesystem::path& program,
                              const Console::PluginFiles& plugin) {
  SocketPair pair = CreateSocketPair();
  const SpawnSettings settings(pair.m_Child.Get());
  std::string strings[] = {"corvane-host", "plugin-process", plugin.m_Plugin.string(),
                           plugin.m_CardLibrary.string()};
  char* arguments[] = {strings[0].data(), strings[1].data(), strings[2].data(), strings[3].data(),
                       nullptr};
  pid_t process = -1;
  const int error = posix_spawn(&process, program.c_str(), &settings.m_Actions,
                                &settings.m_Attributes, arguments, environ);
  if (error != 0) throw ProcessFailure(std::strerror(error));
  return {std::move(pair.m_Parent), process};
}

// The first document reports whether the plug-in could be loaded.
void Worker::ReceivePluginInfo(const Console::Deadline& deadline) {
  if (!Console::WaitReadable(m_Socket.Get(), deadline.Remaining())) {
    Console::ThrowIfStopped();
    throw Failure(ExitCode::TimedOut, "TIMED_OUT", "the plug-in is not responding");
  }
  const auto document = ReadFrame(m_Socket.Get());
  if (!document) throw ProcessFailure("it exited before the plug-in was loaded");
  m_Info = ParseGreeting(*document);
}

// Runs on the reader thread. If the connection fails, the process is unusable and is killed.
void Worker::ReadReplies() {
  Base::NameThread("reply-reader");
  try {
    while (auto document = ReadFrame(m_Socket.Get())) HandleDocument(std::move(*document));
  } catch (const std::exception&) {
    Kill();
  }
  MarkEnded();
}

void Worker::HandleDocument(Json json) {
  WorkerDocument document = ParseWorkerDocument(std::move(json));
  if (document.m_IsNotification) {
    m_Notifications.Notify();
    return;
  }
  SetUnresponsiveCards(std::move(document.m_UnresponsiveCards));
  const Base::MutexLock lock(m_Lock);
  m_FailedThreads = document.m_FailedThreads;
  m_NeedsRestart = document.m_NeedsRestart;
  const auto waiting = m_Replies.find(document.m_Id);
  if (waiting == m_Replies.end()) return;  // the call has timed out
  waiting->second = std::move(document.m_Reply);
  m_Changed.NotifyAll();
}

// Called only by the reader thread. Logs the cards that have stopped responding.
void Worker::SetUnresponsiveCards(std::vector<Console::UnresponsiveCard> cards) {
  std::vector<Console::UnresponsiveCard> known = cards;
  {
    const Base::MutexLock lock(m_Lock);
    known.swap(m_UnresponsiveCards);
  }
  for (const Console::UnresponsiveCard& card : cards) {
    const bool isKnown = std::any_of(known.begin(), known.end(), [&](const auto& each) {
      return each.m_DevicePath == card.m_DevicePath && each.m_Reason == card.m_Reason;
    });
    if (isKnown) continue;
    LogWarning(NameOf(card) + ": " + card.m_Reason);
  }
}

void Worker::MarkEnded() {
  {
    const Base::MutexLock lock(m_Lock);
    m_HasEnded = true;
    m_Changed.NotifyAll();
  }
  m_Notifications.Notify();
}

// Registers a pending call during its lifetime.
class Worker::PendingCall {
 public:
  PendingCall(Worker& worker, bool isFormat) : m_Worker(worker), m_IsFormat(isFormat) {
    const Base::MutexLock lock(m_Worker.m_Lock);
    m_IsRefused = m_IsFormat && m_Worker.m_RefusesFormats;
    m_Id = ++m_Worker.m_LastId;
    m_Worker.m_Replies[m_Id];
    if (m_IsFormat) ++m_Worker.m_Formats;
  }
  ~PendingCall() {
    const Base::MutexLock lock(m_Worker.m_Lock);
    m_Worker.m_Replies.erase(m_Id);
    if (!m_IsFormat) return;
    --m_Worker.m_Formats;
    m_Worker.m_AfterFormat = Console::Deadline(kAfterFormat);
    m_Worker.m_Changed.NotifyAll();
  }
  PendingCall(const PendingCall&) = delete;
  PendingCall& operator=(const PendingCall&) = delete;

  std::uint64_t Id() const { return m_Id; }
  bool IsRefused() const { return m_IsRefused; }

 private:
  Worker& m_Worker;
  const bool m_IsFormat;
  std::uint64_t m_Id = 0;
  bool m_IsRefused = false;
};

std::optional<Console::PluginReply> Worker::Call(const Console::PluginCommand& command,
                                                 const Console::Deadline& deadline,
                                                 DuringFormat duringFormat) {
  Json document = Console::ToJson(command);
  const PendingCall call(*this, Console::IsFormat(command));
  if (call.IsRefused()) return std::nullopt;
  const std::optional<Json> reply = Exchange(call, std::move(document), deadline, duringFormat);
  if (!reply) return std::nullopt;
  return Console::ReplyFromJson(command.m_Command, *reply);
}

std::optional<Json> Worker::ReadRows(const std::string& table, const Console::Deadline& deadline) {
  const PendingCall call(*this, false);
  return Exchange(call, {{"rows", table}}, deadline, DuringFormat::GiveUp);
}

void Worker::SetKnownCards(const std::vector<PI::CObject>& objects,
                           const std::vector<Console::UnresponsiveCard>& unresponsive) {
  Json cards = Json::array();
  for (const Console::UnresponsiveCard& each : unresponsive) {
    if (!each.m_IsOmitted) continue;  // the others are among the objects
    cards.push_back({{"device_path", each.m_DevicePath}, {"serial_number", each.m_SerialNumber}});
  }
  const Console::Model model(objects);
  for (const Console::Object& object : model.Objects()) {
    const std::string path = Console::FieldText(object, "control_device");
    if (object.m_Kind != Console::Kind::Adapter || path.empty()) continue;
    cards.push_back(
        {{"device_path", path}, {"serial_number", Console::FieldText(object, "serial_number")}});
  }
  m_Sender->Send({{"known_cards", cards}});
}

std::optional<Json> Worker::Exchange(const PendingCall& call, Json document,
                                     const Console::Deadline& deadline, DuringFormat duringFormat) {
  document["id"] = call.Id();
  Base::RequireNoLock("a call to the plug-in process");
  if (m_Sender->Send(document)) return AwaitReply(call.Id(), deadline, duringFormat);
  HandleSendFailure();
  return std::nullopt;
}

// A process that does not read is unusable. One that was disconnected stops by itself.
void Worker::HandleSendFailure() {
  if (!m_IsDisconnected) Kill();
}

std::optional<Json> Worker::AwaitReply(std::uint64_t id, const Console::Deadline& deadline,
                                       DuringFormat duringFormat) {
  Base::MutexLock lock(m_Lock);
  std::optional<Json>& reply = m_Replies.at(id);
  while (!m_HasEnded && !reply && !HasTimedOut(deadline, duringFormat)) {
    m_Changed.WaitFor(lock, deadline.HasPassed() ? kFormatCheck : deadline.Remaining());
  }
  return std::move(reply);
}

bool Worker::HasTimedOut(const Console::Deadline& deadline, DuringFormat duringFormat) const {
  if (!deadline.HasPassed()) return false;
  return duringFormat == DuringFormat::GiveUp || !IsBlockedByFormat();
}

bool Worker::IsBlockedByFormat() const {
  return m_Formats > 0 || !m_AfterFormat.HasPassed();
}

bool Worker::MayWaitForFormat() const {
  const Base::MutexLock lock(m_Lock);
  return IsBlockedByFormat();
}

void Worker::RefuseFormats() {
  Base::MutexLock lock(m_Lock);
  m_RefusesFormats = true;
  const bool isFormatting = m_Formats > 0;
  lock.Unlock();
  if (isFormatting) Disconnect();
}

bool Worker::IsFormatting() const {
  const Base::MutexLock lock(m_Lock);
  return m_Formats > 0;
}

bool Worker::IsAlive() const {
  const Base::MutexLock lock(m_Lock);
  return !m_HasEnded;
}

std::size_t Worker::FailedThreads() const {
  const Base::MutexLock lock(m_Lock);
  return m_FailedThreads;
}

std::vector<Console::UnresponsiveCard> Worker::UnresponsiveCards() const {
  const Base::MutexLock lock(m_Lock);
  return m_UnresponsiveCards;
}

bool Worker::NeedsRestart() const {
  const Base::MutexLock lock(m_Lock);
  return m_NeedsRestart;
}

void Worker::Disconnect() {
  m_IsDisconnected = true;
  shutdown(m_Socket.Get(), SHUT_RDWR);
}

void Worker::Kill() {
  const Base::MutexLock lock(m_Lock);
  if (!m_IsReaped) kill(m_Process, SIGKILL);
}

}  // namespace Service
