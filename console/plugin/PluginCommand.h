// The commands of the plug-in interface as values, so that another process can execute them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "console/plugin/CardError.h"
#include "host/PluginInterface.h"

namespace Console {

// The record to which a command's payload points, by value. `std::monostate` is a null pointer.
using Payload = std::variant<std::monostate, std::vector<PI::CAdapterID>, std::vector<PI::CObject>,
                             std::vector<PI::CProperty>, PI::CProperty, std::vector<PI::COperation>,
                             PI::COperation>;

// One call of `IPLUGINAPI::Execute`.
struct PluginCommand {
  PI::_COMMAND m_Command = PI::CMD_INITIALIZE;
  std::uint64_t m_Object = 0;
  Payload m_Payload;
};

// The result of the call, and the payload after the plug-in has filled or changed it.
struct PluginReply {
  std::uint32_t m_Result = PI::SUCCESS;
  Payload m_Payload;
  // The failed call to the card library, if the command failed because of one. After the check of
  // an attach or detach, also the error of the last one that failed.
  std::optional<CardError> m_CardError = std::nullopt;
};

// A command of the interface.
struct CommandRow {
  PI::_COMMAND m_Command;
  const char* m_Name;
  Payload (*m_EmptyPayload)();  // returns an empty record of the type that the command expects
};

// Return the command with that number or name, or null if the interface has no such command.
const CommandRow* FindCommand(std::uint32_t command);
const CommandRow* FindCommand(const std::string& name);

// Whether the command may change a card or a property.
bool IsChange(const PluginCommand& command);

// Whether the command formats a drive, which takes as long as the card needs.
bool IsFormat(const PluginCommand& command);
bool IsFormat(const PI::COperation& operation);

// Calls `IPLUGINAPI::Execute` with the command. The check of a format with parameters also checks
// them with the card. Thread-safe.
PluginReply Execute(IPLUGINAPI& plugin, PluginCommand command);

}  // namespace Console
