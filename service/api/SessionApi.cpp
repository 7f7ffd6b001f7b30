#include "service/api/SessionApi.h"

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "console/plugin/RecordJson.h"
#include "hostkit/Texts.h"
#include "service/Log.h"
#include "service/api/Documents.h"

namespace Service {
namespace {

using Console::PluginCommand;
using Console::PluginReply;
using Http::MakeProblem;
using Http::Response;
using Json = nlohmann::json;

Response MakeReply(const PluginReply& reply) {
  return Http::MakeResponse(200, kJsonType, JsonText(Console::ToJson(reply)));
}

// The property as the snapshot has it; else the request unchanged, as the plug-in leaves it.
PluginReply ReadProperty(const PI::CObject& object, const PluginCommand& command) {
  const auto& wanted = std::get<PI::CProperty>(command.m_Payload);
  const PI::CProperty* const found = FindProperty(object, wanted.m_PropertyID);
  if (found == nullptr) return {PI::ERR_GENERAL, command.m_Payload};
  return {PI::SUCCESS, *found};
}

// Empty for a command that the snapshot does not answer.
std::optional<PluginReply> ReadSnapshot(const Snapshot& snapshot, const PluginCommand& command) {
  if (command.m_Command == PI::CMD_GET_TOPOLOGY) {
    return PluginReply{PI::SUCCESS, snapshot.m_Objects};
  }
  const PI::CObject* const object = snapshot.Find(command.m_Object);
  if (object == nullptr) return std::nullopt;
  switch (command.m_Command) {
    case PI::CMD_GET_PROPERTIES:
      return PluginReply{PI::SUCCESS, object->m_Properties};
    case PI::CMD_GET_PROPERTY:
      return ReadProperty(*object, command);
    case PI::CMD_GET_OPERATIONS:
      return PluginReply{PI::SUCCESS, object->m_Operations};
    default:
      return std::nullopt;
  }
}

std::string NameOrNumber(HostKit::Family family, std::uint32_t number) {
  const std::string name = HostKit::NameOf(family, number);
  return name.empty() ? std::to_string(number) : name;
}

bool IsChange(const PluginCommand& command) {
  return command.m_Command == PI::CMD_SET_PROPERTY ||
         command.m_Command == PI::CMD_EXECUTE_OPERATION;
}

// "OP_LOCATE on object 0x130000000000002".
std::string ChangeText(const PluginCommand& command) {
  using HostKit::Family;
  std::string name;
  if (const auto* operation = std::get_if<PI::COperation>(&command.m_Payload)) {
    name = NameOrNumber(Family::Operation, operation->m_OperationID);
  } else if (const auto* property = std::get_if<PI::CProperty>(&command.m_Payload)) {
    name = NameOrNumber(Family::Property, property->m_PropertyID);
  }
  return fmt::format("{} on object {:#x}", name, command.m_Object);
}

// Only the service starts and stops the plug-in and collects its events.
bool IsReserved(const PluginCommand& command) {
  if (command.m_Command <= PI::CMD_DEINITIALIZE) return true;
  const auto* operation = std::get_if<PI::COperation>(&command.m_Payload);
  return operation != nullptr && operation->m_OperationID == PI::OP_GET_EVENTS;
}

// A format takes as long as the card needs.
Console::Deadline DeadlineOf(const PluginCommand& command, std::chrono::milliseconds timeout) {
  const auto* operation = std::get_if<PI::COperation>(&command.m_Payload);
  const bool isFormat = command.m_Command == PI::CMD_EXECUTE_OPERATION && operation != nullptr &&
                        operation->m_OperationID == PI::OP_FORMAT_DEVICE;
  return isFormat ? Console::Deadline() : Console::Deadline(timeout);
}

Response CallPlugin(const ApiContext& api, const PluginCommand& command) {
  const Collector& collector = api.m_Collector;
  const auto reply = collector.Call(command, DeadlineOf(command, api.m_CallTimeout));
  collector.RequestRefresh();
  if (!reply && !collector.IsRunning()) {
    return MakeProblem(503, "PLUGIN_DOWN", "the plug-in is not running");
  }
  if (!reply) {
    return MakeProblem(504, "TIMED_OUT", "the plug-in does not respond",
                       "The command may still take effect.");
  }
  return MakeReply(*reply);
}

}  // namespace

Http::Reply GetSession(const ApiContext& api, const Http::Request&) {
  const SnapshotPtr snapshot = api.m_Store.Get();
  const PluginState& plugin = snapshot->m_Plugin;
  if (!snapshot->HasReport()) return MakeDownProblem(plugin);
  return MakeJson(200, {{"plugin", Console::ToJson(snapshot->m_Info)},
                        {"up", plugin.m_IsUp},
                        {"reason", plugin.m_Reason},
                        {"has_cards", snapshot->m_HasCards},
                        {"lost_threads", plugin.m_LostThreads},
                        {"start_seconds", plugin.m_StartDuration.count()}});
}

Http::Reply PostSession(const ApiContext& api, const Http::Request& request) {
  PluginCommand command;
  try {
    command = Console::CommandFromJson(Json::parse(request.m_Body));
  } catch (const Json::exception&) {
    return MakeProblem(400, "BODY_INVALID", "the body is not a JSON document");
  } catch (const Console::RecordError& error) {
    return MakeProblem(400, "BODY_INVALID", error.what());
  }
  if (IsReserved(command)) {
    return MakeProblem(409, "RESERVED",
                       "the service starts and stops the plug-in and collects its events");
  }
  if (IsChange(command) && !request.m_MayChange) {
    return MakeProblem(403, "PERMISSION_DENIED", "this user is not permitted to make changes");
  }
  const SnapshotPtr snapshot = api.m_Store.Get();
  if (!snapshot->HasReport()) return MakeDownProblem(snapshot->m_Plugin);
  if (const auto reply = ReadSnapshot(*snapshot, command)) return MakeReply(*reply);
  if (IsChange(command)) LogChange(request.m_Peer, ChangeText(command));
  return AnswerLater(api,
                     [&api, command = std::move(command)] { return CallPlugin(api, command); });
}

}  // namespace Service
