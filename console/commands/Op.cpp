// op list, op check and op run: any operation, by its name in the plug-in interface.
#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "base/Printable.h"
#include "console/base/Number.h"
#include "console/change/Confirmation.h"
#include "console/change/FormatDrive.h"
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"
#include "console/model/NameIndex.h"
#include "console/model/Selectors.h"
#include "console/plugin/UnreadableRecords.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using HostKit::Family;

// Returns the record from the plug-in's list, or a record with only the number if the plug-in does
// not list the operation.
PI::COperation RecordOf(const Object& object, std::uint32_t number) {
  for (const PI::COperation& listed : object.m_Operations) {
    if (listed.m_OperationID == number) return listed;
  }
  PI::COperation operation;
  operation.m_OperationID = number;
  operation.m_NameID = number;
  return operation;
}

// The result of checking an operation.
struct CheckedOperation {
  std::uint32_t m_Error;

  bool IsPossible() const { return m_Error == PI::SUCCESS; }
  Json Error() const { return IsPossible() ? Json() : Json(m_Error); }
  std::string Text() const {
    if (IsPossible()) return "yes";
    const std::string name = HostKit::NameOf(Family::Error, m_Error);
    return name.empty() ? std::to_string(m_Error) : name;
  }
};

CheckedOperation Check(Session& session, const Object& object, std::uint32_t number) {
  PI::COperation operation = RecordOf(object, number);
  return {session.CheckOperation(object.m_ID, operation)};
}

CommandResult ListOperations(Context& context, const Object& object) {
  CommandResult result;
  result.m_Json = {{"object", object.m_Selector}, {"operations", Json::array()}};
  result.m_Table.m_Columns = {{"NUMBER", "number", true},
                              {"NAME", "name", false},
                              {"NOW", "possible", false},
                              {"MEANING", "caption", false}};
  for (const PI::COperation& listed : object.m_Operations) {
    const std::uint32_t number = listed.m_OperationID;
    const std::string caption = HostKit::CaptionOf(Family::Operation, number);
    const CheckedOperation checked = Check(context.Open(), object, number);
    result.m_Json["operations"].push_back({{"number", number},
                                           {"name", OperationName(number)},
                                           {"caption", caption},
                                           {"possible", checked.IsPossible()},
                                           {"error", checked.Error()}});
    result.m_Table.m_Rows.push_back(
        {{TextCell(std::to_string(number)), TextCell(OperationName(number)),
          TextCell(checked.Text()), TextCell(caption)},
         std::nullopt});
  }
  if (result.m_Table.m_Rows.empty()) {
    context.m_Diagnostics.Note(
        "NO_OPERATIONS", fmt::format("the plug-in lists no operations for {}", object.m_Selector),
        {"Operations can still be checked and run by name or number."});
  }
  return result;
}

CommandResult CheckOperation(Context& context, const Object& object, std::uint32_t number) {
  const OperationRow* row = FindOperation(number);
  const CheckedOperation checked = Check(context.Open(), object, number);
  CommandResult result;
  result.m_Json = {{"object", object.m_Selector},
                   {"operation", OperationName(number)},
                   {"number", number},
                   {"possible", checked.IsPossible()},
                   {"error", checked.Error()}};
  result.m_Table.m_Columns = {
      {"OBJECT", "object", false}, {"OPERATION", "operation", false}, {"NOW", "possible", false}};
  result.m_Table.m_Rows = {
      {{TextCell(object.m_Selector), TextCell(OperationName(number)), TextCell(checked.Text())},
       std::nullopt}};
  if (checked.IsPossible()) return result;
  const std::string state =
      row == nullptr ? "" : StateOf(context.Open(), object.m_ID, row->m_Aspect);
  const Failure failure =
      CheckFailure(context.Open(), fmt::format("{} {}", OperationName(number), object.m_Selector),
                   row, state, checked.m_Error);
  context.m_Diagnostics.Error(failure.m_Id, failure.m_Text, failure.m_Advice);
  result.m_Code = failure.m_Code;
  return result;
}

struct Argument {
  std::uint32_t m_Property;
  std::string m_Name;
  std::string m_Value;
};

std::vector<std::string> PropertyNames() {
  std::vector<std::string> names;
  for (const Entry& entry : AllEntries()) {
    if (entry.m_Family == Family::Property) names.push_back(NameOf(entry));
  }
  return names;
}

