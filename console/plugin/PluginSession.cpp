#include "console/plugin/PluginSession.h"

#include <thread>
#include <utility>

#include "console/base/Failure.h"
#include "console/base/StopSignals.h"
#include "console/plugin/CardDevices.h"
#include "console/plugin/UnreadableRecords.h"

namespace Console {

PluginSession::PluginSession(const PluginFiles& files, EventLogClient& eventLog,
                             Diagnostics& diagnostics, const TimeLimits& limits)
    : CommandSession(eventLog, limits), m_Diagnostics(diagnostics) {
  Load(files);
  const PluginInstance& plugin = m_pLoaded->m_Plugin;
  m_Info = {m_pLoaded->m_Library.m_File, plugin->m_ModuleID, plugin->m_InterfaceVersion};
  plugin->m_HostNotify = [notifier = &m_pLoaded->m_Notifier](IPLUGINAPI*) { notifier->Notify(); };
  try {
    Start();
  } catch (...) {
    Stop();
    throw;
  }
  // A constructor cannot call the override of a derived class, so the call names this class.
  for (const UnresponsiveCard& each : PluginSession::UnresponsiveCards()) NoteUnlistedCards(each);
}

void PluginSession::NoteUnlistedCards(const UnresponsiveCard& card) {
  if (!card.m_DevicePath.empty()) return;
  m_Diagnostics.Note("CARDS_UNLISTED", "cannot list all cards: " + card.m_Reason,
                     {"A card or its driver may be hung; check the kernel log."});
}

// Without cards, the plug-in is not running and has no events.
PluginSession::~PluginSession() {
  if (HasCards()) CollectPendingEvents();
  Stop();
}

// Loading has a time limit, because a library runs its initialization code when it is loaded.
void PluginSession::Load(const PluginFiles& files) {
  const auto loaded = std::make_shared<std::unique_ptr<Loaded>>();
  const auto call = [loaded, files] {
    *loaded = std::make_unique<Loaded>(files);
    return std::uint32_t{PI::SUCCESS};
  };
  if (!CallWithTimeout(call, Limits().ForCall())) ThrowReadTimeout();
  m_pLoaded = std::move(*loaded);
}

// Returns whether the call has returned by the deadline. A time limit requires a thread: if none
// can be started, retries until the deadline and then throws `Failure`.
bool PluginSession::CallWithThreadRetry(const std::function<std::uint32_t()>& call,
                                        const Deadline& deadline) {
  constexpr std::chrono::milliseconds kPause(100);
  while (true) {
    try {
      return CallWithTimeout(call, deadline, OnStop::Continue).has_value();
    } catch (const Failure&) {
      if (deadline.HasPassed()) throw;
    }
    std::this_thread::sleep_for(deadline.Remaining(kPause));
  }
}

// Failing to stop the plug-in is reported as a note, because the command has already succeeded or
// failed.
void PluginSession::Stop() {
  if (!m_pLoaded) return;
  // The plug-in waits up to 25 seconds for its jobs; without a job, it only has to finish a scan.
  const std::chrono::seconds timeout(HasExecutedOperation() ? 30 : 5);
  const auto call = [loaded = m_pLoaded.release(), started = HasCards()] {
    std::unique_ptr<Loaded> owner(loaded);
    if (started) loaded->m_Plugin->Execute(PI::CMD_DEINITIALIZE, 0, nullptr);
    if (GetCardLibraryGuard().m_HasStuckCalls()) {
      AbandonThreads();
      static_cast<void>(owner.release());
    }
    return std::uint32_t{PI::SUCCESS};
  };
  const Deadline deadline(timeout);
  try {
    if (CallWithThreadRetry(call, deadline)) return;
  } catch (const Failure& failure) {
    AbandonThreads();
    m_Diagnostics.Note("PLUGIN_LEFT_RUNNING",
                       "cannot start a thread to stop the plug-in; exiting without stopping it",
                       failure.m_Advice);
    return;
  } catch (const std::exception&) {
    return;  // the call threw an exception, and unwinding it has unloaded the plug-in
  }
  m_Diagnostics.Note("PLUGIN_LEFT_RUNNING", "the plug-in did not stop; exiting anyway",
                     {"A card or its driver may be hung; check the kernel log."});
}

// The call gets its own copy of the payload, because an abandoned call may still write to it.
std::optional<PluginReply> PluginSession::Call(PluginCommand command, const Deadline& deadline,
                                               OnStop onStop) {
  if (!m_pLoaded) return PluginReply{PI::ERR_COMMAND_ERROR, std::move(command.m_Payload)};
  const auto reply = std::make_shared<PluginReply>();
  const auto call = [plugin = &*m_pLoaded->m_Plugin, command = std::move(command), reply] {
    *reply = Execute(*plugin, command);
    return reply->m_Result;
  };
  if (!CallWithTimeout(call, deadline, onStop)) return std::nullopt;
  return std::move(*reply);
}

std::vector<PI::CObject> PluginSession::Topology() {
  std::vector<PI::CObject> objects = CommandSession::Topology();
  const auto omitted = OmittedSerials(UnresponsiveCards());
  try {
    if (m_pCardStore) m_Records = m_pCardStore->Record(objects, omitted, Times().m_ObservedAt);
  } catch (const Failure& failure) {
    // The cards that are present can be shown without the records of the others.
    ReportUnreadableRecords(failure, m_Diagnostics);
  }
  // The plug-in searches for cards only when it starts, so a card that disappears later is missing.
  m_Unreported = UnreportedDevices(objects, m_Unreported ? *m_Unreported : CardDevices());
  m_LocateLeds = m_LedReader.Read(*this, objects);
  return objects;
}

CardRecords PluginSession::Cards() const {
  CardRecords records = m_Records;
  records.m_LocateLeds = m_LocateLeds;
  std::vector<std::string> unreported = m_Unreported.value_or(std::vector<std::string>());
  records.m_Unreadable = UnreadableCards(UnresponsiveCards(), unreported);
  for (const std::string& address : unreported) {
    records.m_Unreadable.push_back({"", address, "the plug-in cannot read the card"});
  }
  return records;
}

void PluginSession::Abandon() {
  static_cast<void>(m_pLoaded.release());
}

bool PluginSession::WaitForNotification(std::chrono::milliseconds timeout, const WaitSet& extra) {
  return m_pLoaded && m_pLoaded->m_Notifier.Wait(timeout, extra);
}

}  // namespace Console
