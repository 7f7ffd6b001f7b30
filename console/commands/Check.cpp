// check: the state of the cards for a monitoring system. What goes wrong before there is an answer
// is reported in the same form by the program itself.
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
  command.m_Least = 0;
  command.m_Most = 1;
  command.m_Summary = "One line, figures and an exit code for monitoring systems";
  command.m_Forms = {"table", "json"};
  command.m_Run = Run;
  command.m_Description =
      "For monitoring systems: a line with the worst state and its reason, performance "
      "figures behind '|', then a line for each object. It answers in the same form when "
      "something is wrong with the command line or the plug-in.";
  command.m_Exits = {{0, "all cards are well"},
                     {1, "a card is warning"},
                     {2, "a card has failed"},
                     {3, "unknown: no card, no plug-in, a wrong command line, or too late"}};
  command.m_Examples = {{"check", "a nightly check by a script or a monitoring system", true},
                        {"check a1 --timeout 10s", "one card, in ten seconds at most"}};
  return command;
}

}  // namespace Console
