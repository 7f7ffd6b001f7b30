// check: report the state of the cards to a monitoring system. `RunCommand` reports failures in the
// same format.
#include <fmt/format.h>

#include <algorithm>

#include "base/Printable.h"
#include "console/base/Number.h"
#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/commands/Acknowledged.h"
#include "console/model/Selectors.h"
#include "console/plugin/UnreadableRecords.h"
#include "console/render/CommandResult.h"
#include "console/report/CheckText.h"
#include "console/report/CommandContext.h"
#include "console/report/SeveralObjects.h"

namespace Console {
namespace {

using Service::Acknowledgment;

// Whether all cards are checked.
bool ChecksAll(const Context& context) {
  const std::vector<std::string>& names = context.m_Arguments;
  return names.empty() || std::find(names.begin(), names.end(), kAllObjects) != names.end();
}

std::optional<std::size_t> ExpectedCards(const Context& context) {
  const Options& options = context.m_Options;
  if (options.m_Given.count("--expect") == 0) return std::nullopt;
  if (!ChecksAll(context)) {
    throw UsageFailure("--expect: applies to all cards only",
                       {"Omit the names: corvane-host check --expect 4"});
  }
  const auto number = ReadNumber<std::size_t>(options.m_Expect);
  if (number) return number;
  throw UsageFailure(fmt::format("--expect: '{}' is not a number of cards", options.m_Expect));
}

Json NumberJson(const std::optional<double>& number, double scale) {
  return number ? Json(*number / scale) : Json();
}

Json RangeJson(const std::optional<CheckRange>& range, double scale) {
  if (!range) return nullptr;
  return {{"low", NumberJson(range->m_Low, scale)},
          {"high", NumberJson(range->m_High, scale)},
          {"alerts_inside", range->m_AlertsInside}};
}

Json SerialJson(const Model& model, const Object& object) {
  const std::string serial = SerialOf(model, object);
  return serial.empty() ? Json() : Json(serial);
}

Json CheckReadingJson(const Model& model, const CheckReading& reading) {
  const double scale = ScaleOf(reading);
  Json json = {{"object", reading.m_pObject->m_Selector},
               {"serial_number", SerialJson(model, *reading.m_pObject)},
               {"property", FieldOf(reading)},
               {"label", reading.m_Label}};
  PutValue(json, "value", reading.m_Value);
  json["warning"] = RangeJson(reading.m_Warning, scale);
  json["critical"] = RangeJson(reading.m_Critical, scale);
  json["minimum"] = NumberJson(reading.m_Minimum, scale);
  json["maximum"] = NumberJson(reading.m_Maximum, scale);
  return json;
}

Json ProblemJson(const Problem& problem, const std::vector<Acknowledgment>& acknowledged) {
  const bool isReason = !problem.m_Name.empty() && !problem.m_IsThreshold;
  Json json = {{"state", CheckStateName(problem.m_State)},
               {"reason", isReason ? Json(problem.m_Name) : Json()},
               {"property", *problem.m_Field == '\0' ? Json() : Json(problem.m_Field)},
               {"text", problem.m_Text},
               {"acknowledgment", nullptr}};
  if (problem.m_Acknowledgment) {
    json["acknowledgment"] = AcknowledgmentJson(acknowledged[*problem.m_Acknowledgment]);
  }
  return json;
}

Json FindingJson(const Model& model, const Finding& finding,
                 const std::vector<Acknowledgment>& acknowledged) {
  Json json = {{"object", finding.m_pObject->m_Selector},
               {"type", KindName(finding.m_pObject->m_Kind)},
               {"id", IdJson(*finding.m_pObject)},
               {"state", CheckStateName(finding.m_State)}};
  PutValue(json, "status", finding.m_Health.m_Status);
  json["serial_number"] = SerialJson(model, *finding.m_pObject);
  json["problems"] = Json::array();
  for (const Problem& problem : finding.m_Problems) {
    json["problems"].push_back(ProblemJson(problem, acknowledged));
  }
  return json;
}

Json CheckJson(const Model& model, const CheckResult& check,
               const std::vector<Acknowledgment>& acknowledged, bool ascii) {
  Json json = {{"state", CheckStateName(check.m_State)},
               {"summary", Summary(check, ascii)},
               {"cards", check.m_Cards},
               {"expected_cards", check.m_ExpectedCards ? Json(*check.m_ExpectedCards) : Json()},
               {"objects", Json::array()},
               {"readings", Json::array()}};
  for (const Finding& finding : check.m_Findings) {
    json["objects"].push_back(FindingJson(model, finding, acknowledged));
  }
  for (const CheckReading& reading : check.m_Readings) {
    json["readings"].push_back(CheckReadingJson(model, reading));
  }
  return json;
}

// Sets the objects to check. Throws `Failure` if none of the names has an object.
void SelectObjects(Context& context, const Model& model, CheckInput& input) {
  const std::vector<NamedObject> names = FindSeveral(model, context.m_Arguments);
  const std::vector<const Object*> objects = ReportNotFound(context, names);
  if (!ChecksAll(context)) input.m_Objects = objects;
  for (const NamedObject& each : names) {
    if (each.m_NotFound) input.m_NotFound.push_back(Base::Printable(each.m_NotFound->m_Text));
  }
}

CommandResult Run(Context& context) {
  CheckInput input;
  input.m_Ranges = ParseThresholds(context.m_Options);
  input.m_ExpectedCards = ExpectedCards(context);
  input.m_Ascii = context.m_Style.m_Ascii;
  const PerformanceData data = ParsePerformanceData(context.m_Options.m_PerformanceData);
  const Model model = context.Objects();
  SelectObjects(context, model, input);
  const std::vector<Acknowledgment> acknowledged = ReadAcknowledgments(context);
  input.m_Unknown = UnreadableRecords(context.m_Diagnostics);
  for (const Acknowledgment& each : acknowledged) {
    input.m_Acknowledged.push_back({each.m_SerialNumber, each.m_Reason, AcknowledgmentText(each)});
  }
  const CheckResult check = CheckObjects(model, input);
  CommandResult result;
  result.m_Code = CheckStateCode(check.m_State);
  result.m_Text = CheckText(check, input, data);
  result.m_Json = CheckJson(model, check, acknowledged, input.m_Ascii);
  return result;
}

}  // namespace

Command CheckCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "check";
  command.m_Arguments = "[OBJ...]";
  command.m_MinArguments = 0;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "print status and performance data for monitoring systems";
  command.m_OutputFormats = {"table", "json"};
  command.m_Options = {"--warn-temperature", "--crit-temperature", "--warn-reserve",
                       "--crit-reserve",     "--warn-used",        "--crit-used",
                       "--expect",           "--perfdata"};
  command.m_NeedsPlugin = true;
  command.m_Run = Run;
  command.m_Description =
      "Prints a line of at most 200 characters with the worst state, the number of cards in each "
      "state and the worst three problems, then performance data after '|' and one line per "
      "object. "
      "Thresholds apply in addition to the card's own limits. "
      "Acknowledged problems count as OK. If the database of missing cards and acknowledgments "
      "cannot be read, the state is UNKNOWN unless it is CRITICAL. With OBJ, checks only these "
      "objects and the objects "
      "below them; all selects all adapters, and a name without an object is UNKNOWN. If the "
      "command "
      "line is invalid or the plug-in fails, the "
      "output "
      "has the same format.";
  command.m_Exits = {
      {0, "OK: all cards are healthy, or their problems are acknowledged"},
      {1, "WARNING: a card has a warning, is detached, or exceeds a warning threshold"},
      {2, "CRITICAL: a card has failed, is missing or unreadable, or exceeds a critical threshold"},
      {3, "UNKNOWN: no card, no plug-in, unreadable database, invalid command line, or timeout"}};
  command.m_Examples = {
      {"check", "run from a monitoring system", true},
      {"check --expect 4 --warn-reserve 20", "check the number of cards and their reserve"}};
  return command;
}

}  // namespace Console
