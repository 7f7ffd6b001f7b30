#include "console/plugin/CommandSession.h"

#include <algorithm>
#include <utility>

#include "console/base/Failure.h"
#include "console/base/StopSignals.h"
#include "console/base/Timestamp.h"

namespace Console {
namespace {

Failure TimeoutFailure(const char* advice) {
  return Failure(
      ExitCode::TimedOut, "TIMED_OUT", "the plug-in is not responding",
      std::vector<std::string>{"A card or its driver may be hung; check the kernel log.", advice});
}

bool HasSerialNumber(const PI::CObject& object, const std::vector<UnresponsiveCard>& cards) {
  for (const PI::CProperty& property : object.m_Properties) {
    if (property.m_PropertyID != PI::Property::SERIAL_NUMBER) continue;
    const std::string& serial = property.m_Value.m_String.m_Text;
    return !serial.empty() &&
           std::any_of(cards.begin(), cards.end(),
                       [&](const UnresponsiveCard& each) { return each.m_SerialNumber == serial; });
  }
  return false;
}

// Removes what shows that these cards were read: their properties, and their places among the
// plug-in's children. The values of these cards are not new, although the plug-in reports them.
std::vector<PI::CObject> WithoutReadings(std::vector<PI::CObject> objects,
                                         const std::vector<UnresponsiveCard>& cards) {
  if (objects.empty() || cards.empty()) return objects;
  auto& children = objects.front().m_Children;
  for (PI::CObject& object : objects) {
    if (object.m_ObjectType != PI::OBJECT_ADAPTER || !HasSerialNumber(object, cards)) continue;
    object.m_Properties.clear();
    children.erase(std::remove(children.begin(), children.end(), object.m_ID), children.end());
  }
  return objects;
}

// An entry without a device stands for all cards: it is unknown whether there are any.
void ThrowIfUnlisted(const std::vector<UnresponsiveCard>& cards) {
  for (const UnresponsiveCard& each : cards) {
    if (!each.m_DevicePath.empty()) continue;
    throw Failure(ExitCode::Failed, "CARDS_UNLISTED", "cannot list the cards", each.m_Reason,
                  {"Check the kernel log and the driver of the cards."});
  }
}

}  // namespace

void CommandSession::ThrowReadTimeout() {
  if (IsStopRequested()) throw Stopped("interrupted; the plug-in is not responding");
  throw TimeoutFailure("If the plug-in is only slow, pass a longer --timeout.");
}

// The host numbers adapters from 1; the numbers appear in the adapters' names.
void CommandSession::Start() {
  m_EventLog.AppendOrDropUnlogged();
  std::vector<PI::CAdapterID> adapters;
  const auto begin = std::chrono::steady_clock::now();
  const std::uint32_t result = Read(PI::CMD_INITIALIZE, 0, adapters);
  m_StartDuration = std::chrono::steady_clock::now() - begin;
  if (result == PI::ERR_NO_SUPPORTED_HARDWARE) {
    ThrowIfUnlisted(UnresponsiveCards());
    return;
  }
  if (result != PI::SUCCESS) throw PluginFailure("cannot start the plug-in", result);
  m_HasCards = true;
  for (PI::CAdapterID& adapter : adapters) {
    adapter.m_GlobalNumber = static_cast<std::int32_t>(adapter.m_AdapterNumber) + 1;
  }
  const std::uint32_t numbered = Read(PI::CMD_SET_ADAPTER_IDS, 0, adapters);
  if (numbered != PI::SUCCESS) throw PluginFailure("cannot assign adapter numbers", numbered);
}

void CommandSession::CollectPendingEvents() noexcept {
  try {
    if (m_PluginID != 0) CollectEvents();
  } catch (const std::exception&) {
  }
}

// Moves the payload of the reply into `record` and returns the result.
template <class Record>
std::uint32_t CommandSession::UnpackReply(std::optional<PluginReply> reply, Record& record) {
  record = std::get<Record>(std::move(reply->m_Payload));
  m_CardError = std::move(reply->m_CardError);
  return reply->m_Result;
}

template <class Record>
std::uint32_t CommandSession::Read(PI::_COMMAND command, std::uint64_t object, Record& record) {
  auto reply = Call({command, object, std::move(record)}, m_Limits.ForCall(), OnStop::Abandon);
  if (reply) return UnpackReply(std::move(reply), record);
  Abandon();
  ThrowReadTimeout();
}

template <class Record>
std::uint32_t CommandSession::Change(PI::_COMMAND command, std::uint64_t object, Record& record,
                                     const Deadline& deadline) {
  auto reply = Call({command, object, std::move(record)}, deadline, OnStop::Continue);
  if (reply) return UnpackReply(std::move(reply), record);
  Abandon();
  throw TimeoutFailure("The command may still take effect; check with show.");
}

template <class Record>
Record CommandSession::Require(const char* what, PI::_COMMAND command, std::uint64_t object,
                               Record record) {
  const std::uint32_t result = Read(command, object, record);
  if (result != PI::SUCCESS) throw PluginFailure(what, result);
  return record;
}

std::vector<PI::CObject> CommandSession::Topology() {
  auto objects =
      Require<std::vector<PI::CObject>>("cannot read the topology", PI::CMD_GET_TOPOLOGY, 0);
  if (!objects.empty()) m_PluginID = objects.front().m_ID;
  m_TimeTracker.Update(WithoutReadings(objects, UnresponsiveCards()), NowMs());
  m_EventLog.RememberObjects(objects);
  return objects;
}

std::vector<PI::CProperty> CommandSession::Properties(std::uint64_t object) {
  return Require<std::vector<PI::CProperty>>("cannot read properties", PI::CMD_GET_PROPERTIES,
                                             object);
}

std::vector<PI::CProperty> CommandSession::Property(std::uint64_t object, std::uint32_t property) {
  PI::CProperty record(static_cast<PI::_PROPERTY_ID>(property), false);
  const std::uint32_t result = Read(PI::CMD_GET_PROPERTY, object, record);
  if (result == PI::ERR_GENERAL) return {};
  if (result != PI::SUCCESS) throw PluginFailure("cannot read a property", result);
  return {record};
}

std::uint32_t CommandSession::SetProperty(std::uint64_t object, PI::CProperty& property) {
  return Change(PI::CMD_SET_PROPERTY, object, property, Deadline(m_Limits.m_Call));
}

std::vector<PI::COperation> CommandSession::Operations(std::uint64_t object) {
  return Require<std::vector<PI::COperation>>("cannot read operations", PI::CMD_GET_OPERATIONS,
                                              object);
}

std::uint32_t CommandSession::CheckOperation(std::uint64_t object, PI::COperation& operation) {
  return Read(PI::CMD_CHECK_OPERATION, object, operation);
}

std::uint32_t CommandSession::ExecuteOperation(std::uint64_t object, PI::COperation& operation) {
  m_HasExecutedOperation = true;
  return Change(PI::CMD_EXECUTE_OPERATION, object, operation,
                Deadline(IsFormat(operation) ? m_Limits.m_Format : m_Limits.m_Call));
}

// Reads the topology to get the id of the plug-in object, which is always the first one. Reads it
// again if an event is about an unknown object, such as a card that was just added.
std::vector<LoggedEvent> CommandSession::CollectEvents() {
  if (m_PluginID == 0) Topology();
  if (m_PluginID == 0) return {};
  PI::COperation operation;
  operation.m_OperationID = PI::OP_GET_EVENTS;
  const std::vector<PI::CEvent> events =
      Require("cannot collect events", PI::CMD_EXECUTE_OPERATION, m_PluginID, operation).m_Events;
  if (!m_EventLog.KnowsObjectsOf(events)) Topology();
  return m_EventLog.Record(events);
}

}  // namespace Console
