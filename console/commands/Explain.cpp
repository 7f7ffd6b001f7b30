// explain: the meaning of a number or name, and what to do about it.
#include <fmt/format.h>

#include "console/cli/CommandTable.h"
#include "console/model/EventSeverity.h"
#include "console/model/NameIndex.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

using HostKit::Family;

struct Explanation {
  explicit Explanation(const Entry& entry)
      : m_Number(std::to_string(entry.m_Number)),
        m_Name(NameOf(entry)),
        m_Family(FamilyName(entry)),
        m_Caption(HostKit::CaptionOf(entry.m_Family, entry.m_Number)),
        m_Meaning(HostKit::MeaningOf(entry.m_Family, entry.m_Number)),
        m_Advice(HostKit::AdviceOf(entry.m_Family, entry.m_Number)),
        m_Fields(FieldsOf(entry)) {}

  const std::string m_Number;
  const std::string m_Name;
  const std::string m_Family;
  const std::string m_Caption;
  const std::string m_Meaning;
  const std::string m_Advice;  // empty: nothing to do
  const std::vector<FieldUse> m_Fields;
};

// Returns null if the entry is not an event.
const char* SeverityOf(const Entry& entry) {
  const bool isEvent = entry.m_Family == Family::Event;
  return isEvent ? SeverityName(HostKit::SeverityOf(entry.m_Number)) : nullptr;
}

Json FieldJson(const FieldUse& use) {
  const char* unit = UnitOf(use.m_Field->m_Kind);
  return {{"name", use.m_Field->m_Name},
          {"type", KindName(use.m_Kind)},
          {"unit", unit == nullptr ? Json() : Json(unit)}};
}

Json EntryJson(const Entry& entry, const Explanation& about) {
  const char* severity = SeverityOf(entry);
  Json fields = Json::array();
  for (const FieldUse& use : about.m_Fields) fields.push_back(FieldJson(use));
  return {{"family", about.m_Family},
          {"number", entry.m_Number},
          {"name", about.m_Name},
          {"caption", about.m_Caption},
          {"meaning", about.m_Meaning},
          {"advice", about.m_Advice.empty() ? Json() : Json(about.m_Advice)},
          {"severity", severity == nullptr ? Json() : Json(severity)},
          {"terms", fields}};
}

std::string UnitText(ValueKind kind) {
  const char* unit = UnitOf(kind);
  if (unit == nullptr) return {};
  if (kind == ValueKind::Ratio) return ", a ratio from 0 to 1";
  if (kind == ValueKind::Celsius) return ", in degrees Celsius";
  return fmt::format(", in {}", unit);
}

std::string FieldText(const FieldUse& use) {
  return fmt::format("    name   {} ({}{})\n", use.m_Field->m_Name, KindName(use.m_Kind),
                     UnitText(use.m_Field->m_Kind));
}

std::string EntryText(const Entry& entry, const Explanation& about) {
  const char* severity = SeverityOf(entry);
  std::string text =
      fmt::format("{}  {}  {}{}{}\n", about.m_Number, about.m_Name, about.m_Family,
                  severity == nullptr ? "" : ", ", severity == nullptr ? "" : severity);
  text += fmt::format("    means  {}\n", about.m_Meaning);
  if (!about.m_Advice.empty()) text += fmt::format("    do     {}\n", about.m_Advice);
  for (const FieldUse& use : about.m_Fields) text += FieldText(use);
  return text;
}

[[noreturn]] void ThrowNotFound(const std::string& text) {
  std::vector<std::string> advice = DidYouMean(text, AllNames());
  advice.emplace_back("Numbers appear in events and errors, names in status and show.");
  throw Failure(ExitCode::NoObject, "NO_SUCH_ENTRY", text,
                "not the number or name of an error, event, operation, property or value", advice);
}

CommandResult Run(Context& context) {
  const std::string& text = context.m_Arguments[0];
  CommandResult result;
  result.m_Text = "";
  result.m_Json = {{"entries", Json::array()}};
  result.m_Table.m_Columns = {{"FAMILY", "family", false},   {"NUMBER", "number", true},
                              {"NAME", "name", false},       {"CAPTION", "caption", false},
                              {"MEANING", "meaning", false}, {"ADVICE", "advice", false}};
  for (const Entry& entry : FindEntries(text)) {
    const Explanation about(entry);
    *result.m_Text += EntryText(entry, about);
    result.m_Json["entries"].push_back(EntryJson(entry, about));
    result.m_Table.m_Rows.push_back(
        {{TextCell(about.m_Family), TextCell(about.m_Number), TextCell(about.m_Name),
          TextCell(about.m_Caption), TextCell(about.m_Meaning),
          TextCell(about.m_Advice.empty() ? "-" : about.m_Advice)},
         std::nullopt});
  }
  if (result.m_Table.m_Rows.empty()) ThrowNotFound(text);
  return result;
}

}  // namespace

Command ExplainCommand() {
  Command command;
  command.m_Group = Group::Help;
  command.m_Name = "explain";
  command.m_Arguments = "ID";
  command.m_MinArguments = 1;
  command.m_MaxArguments = 1;
  command.m_Summary = "explain a number or name, and what to do about it";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Explains an event, error, operation, property or value. If several match, all of them are "
      "shown.";
  command.m_Exits = {{3, "no entry has that number or name"}};
  command.m_Examples = {
      {"explain 10972", "explain an event number", true},
      {"explain TEMPERATURE_ABOVE_WARN", "explain a status reason, and what to do"}};
  return command;
}

}  // namespace Console
