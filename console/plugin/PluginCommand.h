// The commands of the plug-in interface as values, so that another process can execute them.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "host/PluginInterface.h"

namespace Console {

// What a command's payload points to, by value. `std::monostate` is a null pointer.
using Payload = std::variant<std::monostate, std::vector<PI::CAdapterID>, std::vector<PI::CObject>,
                             std::vector<PI::CProperty>, PI::CProperty, std::vector<PI::COperation>,
                             PI::COperation>;

// One call of `IPLUGINAPI::Execute`.
struct PluginCommand {
  PI::_COMMAND m_Command = PI::CMD_INITIALIZE;
  std::uint64_t m_Object = 0;
  Payload m_Payload;
};

// What the call returned, with the payload as the plug-in left it.
struct PluginReply {
  std::uint32_t m_Result = PI::SUCCESS;
  Payload m_Payload;
};

// A row per command of the interface.
struct CommandRow {
  PI::_COMMAND m_Command;
  const char* m_Name;
  Payload (*m_EmptyPayload)();  // of the kind that the command expects
};

// The row of a number or of a name; null if the interface has no such command.
const CommandRow* FindCommand(std::uint32_t command);
const CommandRow* FindCommand(const std::string& name);

// Whether the command may change something.
bool IsChange(const PluginCommand& command);

// Calls the plug-in. From any thread, as `IPLUGINAPI::Execute`.
PluginReply Execute(IPLUGINAPI& plugin, PluginCommand command);

}  // namespace Console
