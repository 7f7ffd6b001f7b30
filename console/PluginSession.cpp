#include "console/PluginSession.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include "console/Failure.h"
#include "console/Stop.h"

namespace Console {

Bell::Bell() : m_Fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Bell::~Bell() {
  close(m_Fd);
}

void Bell::Ring() const {
  // Full only after 2^64 rings, and then it rings anyway.
  if (eventfd_write(m_Fd, 1) != 0) return;
}

bool Bell::Wait(std::chrono::milliseconds atMost, const Interest& also) const {
  if (!WaitReadable(m_Fd, atMost, also)) return false;
  eventfd_t rings = 0;
  return eventfd_read(m_Fd, &rings) == 0;
}

PluginSession::PluginSession(const std::filesystem::path& file, History& history)
    : m_Library(file), m_Plugin(m_Library), m_History(history) {
  m_Plugin->m_HostNotify = [this](IPLUGINAPI*) { m_Bell.Ring(); };
  Start();
}

// Without a card nothing was started that would have to be stopped.
PluginSession::~PluginSession() {
  if (!m_HasCards) return;
  CollectTheRest();
  m_Plugin->Execute(PI::CMD_DEINITIALIZE, 0, nullptr);
}

// The answer does not depend on it, so a plug-in that refuses is let go.
void PluginSession::CollectTheRest() noexcept {
  try {
    if (m_PluginID != 0) CollectEvents();
  } catch (const std::exception&) {
  }
}

// The host's numbers count from 1; people see them in the adapters' names.
void PluginSession::Start() {
  std::vector<PI::CAdapterID> adapters;
  const std::uint32_t result = m_Plugin->Execute(PI::CMD_INITIALIZE, 0, &adapters);
  if (result == PI::ERR_NO_SUPPORTED_HARDWARE) return;
  if (result != PI::SUCCESS) throw PluginFailure("starting the plug-in", result);
  m_HasCards = true;
  for (PI::CAdapterID& adapter : adapters) {
    adapter.m_GlobalNumber = static_cast<std::int32_t>(adapter.m_AdapterNumber) + 1;
  }
  m_Plugin->Execute(PI::CMD_SET_ADAPTER_IDS, 0, &adapters);
}

void PluginSession::Require(const char* what, PI::_COMMAND command, std::uint64_t object,
                            void* payload) {
  const std::uint32_t result = m_Plugin->Execute(command, object, payload);
  if (result != PI::SUCCESS) throw PluginFailure(what, result);
}

PluginInfo PluginSession::Info() const {
  return {m_Library.m_File, m_Plugin->m_ModuleID, m_Plugin->m_InterfaceVersion};
}

std::vector<PI::CObject> PluginSession::Topology() {
  std::vector<PI::CObject> objects;
  Require("reading the topology", PI::CMD_GET_TOPOLOGY, 0, &objects);
  if (!objects.empty()) m_PluginID = objects.front().m_ID;
  m_History.Learn(objects);
  return objects;
}

std::vector<PI::CProperty> PluginSession::Properties(std::uint64_t object) {
  std::vector<PI::CProperty> properties;
  Require("reading properties", PI::CMD_GET_PROPERTIES, object, &properties);
  return properties;
}

std::vector<PI::CProperty> PluginSession::Property(std::uint64_t object, std::uint32_t property) {
  PI::CProperty record(static_cast<PI::_PROPERTY_ID>(property), false);
  const std::uint32_t result = m_Plugin->Execute(PI::CMD_GET_PROPERTY, object, &record);
  if (result == PI::ERR_GENERAL) return {};
  if (result != PI::SUCCESS) throw PluginFailure("reading a property", result);
  return {record};
}

std::uint32_t PluginSession::SetProperty(std::uint64_t object, PI::CProperty& property) {
  return m_Plugin->Execute(PI::CMD_SET_PROPERTY, object, &property);
}

std::vector<PI::COperation> PluginSession::Operations(std::uint64_t object) {
  std::vector<PI::COperation> operations;
  Require("reading operations", PI::CMD_GET_OPERATIONS, object, &operations);
  return operations;
}

std::uint32_t PluginSession::CheckOperation(std::uint64_t object, PI::COperation& operation) {
  return m_Plugin->Execute(PI::CMD_CHECK_OPERATION, object, &operation);
}

std::uint32_t PluginSession::ExecuteOperation(std::uint64_t object, PI::COperation& operation) {
  return m_Plugin->Execute(PI::CMD_EXECUTE_OPERATION, object, &operation);
}

// The plug-in object is always the first of the topology. An event may be about a card that has
// come since, or is the last to speak of one that has gone.
std::vector<LoggedEvent> PluginSession::CollectEvents() {
  if (m_PluginID == 0) Topology();
  if (m_PluginID == 0) return {};
  PI::COperation operation;
  operation.m_OperationID = PI::OP_GET_EVENTS;
  Require("collecting events", PI::CMD_EXECUTE_OPERATION, m_PluginID, &operation);
  if (!m_History.KnowsAll(operation.m_Events)) Topology();
  return m_History.Record(operation.m_Events);
}

bool PluginSession::WaitForNotification(std::chrono::milliseconds atMost, const Interest& also) {
  return m_Bell.Wait(atMost, also);
}

}  // namespace Console