Argument ParseArgument(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw UsageFailure(fmt::format("'{}' is not ARG=VALUE", text));
  }
  const std::string name = text.substr(0, equals);
  const std::uint32_t number = HostKit::NumberOf(Family::Property, name);
  if (number == 0) {
    throw UsageFailure(fmt::format("unknown argument '{}'", name),
                       DidYouMean(name, PropertyNames()));
  }
  return {number, name, text.substr(equals + 1)};
}

[[noreturn]] void ThrowInvalidValue(const Argument& argument, const std::string& allowed) {
  throw UsageFailure(fmt::format("{}: invalid value '{}'", argument.m_Name, argument.m_Value),
                     {"Valid: " + allowed});
}

std::int32_t ParseInRange(const Argument& argument, std::int32_t min, std::int32_t max) {
  const auto number = ReadNumber<std::int32_t>(argument.m_Value);
  if (number && *number >= min && *number <= max) return *number;
  ThrowInvalidValue(argument, fmt::format("{} to {}", min, max));
}

std::int32_t CapacityOf(const Argument& argument) {
  std::string names;
  for (const Capacity& row : kCapacities) {
    const std::string name =
        HostKit::NameOf(Family::Value, static_cast<std::uint32_t>(row.m_Value));
    if (boost::iequals(argument.m_Value, name) || argument.m_Value == std::to_string(row.m_Value)) {
      return row.m_Value;
    }
    names += (names.empty() ? "" : ", ") + name;
  }
  ThrowInvalidValue(argument, names);
}

FormatRequest RequestOf(const std::vector<Argument>& arguments) {
  FormatRequest request;
  for (const Argument& argument : arguments) {
    switch (argument.m_Property) {
      case PI::Property::FORMATTING:
        request.m_Capacity = CapacityOf(argument);
        break;
      case PI::Property::SIZE:
        request.m_Percent = ParseInRange(argument, kMinPercent, kMaxPercent);
        break;
      case PI::Property::BLOCK_SIZE:
        request.m_SectorSize =
            static_cast<std::uint32_t>(ParseInRange(argument, 1, kMaxSectorSize));
        break;
      default:
        throw UsageFailure(
            fmt::format("OP_FORMAT_DEVICE does not accept argument '{}'", argument.m_Name),
            {"Valid: FORMATTING, SIZE, BLOCK_SIZE"});
    }
  }
  return request;
}

// Integers are passed as numbers, value names as choices, and everything else as text.
PI::CProperty Parameter(const Argument& argument) {
  PI::CProperty parameter(PI::Property::CHOICE_PARAM, true);
  parameter.m_NameID = argument.m_Property;
  const std::uint32_t value = HostKit::NumberOf(Family::Value, argument.m_Value);
  if (const auto number = ReadNumber<std::int32_t>(argument.m_Value)) {
    parameter.m_PropertyID = PI::Property::RANGE_PARAM;
    parameter.SetValue(*number, *number, *number, 1);
  } else if (value != 0) {
    const auto choice = static_cast<int>(value);
    parameter.SetValue(choice, {choice});
  } else {
    parameter.SetValue(argument.m_Value);
  }
  return parameter;
}

// Runs an operation that this host does not know; the plug-in decides whether it is possible.
CommandResult RunUnknown(Context& context, const Model& model, const Object& object,
                         std::uint32_t number, const std::vector<Argument>& arguments) {
  const std::string what = fmt::format("{} {}", OperationName(number), object.m_Selector);
  PI::COperation operation = RecordOf(object, number);
  for (const Argument& argument : arguments) operation.m_Properties.push_back(Parameter(argument));
  const std::uint32_t refusal = context.Open().CheckOperation(object.m_ID, operation);
  if (refusal != PI::SUCCESS) throw CheckFailure(context.Open(), what, nullptr, "", refusal);
  Change change;
  const bool isConfirmed = HasConfirmed(context, what, ConfirmationText(model, object));
  if (context.m_Options.m_DryRun) {
    CommandResult planned = ChangeResult(context, object, number, change);
    planned.m_Json["would_change"] = true;
    return planned;
  }
  const std::string question = fmt::format(
      "{}\nRun {}?", Base::Printable(DescribeObject(model, object)), OperationName(number));
  if (!isConfirmed) RequireConfirmation(context, what, question);
  const std::uint32_t error = context.Open().ExecuteOperation(object.m_ID, operation);
  if (error != PI::SUCCESS) throw CommandFailure(context.Open(), what, error);
  CommandResult result = ChangeResult(context, object, number, change);
  result.m_Json["changed"] = true;
  result.m_Changed = true;
  result.m_Text = fmt::format("{}: {} done\n", object.m_Selector, OperationName(number));
  return result;
}

