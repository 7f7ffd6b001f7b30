// Entry points, module information, command dispatch, and routing of commands to the handlers of an
// object.

#include "Corvane/Src/Corvane.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>

#include "Corvane/Src/PollInterval.h"
#include "Corvane/Src/RecordSearch.h"
#include "Corvane/Src/Trace.h"

namespace NAMESPACE_Corvane {

namespace NLS {
namespace {

const char* g_DefaultTexts[] = {
    "General error in Corvane plugin",
    "No information available for this error",
};

}  // namespace

MBX::Language_Support::CLanguageSupport::CLngFile m_LngFile("Corvane.nls", 25966, "utf-8", 1,
                                                            g_DefaultTexts,
                                                            std::size(g_DefaultTexts));

}  // namespace NLS

namespace {

// Returns a message list of four 64-bit values: the code of a message, followed by zeros. Copies
// bytes because member names may differ between versions of the toolkit.
template <class List>
List MessageList(std::uint64_t code) {
  static_assert(sizeof(List) == 4 * sizeof code && std::is_trivially_copyable_v<List>);
  List list = {};
  std::memcpy(&list, &code, sizeof code);
  return list;
}

}  // namespace

MBX::Language_Support::CLanguageSupport::ERROR_MSG_LIST ErrorMsgList =
    MessageList<decltype(ErrorMsgList)>(0x21300001);

// Must be defined after the two objects that it points to.
MBX::Misc::CModuleInfo MBX_MODULE_INFO_Corvane(kModuleNumber, "Corvane", "P:7.7.0 F:7.7.0",
                                               &NLS::m_LngFile, &ErrorMsgList);

IPLUGINAPI_IMPL* g_p_IPLUGINAPI_IMPL = nullptr;

namespace {

constexpr std::uint32_t kInterfaceVersion = 2;
constexpr std::size_t kDevicePathCapacity = 4096;  // PATH_MAX on Linux

// Runs a command that fills a list, and clears the list if the command fails.
template <class Element, class Command>
unsigned int FillList(void* payload, Command command) {
  auto& list = *static_cast<std::vector<Element>*>(payload);
  const unsigned int result = command(list);
  if (result != PI::SUCCESS) list.clear();
  return result;
}

template <class Record>
Record& As(void* payload) {
  return *static_cast<Record*>(payload);
}

}  // namespace

IPLUGINAPI_IMPL::IPLUGINAPI_IMPL() {
  m_InterfaceVersion = kInterfaceVersion;
  m_ModuleID = 0;
  m_HostNotify = decltype(m_HostNotify)();
  m_Database = getDatabasePointer();
  m_ConfigFile.SetFileName("Corvane.ini");
  std::string pollInterval;
  if (m_ConfigFile.ReadKeyValue("PollInterval", pollInterval, -1, -1) == 0) {
    m_PollInterval = ParsePollInterval(pollInterval);
  }
  // Jobs write these strings while other threads read them; with enough capacity for any path, the
  // text is never reallocated.
  m_AttachDevice.reserve(kDevicePathCapacity);
  m_DetachDevice.reserve(kDevicePathCapacity);
}

IPLUGINAPI_IMPL::~IPLUGINAPI_IMPL() {
  m_pAttachThread.reset();
  m_pDetachThread.reset();
  m_pWorkerThread.reset();
}

unsigned int IPLUGINAPI_IMPL::Execute(PI::_COMMAND command, unsigned long objectId, void* payload) {
  switch (static_cast<std::uint32_t>(command)) {
    case PI::CMD_INITIALIZE:
      return FillList<PI::CAdapterID>(payload, [&](auto& list) { return Initialize(list); });
    case PI::CMD_SET_ADAPTER_IDS:
      return SetAdapterIDs(As<std::vector<PI::CAdapterID>>(payload));
    case PI::CMD_DEINITIALIZE:
      return DeInitialize();
    case PI::CMD_GET_TOPOLOGY:
      return FillList<PI::CObject>(payload, [&](auto& list) { return GetTopology(list); });
    case PI::CMD_GET_PROPERTIES:
      return FillList<PI::CProperty>(payload,
                                     [&](auto& list) { return GetProperties(objectId, list); });
    case PI::CMD_GET_PROPERTY:
      return GetProperty(objectId, As<PI::CProperty>(payload));
    case PI::CMD_SET_PROPERTY:
      return SetProperty(objectId, As<PI::CProperty>(payload));
    case PI::CMD_GET_OPERATIONS:
      return FillList<PI::COperation>(payload,
                                      [&](auto& list) { return GetOperations(objectId, list); });
    case PI::CMD_CHECK_OPERATION:
      return CheckOperation(objectId, As<PI::COperation>(payload));
    case PI::CMD_EXECUTE_OPERATION:
      return ExecuteOperation(objectId, As<PI::COperation>(payload));
  }
  return PI::ERR_INVALID_COMMAND;
}

template <class... Arguments>
IPLUGINAPI_IMPL::RouteResult IPLUGINAPI_IMPL::Route(unsigned long objectId,
                                                    const Handlers<Arguments...>& handlers,
                                                    const CountTrace& trace,
                                                    Arguments... arguments) {
  TRACE_AS(trace.m_Function);
  const auto idOf = [](const PI::CObject& object) { return object.m_ID; };

  if (m_Plugin.m_ID == objectId)
    return {(this->*handlers.m_Plugin)(m_Plugin, arguments...), &m_Plugin};

  if (trace.m_Adapters != nullptr) TRACE(TRACE_FLOW, trace.m_Adapters, m_Adapters.size());
  // An id found among the drives need not be searched for in all adapters.
  const bool isDrive = TryToFind(m_PhysicalDrives, objectId, idOf) != nullptr;
  CFusionIOAdapter* const adapter = isDrive ? nullptr : Find(m_Adapters, objectId, idOf);
  if (adapter != nullptr) {
    return {(this->*handlers.m_Adapter)(*adapter, arguments...), adapter};
  }

  if (trace.m_PhysicalDrives != nullptr) {
    TRACE(TRACE_FLOW, trace.m_PhysicalDrives, m_PhysicalDrives.size());
  }
  CFusionIOPhysicalDrive* const drive = Find(m_PhysicalDrives, objectId, idOf);
  if (drive != nullptr) {
    return {(this->*handlers.m_PhysicalDrive)(*drive, arguments...), drive};
  }
  return {PI::ERR_INVALID_OBJECT_ID, nullptr};
}

IPLUGINAPI_IMPL::RouteResult IPLUGINAPI_IMPL::RouteProperties(
    unsigned long objectId, const CountTrace& trace, std::vector<PI::CProperty>& properties,
    unsigned int propertyId) {
  static constexpr Handlers<std::vector<PI::CProperty>&, unsigned int> kHandlers = {
      &IPLUGINAPI_IMPL::GetPluginProperties, &IPLUGINAPI_IMPL::GetAdapterProperties,
      &IPLUGINAPI_IMPL::GetPhysicalDriveProperties};
  return Route<std::vector<PI::CProperty>&, unsigned int>(objectId, kHandlers, trace, properties,
                                                          propertyId);
}

unsigned int IPLUGINAPI_IMPL::GetProperties(unsigned long objectId,
                                            std::vector<PI::CProperty>& properties) {
  TRACED_GUARD(m_DataLock);
  static constexpr CountTrace kTrace = {"GetProperties", "GetProperties() Adapter = %d",
                                        "GetProperties() PhysicalDrives = %d"};
  return RouteProperties(objectId, kTrace, properties, PI::Property::UNDEFINED).m_Result;
}

// Uses a separate list, so that the payload is unchanged if the object does not have the property.
// Increments the object's change count either way.
unsigned int IPLUGINAPI_IMPL::GetProperty(unsigned long objectId, PI::CProperty& property) {
  TRACED_GUARD(m_DataLock);
  static constexpr CountTrace kTrace = {"GetProperty", "GetProperty() Adapter = %d",
                                        "GetProperty() PhysicalDrives = %d"};
  std::vector<PI::CProperty> found;
  const RouteResult routed = RouteProperties(objectId, kTrace, found, property.m_PropertyID);
  if (routed.m_pObject != nullptr) ++routed.m_pObject->m_ChangeCount;
  if (routed.m_Result != PI::SUCCESS) return routed.m_Result;
  if (found.empty()) return PI::ERR_GENERAL;
  property = found.front();
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::SetProperty(unsigned long objectId, PI::CProperty& property) {
  TRACED_GUARD(m_DataLock);
  static constexpr Handlers<PI::CProperty&> kHandlers = {
      &IPLUGINAPI_IMPL::SetPluginProperty, &IPLUGINAPI_IMPL::SetAdapterProperty,
      &IPLUGINAPI_IMPL::SetPhysicalDriveProperty};
  return Route<PI::CProperty&>(objectId, kHandlers, {}, property).m_Result;
}

unsigned int IPLUGINAPI_IMPL::GetOperations(unsigned long objectId,
                                            std::vector<PI::COperation>& operations) {
  TRACE(TRACE_RESULT, "ENTER GetOperations object=0x%x", objectId);
  TRACED_GUARD(m_DataLock);
  static constexpr Handlers<std::vector<PI::COperation>&> kHandlers = {
      &IPLUGINAPI_IMPL::GetPluginOperations, &IPLUGINAPI_IMPL::GetAdapterOperations,
      &IPLUGINAPI_IMPL::GetPhysicalDriveOperations};
  const unsigned int result =
      Route<std::vector<PI::COperation>&>(objectId, kHandlers, {}, operations).m_Result;
  TRACE(TRACE_RESULT, "ENTER GetOperations ret=%d", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::CheckOperation(unsigned long objectId, PI::COperation& operation) {
  TRACE(TRACE_LOCK, "ENTER CheckOperation operation=%d", operation.m_OperationID);
  TRACED_GUARD(m_DataLock);
  static constexpr Handlers<PI::COperation&> kHandlers = {
      &IPLUGINAPI_IMPL::CheckPluginOperation, &IPLUGINAPI_IMPL::CheckAdapterOperation,
      &IPLUGINAPI_IMPL::CheckPhysicalDriveOperation};
  const unsigned int result = Route<PI::COperation&>(objectId, kHandlers, {}, operation).m_Result;
  TRACE(TRACE_LOCK, "LEAVE CheckOperation(%d)", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::ExecuteOperation(unsigned long objectId, PI::COperation& operation) {
  TRACED_GUARD(m_DataLock);
  static constexpr Handlers<PI::COperation&> kHandlers = {
      &IPLUGINAPI_IMPL::ExecutePluginOperation, &IPLUGINAPI_IMPL::ExecuteAdapterOperation,
      &IPLUGINAPI_IMPL::ExecutePhysicalDriveOperation};
  return Route<PI::COperation&>(objectId, kHandlers, {}, operation).m_Result;
}

}  // namespace NAMESPACE_Corvane

unsigned int createIf(IPLUGINAPI** instance) {
  using namespace NAMESPACE_Corvane;
  namespace PI = NAMESPACE_Corvane::PI;
  IPLUGINAPI_IMPL* plugin = nullptr;
  try {
    plugin = new (std::nothrow) IPLUGINAPI_IMPL;
  } catch (const std::bad_alloc&) {
    // There is not enough memory for the members of the plug-in.
  }
  *instance = plugin;
  if (plugin == nullptr) return PI::ERR_MEMORY_ERROR;
  plugin->m_ModuleID = MBX_MODULE_INFO_Corvane.m_Module;
  g_p_IPLUGINAPI_IMPL = plugin;
  return PI::SUCCESS;
}

void releaseIf(IPLUGINAPI** instance) {
  delete *instance;
  *instance = nullptr;
  NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL = nullptr;
}
