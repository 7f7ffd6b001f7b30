#include "service/Audit.h"

#include <fmt/format.h>

#include <chrono>
#include <variant>

#include "console/base/Duration.h"
#include "console/model/FieldTable.h"
#include "console/model/Model.h"
#include "hostkit/Texts.h"

namespace Service {
namespace {

using HostKit::Family;

std::string NameOrNumber(Family family, std::uint32_t number) {
  const std::string name = HostKit::NameOf(family, number);
  return name.empty() ? std::to_string(number) : name;
}

std::string ObjectText(const Snapshot& snapshot, std::uint64_t id) {
  const Console::Model model = ModelOf(snapshot);
  const Console::Object* const object = model.Find(id);
  if (object == nullptr) return Console::IdText(id);
  const std::string serial = Console::SerialOf(model, *object);
  return fmt::format("{} ({}{}{})", object->m_Selector, serial, serial.empty() ? "" : ", ",
                     Console::IdText(id));
}

std::string ArgumentText(const PI::CProperty& argument) {
  const std::string name = NameOrNumber(Family::Property, argument.m_NameID);
  const bool isChoice = argument.m_PropertyID == PI::Property::CHOICE_PARAM;
  const auto choice = static_cast<std::uint32_t>(argument.m_Value.m_Choice.m_Value);
  return fmt::format(
      ", {}={}", name,
      isChoice ? NameOrNumber(Family::Value, choice) : std::to_string(argument.m_Value.m_Integer));
}

std::string CardText(const Snapshot& snapshot, const std::string& serial) {
  const Console::Model model = ModelOf(snapshot);
  for (const Console::Object& object : model.Objects()) {
    const bool isCard = object.m_Kind == Console::Kind::Adapter;
    if (!isCard || Console::FieldText(object, "serial_number") != serial) continue;
    return fmt::format("{} ({})", object.m_Selector, serial);
  }
  return serial;
}

const char* EndText(JobState state) {
  if (state == JobState::Interrupted) return "was interrupted";
  return state == JobState::Succeeded ? "has succeeded" : "has failed";
}

}  // namespace

std::string ChangeText(const Snapshot& snapshot, const Console::PluginCommand& command) {
  std::string name, arguments;
  if (const auto* operation = std::get_if<PI::COperation>(&command.m_Payload)) {
    name = NameOrNumber(Family::Operation, operation->m_OperationID);
    for (const PI::CProperty& argument : operation->m_Properties)
      arguments += ArgumentText(argument);
  } else if (const auto* property = std::get_if<PI::CProperty>(&command.m_Payload)) {
    name = NameOrNumber(Family::Property, property->m_PropertyID);
  }
  return fmt::format("{} on {}{}", name, ObjectText(snapshot, command.m_Object), arguments);
}

std::string JobEndText(const Snapshot& snapshot, const Job& job) {
  using std::chrono::milliseconds;
  const auto elapsed = std::chrono::duration_cast<milliseconds>(job.m_Ended - job.m_Started);
  const std::string text =
      fmt::format("{}{} of {} by {} {} after {}", job.m_Operation,
                  job.m_IsDryRun ? " (dry run)" : "", CardText(snapshot, job.m_Serial),
                  job.m_Client.m_User, EndText(job.m_State), Console::ElapsedText(elapsed));
  const std::string cause = job.m_State == JobState::Succeeded ? "" : CauseOf(job.m_Result);
  return cause.empty() ? text : text + ": " + cause;
}

std::string CauseOf(const nlohmann::ordered_json& problem) {
  if (!problem.is_object()) return {};
  const auto detail = problem.find("detail");
  return detail != problem.end() && detail->is_string() ? detail->get<std::string>() : "";
}

}  // namespace Service
