// check: report the state of the cards to a monitoring system. `RunCommand` reports failures in the
// same format.
#include "console/cli/CommandTable.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/report/CheckResult.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

Json TextJson(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

Json FindingJson(const Finding& finding) {
  Json json = {{"object", finding.m_pObject->m_Selector},
               {"type", KindName(finding.m_pObject->m_Kind)},
               {"id", IdText(finding.m_pObject->m_ID)},
               {"state", CheckStateName(finding.m_State)}};
  PutValue(json, "status", finding.m_Health.m_Status);
  PutValue(json, "serial_number", ReadField(*finding.m_pObject, "serial_number"));
  json["reasons"] = Json::array();
  for (const Reason& reason : finding.m_Health.m_Reasons) json["reasons"].push_back(reason.m_Name);
  return json;
}

Json CheckReadingJson(const CheckReading& r) {
  return {{"label", r.m_Label},
          {"value", r.m_Value},
          {"unit", TextJson(r.m_Unit)},
          {"warning", TextJson(r.m_Warning)},
          {"critical", TextJson(r.m_Critical)},
          {"minimum", TextJson(r.m_Minimum)},
          {"maximum", TextJson(r.m_Maximum)}};
}

CommandResult Run(Context& context) {
  const Model model = context.Objects();
  const Object* top =
      context.m_Arguments.empty() ? nullptr : &Select(model, context.m_Arguments[0]);
  const bool ascii = context.m_Style.m_Ascii;
  const CheckResult check = CheckObjects(model, top);
  CommandResult result;
  result.m_Code = CheckStateCode(check.m_State);
  result.m_Text = CheckText(check, ascii);
  result.m_Json = {{"state", CheckStateName(check.m_State)},
                   {"summary", Summary(check, ascii)},
                   {"objects", Json::array()},
                   {"readings", Json::array()}};
  for (const Finding& finding : check.m_Findings) {
    result.m_Json["objects"].push_back(FindingJson(finding));
  }
  for (const CheckReading& reading : check.m_Readings) {
    result.m_Json["readings"].push_back(CheckReadingJson(reading));
  }
  return result;
}

}  // namespace

Command CheckCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "check";
  command.m_Arguments = "[OBJ]";
  command.m_MinArguments = 0;
  command.m_MaxArguments = 1;
  command.m_Summary = "print status and performance data for monitoring systems";
  command.m_OutputFormats = {"table", "json"};
  command.m_NeedsPlugin = true;
  command.m_Run = Run;
  command.m_Description =
      "Prints a line with the worst state, its reason and, after '|', performance data, then one "
      "line per object. If the command line is invalid or the plug-in fails, the output has the "
      "same format.";
  command.m_Exits = {{0, "OK: all cards are healthy"},
                     {1, "WARNING: a card has a warning"},
                     {2, "CRITICAL: a card has failed"},
                     {3, "UNKNOWN: no card, no plug-in, invalid command line, or timeout"}};
  command.m_Examples = {{"check", "run from a monitoring system", true},
                        {"check a1 --timeout 10s", "check one card, within ten seconds"}};
  return command;
}

}  // namespace Console