CommandResult RunOperation(Context& context, const Model& model, const Object& object,
                           std::uint32_t number, const std::vector<Argument>& arguments) {
  if (number == PI::OP_GET_EVENTS) {
    throw UsageFailure("run does not collect events", {"Run: corvane-host events"});
  }
  RequireNoPosition(context.m_Arguments, context.m_Diagnostics);
  const OperationRow* row = FindOperation(number);
  if (row == nullptr) return RunUnknown(context, model, object, number, arguments);
  const Object& target = SelectForOperation(model, object.m_Selector, *row);
  if (number == PI::OP_FORMAT_DEVICE) {
    return FormatDrive(context, model, target, RequestOf(arguments));
  }
  if (!arguments.empty()) {
    throw UsageFailure(fmt::format("{} does not accept arguments", OperationName(number)));
  }
  return ChangeResult(context, target, number,
                      PerformOperation(context, model, target, *row, false));
}

struct Action {
  const char* m_Name;
  std::size_t m_MinArguments;  // number of arguments after the action
  std::size_t m_MaxArguments;
  const char* m_Usage;
};

constexpr Action kActions[] = {
    {"list", 1, 1, "op list OBJ"},
    {"check", 2, 2, "op check OBJ OP"},
    {"run", 2, 1000, "op run OBJ OP [ARG=VALUE...]"},
};

const Action& ChooseAction(const std::vector<std::string>& words) {
  std::vector<std::string> names;
  for (const Action& action : kActions) {
    names.emplace_back(action.m_Name);
    if (words[0] != action.m_Name) continue;
    const std::size_t count = words.size() - 1;
    if (count >= action.m_MinArguments && count <= action.m_MaxArguments) return action;
    throw UsageFailure(fmt::format("{} has too {} arguments", action.m_Name,
                                   count < action.m_MinArguments ? "few" : "many"),
                       {fmt::format("Usage: corvane-host {}", action.m_Usage)});
  }
  throw UsageFailure(fmt::format("unknown action '{}'", words[0]), DidYouMean(words[0], names));
}

CommandResult Run(Context& context) {
  const std::vector<std::string>& words = context.m_Arguments;
  const std::string action = ChooseAction(words).m_Name;
  std::vector<Argument> arguments;
  for (std::size_t i = 3; i < words.size(); ++i) arguments.push_back(ParseArgument(words[i]));
  TimeoutOf(context.m_Options);
  const Model model = context.Objects();
  const Object& object = SelectReported(model, words[1]);
  if (action == "list") return ListOperations(context, object);
  const std::uint32_t number = ResolveOperation(object, words[2]);
  if (action == "check") return CheckOperation(context, object, number);
  return RunOperation(context, model, object, number, arguments);
}

}  // namespace

Command OpCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "op";
  command.m_Arguments = "list|check|run OBJ [OP] [ARG=VALUE...]";
  command.m_MinArguments = 2;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "list, check or run any operation by name or number";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl"};
  command.m_Options = {"--yes", "--dry-run", "--confirm", "--again"};
  command.m_TimeoutScope = TimeoutScope::Wait;
  command.m_Run = Run;
  command.m_Description =
      "Runs operations that have no separate command, and shows what the plug-in reports "
      "about an operation. Operations that have a command require the same confirmation as "
      "the command.";
  command.m_Danger =
      "As dangerous as the operation: OP_FORMAT_DEVICE erases the drive and requires "
      "--confirm.";
  command.m_Exits = {{4, "refused, or not possible now"}};
  command.m_Examples = {{"op list a0", "list the operations of an adapter"},
                        {"op run a0/d0 FORMAT_DEVICE FORMATTING=CUSTOM SIZE=80 --dry-run",
                         "show what would be changed"}};
  return command;
}

}  // namespace Console
