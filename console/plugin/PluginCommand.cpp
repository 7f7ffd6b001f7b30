#include "console/plugin/PluginCommand.h"

#include <string>
#include <utility>

#include "console/plugin/FormatTrial.h"

namespace Console {
namespace {

template <class Record>
Payload Empty() {
  return Payload(Record());
}

Payload EmptyProperty() {
  return Payload(PI::CProperty(static_cast<PI::_PROPERTY_ID>(0), false));
}

using AdapterIDs = std::vector<PI::CAdapterID>;
using Objects = std::vector<PI::CObject>;
using Properties = std::vector<PI::CProperty>;
using Operations = std::vector<PI::COperation>;

constexpr CommandRow kCommands[] = {
    {PI::CMD_INITIALIZE, "INITIALIZE", Empty<AdapterIDs>},
    {PI::CMD_SET_ADAPTER_IDS, "SET_ADAPTER_IDS", Empty<AdapterIDs>},
    {PI::CMD_DEINITIALIZE, "DEINITIALIZE", Empty<std::monostate>},
    {PI::CMD_GET_TOPOLOGY, "GET_TOPOLOGY", Empty<Objects>},
    {PI::CMD_GET_PROPERTIES, "GET_PROPERTIES", Empty<Properties>},
    {PI::CMD_GET_PROPERTY, "GET_PROPERTY", EmptyProperty},
    {PI::CMD_SET_PROPERTY, "SET_PROPERTY", EmptyProperty},
    {PI::CMD_GET_OPERATIONS, "GET_OPERATIONS", Empty<Operations>},
    {PI::CMD_CHECK_OPERATION, "CHECK_OPERATION", Empty<PI::COperation>},
    {PI::CMD_EXECUTE_OPERATION, "EXECUTE_OPERATION", Empty<PI::COperation>},
};

void* PointerTo(std::monostate&) {
  return nullptr;
}

template <class Record>
void* PointerTo(Record& record) {
  return &record;
}

// Whether the operation is a job that continues after the plug-in's reply.
bool IsJob(const PI::COperation* operation) {
  if (operation == nullptr) return false;
  const std::uint32_t number = operation->m_OperationID;
  return number == PI::OP_ATTACH || number == PI::OP_DETACH || number == PI::OP_FORCE_DETACH;
}

}  // namespace

const CommandRow* FindCommand(std::uint32_t command) {
  for (const CommandRow& row : kCommands) {
    if (row.m_Command == command) return &row;
  }
  return nullptr;
}

const CommandRow* FindCommand(const std::string& name) {
  for (const CommandRow& row : kCommands) {
    if (row.m_Name == name) return &row;
  }
  return nullptr;
}

bool IsChange(const PluginCommand& command) {
  return command.m_Command == PI::CMD_SET_PROPERTY ||
         command.m_Command == PI::CMD_EXECUTE_OPERATION;
}

bool IsFormat(const PluginCommand& command) {
  const auto* operation = std::get_if<PI::COperation>(&command.m_Payload);
  return command.m_Command == PI::CMD_EXECUTE_OPERATION && operation != nullptr &&
         IsFormat(*operation);
}

bool IsFormat(const PI::COperation& operation) {
  return operation.m_OperationID == PI::OP_FORMAT_DEVICE;
}

PluginReply Execute(IPLUGINAPI& plugin, PluginCommand command) {
  const CardErrorScope errors;
  void* const payload =
      std::visit([](auto& record) { return PointerTo(record); }, command.m_Payload);
  const auto* operation = std::get_if<PI::COperation>(&command.m_Payload);
  const bool isCheck = command.m_Command == PI::CMD_CHECK_OPERATION;
  const bool isJob = IsJob(operation);
  if (isJob && !isCheck) ForgetJobError();
  std::uint32_t result = plugin.Execute(command.m_Command, command.m_Object, payload);
  if (result == PI::SUCCESS && isCheck && operation != nullptr && IsFormat(*operation)) {
    result = TryFormat(plugin, command.m_Object, *operation);
  }
  PluginReply reply = {result, std::move(command.m_Payload)};
  if (result != PI::SUCCESS) reply.m_CardError = errors.Last();
  if (isCheck && isJob && !reply.m_CardError) reply.m_CardError = LastJobError();
  return reply;
}

}  // namespace Console
