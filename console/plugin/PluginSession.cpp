#include "console/plugin/PluginSession.h"

#include <thread>
#include <utility>

#include "console/base/Failure.h"
#include "console/base/StopSignals.h"

namespace Console {

PluginSession::PluginSession(const std::filesystem::path& file, EventHistory& eventHistory,
                             Diagnostics& diagnostics, const TimeLimits& limits)
    : m_EventHistory(eventHistory), m_Diagnostics(diagnostics), m_Limits(limits) {
  Load(file);
  const PluginInstance& plugin = m_pLoaded->m_Plugin;
  m_Info = {m_pLoaded->m_Library.m_File, plugin->m_ModuleID, plugin->m_InterfaceVersion};
  plugin->m_HostNotify = [notifier = &m_pLoaded->m_Notifier](IPLUGINAPI*) { notifier->Notify(); };
  try {
    Start();
  } catch (...) {
    Stop();
    throw;
  }
}

// Without a card nothing was started that would have to be stopped.
PluginSession::~PluginSession() {
  if (m_HasCards) CollectPendingEvents();
  Stop();
}

// A library runs code of its own when it is loaded.
void PluginSession::Load(const std::filesystem::path& file) {
  const auto loaded = std::make_shared<std::unique_ptr<Loaded>>();
  const auto call = [loaded, file] {
    *loaded = std::make_unique<Loaded>(file);
    return std::uint32_t{PI::SUCCESS};
  };
  if (!CallWithTimeout(call, m_Limits.ForCall())) Abandon();
  m_pLoaded = std::move(*loaded);
}

// Whether the call has ended. Without a thread it cannot be given a time limit, so this waits for
// one until the deadline and then throws `Failure`.
bool PluginSession::CallWhenThreadsAreFree(const std::function<std::uint32_t()>& call,
                                           const Deadline& deadline) {
  constexpr std::chrono::milliseconds kPause(100);
  while (true) {
    try {
      return CallWithTimeout(call, deadline, OnStop::Continue).has_value();
    } catch (const Failure&) {
      if (deadline.IsOver()) throw;
    }
    std::this_thread::sleep_for(deadline.Left(kPause));
  }
}

// The command already has its result, so a plug-in that does not stop only adds a note.
void PluginSession::Stop() {
  if (!m_pLoaded) return;
  // The plug-in waits for its jobs for 25 seconds; without one it has only a scan to finish.
  const std::chrono::seconds atMost(m_HasChanged ? 30 : 5);
  const auto call = [loaded = m_pLoaded.release(), started = m_HasCards] {
    const std::unique_ptr<Loaded> owner(loaded);
    if (started) loaded->m_Plugin->Execute(PI::CMD_DEINITIALIZE, 0, nullptr);
    return std::uint32_t{PI::SUCCESS};
  };
  const Deadline deadline(atMost);
  try {
    if (CallWhenThreadsAreFree(call, deadline)) return;
  } catch (const Failure& failure) {
    AbandonThreads();
    m_Diagnostics.Note("PLUGIN_LEFT_RUNNING",
                       "cannot start a thread to stop the plug-in; exiting without stopping it",
                       failure.m_Advice);
    return;
  } catch (const std::exception&) {
    return;  // the plug-in's own, and it is gone now
  }
  m_Diagnostics.Note("PLUGIN_LEFT_RUNNING", "the plug-in does not stop; exiting anyway",
                     {"A card or its driver may be hung; check the kernel log."});
}

// The result does not depend on these events, so errors are ignored.
void PluginSession::CollectPendingEvents() noexcept {
  try {
    if (m_PluginID != 0) CollectEvents();
  } catch (const std::exception&) {
  }
}

// The host's numbers count from 1; people see them in the adapters' names.
void PluginSession::Start() {
  std::vector<PI::CAdapterID> adapters;
  const auto begin = std::chrono::steady_clock::now();
  const std::uint32_t result = Read(PI::CMD_INITIALIZE, 0, adapters);
  m_StartDuration = std::chrono::steady_clock::now() - begin;
  if (result == PI::ERR_NO_SUPPORTED_HARDWARE) return;
  if (result != PI::SUCCESS) throw PluginFailure("cannot start the plug-in", result);
  m_HasCards = true;
  for (PI::CAdapterID& adapter : adapters) {
    adapter.m_GlobalNumber = static_cast<std::int32_t>(adapter.m_AdapterNumber) + 1;
  }
  const std::uint32_t numbered = Read(PI::CMD_SET_ADAPTER_IDS, 0, adapters);
  if (numbered != PI::SUCCESS) throw PluginFailure("cannot assign adapter numbers", numbered);
}

// The call gets its own copy of the payload, because an abandoned call may still write to it.
template <class Payload>
std::optional<std::uint32_t> PluginSession::Call(PI::_COMMAND command, std::uint64_t object,
                                                 Payload& payload, const Deadline& deadline,
                                                 OnStop onStop) {
  if (!m_pLoaded) return PI::ERR_COMMAND_ERROR;
  const auto own = std::make_shared<Payload>(payload);
  const auto call = [plugin = &*m_pLoaded->m_Plugin, command, object, own] {
    return plugin->Execute(command, object, own.get());
  };
  const auto result = CallWithTimeout(call, deadline, onStop);
  if (result) payload = std::move(*own);
  return result;
}

template <class Payload>
std::uint32_t PluginSession::Read(PI::_COMMAND command, std::uint64_t object, Payload& payload) {
  const auto result = Call(command, object, payload, m_Limits.ForCall(), OnStop::Abandon);
  if (!result) Abandon();
  return *result;
}

template <class Payload>
std::uint32_t PluginSession::Change(PI::_COMMAND command, std::uint64_t object, Payload& payload,
                                    const Deadline& deadline) {
  const auto result = Call(command, object, payload, deadline, OnStop::Continue);
  if (!result) AbandonChange();
  return *result;
}

void PluginSession::Abandon() {
  static_cast<void>(m_pLoaded.release());
  if (IsStopRequested()) throw Stopped("interrupted; the plug-in does not respond");
  throw Failure(ExitCode::TimedOut, "TIMED_OUT", "the plug-in does not respond",
                std::vector<std::string>{"A card or its driver may be hung; check the kernel log.",
                                         "If it is only slow, pass a longer --timeout."});
}

void PluginSession::AbandonChange() {
  static_cast<void>(m_pLoaded.release());
  throw Failure(ExitCode::TimedOut, "TIMED_OUT", "the plug-in does not respond",
                std::vector<std::string>{"A card or its driver may be hung; check the kernel log.",
                                         "The command may still take effect; check with show."});
}

template <class Payload>
Payload PluginSession::Require(const char* what, PI::_COMMAND command, std::uint64_t object,
                               Payload payload) {
  const std::uint32_t result = Read(command, object, payload);
  if (result != PI::SUCCESS) throw PluginFailure(what, result);
  return payload;
}

std::vector<PI::CObject> PluginSession::Topology() {
  auto objects =
      Require<std::vector<PI::CObject>>("cannot read the topology", PI::CMD_GET_TOPOLOGY, 0);
  if (!objects.empty()) m_PluginID = objects.front().m_ID;
  m_EventHistory.RememberObjects(objects);
  return objects;
}

std::vector<PI::CProperty> PluginSession::Properties(std::uint64_t object) {
  return Require<std::vector<PI::CProperty>>("cannot read properties", PI::CMD_GET_PROPERTIES,
                                             object);
}

std::vector<PI::CProperty> PluginSession::Property(std::uint64_t object, std::uint32_t property) {
  PI::CProperty record(static_cast<PI::_PROPERTY_ID>(property), false);
  const std::uint32_t result = Read(PI::CMD_GET_PROPERTY, object, record);
  if (result == PI::ERR_GENERAL) return {};
  if (result != PI::SUCCESS) throw PluginFailure("cannot read a property", result);
  return {record};
}

std::uint32_t PluginSession::SetProperty(std::uint64_t object, PI::CProperty& property) {
  return Change(PI::CMD_SET_PROPERTY, object, property, Deadline(m_Limits.m_Call));
}

std::vector<PI::COperation> PluginSession::Operations(std::uint64_t object) {
  return Require<std::vector<PI::COperation>>("cannot read operations", PI::CMD_GET_OPERATIONS,
                                              object);
}

std::uint32_t PluginSession::CheckOperation(std::uint64_t object, PI::COperation& operation) {
  return Read(PI::CMD_CHECK_OPERATION, object, operation);
}

// A format takes as long as the card needs.
std::uint32_t PluginSession::ExecuteOperation(std::uint64_t object, PI::COperation& operation) {
  m_HasChanged = true;
  const bool isFormat = operation.m_OperationID == PI::OP_FORMAT_DEVICE;
  return Change(PI::CMD_EXECUTE_OPERATION, object, operation,
                Deadline(isFormat ? m_Limits.m_Format : m_Limits.m_Call));
}

// The plug-in object is always the first of the topology. An event may be about a card that was
// added since the last reading, or be the last one about a removed card.
std::vector<LoggedEvent> PluginSession::CollectEvents() {
  if (m_PluginID == 0) Topology();
  if (m_PluginID == 0) return {};
  PI::COperation operation;
  operation.m_OperationID = PI::OP_GET_EVENTS;
  const std::vector<PI::CEvent> events =
      Require("cannot collect events", PI::CMD_EXECUTE_OPERATION, m_PluginID, operation).m_Events;
  if (!m_EventHistory.KnowsAll(events)) Topology();
  return m_EventHistory.Record(events);
}

bool PluginSession::WaitForNotification(std::chrono::milliseconds atMost, const WaitSet& also) {
  return m_pLoaded && m_pLoaded->m_Notifier.Wait(atMost, also);
}

}  // namespace Console
