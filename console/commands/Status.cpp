// status: problems of the cards, their causes and what to do.
#include <fmt/format.h>

#include <algorithm>

#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/model/EffectiveState.h"
#include "console/model/Health.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/render/HealthCells.h"
#include "console/render/ReadingJson.h"
#include "console/report/CommandContext.h"
#include "console/report/EventMatcher.h"
#include "console/report/SeveralObjects.h"
#include "console/report/StatusSince.h"

namespace Console {
namespace {

using Objects = std::vector<const Object*>;

Json ReasonJson(const Reason& reason) {
  Json json = {{"number", reason.m_Number},
               {"name", reason.m_Name},
               {"caption", reason.m_Caption},
               {"detail", reason.m_Detail.empty() ? Json() : Json(reason.m_Detail)},
               {"measured", ReadingJson(reason.m_Measured)},
               {"limit", ReadingJson(reason.m_Limit)}};
  json["advice"] = nullptr;
  if (!reason.m_Advice.empty()) json["advice"] = reason.m_Advice;
  return json;
}

// An object with its health, and the time at which its current status started, if known.
struct StatusEntry {
  const Object* m_pObject;
  Health m_Health;
  std::optional<std::uint64_t> m_Since;
};

Json HealthJson(const StatusEntry& entry) {
  const Object& object = *entry.m_pObject;
  const Health& health = entry.m_Health;
  Json json = {{"object", object.m_Selector},
               {"type", KindName(object.m_Kind)},
               {"id", IdJson(object)},
               {"ok", IsHealthy(health.m_Status)}};
  PutValue(json, "status", health.m_Status);
  PutValue(json, "activity", health.m_Activity);
  json["since"] = TimeJson(entry.m_Since.value_or(0));
  if (object.m_Kind == Kind::Adapter) {
    json["last_seen_at"] = TimeJson(object.m_LastSeen);
    json["last_read_at"] = TimeJson(object.m_LastRead);
  }
  json["reasons"] = Json::array();
  for (const Reason& reason : health.m_Reasons) json["reasons"].push_back(ReasonJson(reason));
  return json;
}

Row StatusRow(const Object& object, const Health& health, const Reason* reason, bool ascii) {
  Cell status = ValueCell(health.m_Status, ascii);
  status.m_Human = StatusText(health.m_Status);
  Row row{{TextCell(object.m_Selector), status}, std::nullopt};
  if (reason == nullptr) {
    row.m_Cells.insert(row.m_Cells.end(), {TextCell("-"), TextCell("-"), TextCell("-")});
  } else {
    row.m_Cells.push_back(TextCell(reason->m_Name));
    row.m_Cells.push_back(TextCell(ReasonText(*reason, ascii)));
    row.m_Cells.push_back(TextCell(reason->m_Advice.empty() ? "-" : reason->m_Advice));
  }
  return row;
}

void AddRows(Table& table, const Object& object, const Health& health, bool ascii) {
  if (health.m_Reasons.empty()) {
    table.m_Rows.push_back(StatusRow(object, health, nullptr, ascii));
  }
  for (const Reason& reason : health.m_Reasons) {
    table.m_Rows.push_back(StatusRow(object, health, &reason, ascii));
  }
}

std::string Colored(const std::string& text, Severity severity, const Style& style) {
  if (!style.m_Color) return text;
  switch (severity) {
    case Severity::Good:
      return fmt::format("\033[32m{}\033[0m", text);
    case Severity::Warning:
      return fmt::format("\033[1;33m{}\033[0m", text);
    case Severity::Bad:
      return fmt::format("\033[31m{}\033[0m", text);
    case Severity::Neutral:
      break;
  }
  return text;
}

std::string HealthText(const StatusEntry& entry, std::size_t width, const Style& style) {
  const Object& object = *entry.m_pObject;
  const Health& health = entry.m_Health;
  std::string text = fmt::format(
      "{:<{}}  {}{}\n", object.m_Selector, width,
      Colored(StatusText(health.m_Status), health.m_Status.m_Severity, style),
      entry.m_Since ? fmt::format(" since {}", SinceText(*entry.m_Since, NowMs())) : std::string());
  for (const Reason& reason : health.m_Reasons) {
    text += fmt::format("    why   {}\n", ReasonText(reason, style.m_Ascii));
    if (!reason.m_Advice.empty()) text += fmt::format("    do    {}\n", reason.m_Advice);
    text += fmt::format("    see   corvane-host explain {};  corvane-host events {}\n",
                        reason.m_Name, object.m_Selector);
  }
  if (health.m_Reasons.empty() && !IsHealthy(health.m_Status)) {
    text += fmt::format("    why   {}\n", TextWithoutReason(health));
    text += fmt::format("    see   corvane-host show {}\n", object.m_Selector);
  }
  return text;
}

// A drive that is healthy, or has the problem of its card, is shown only if the user named it.
bool IsShown(const StatusEntry& entry, bool isNamed) {
  const Value& status = entry.m_Health.m_Status;
  return isNamed || entry.m_pObject->m_Kind != Kind::Drive ||
         (!IsHealthy(status) && !RepeatsCard(*entry.m_pObject, status));
}

std::string Text(const std::vector<StatusEntry>& all, bool isNamed, const Style& style) {
  std::vector<const StatusEntry*> shown;
  std::size_t width = 0;
  for (const StatusEntry& entry : all) {
    if (!IsShown(entry, isNamed && &entry == &all.front())) continue;
    shown.push_back(&entry);
    width = std::max(width, entry.m_pObject->m_Selector.size());
  }
  std::string text;
  for (const StatusEntry* entry : shown) text += HealthText(*entry, width, style);
  return text;
}

// Reads the event log only if an object has status reasons.
std::vector<StatusEntry> CreateEntries(Context& context, const Model& model,
                                       const Objects& chosen) {
  std::vector<StatusEntry> all;
  for (const Object* object : chosen) all.push_back({object, HealthOf(*object), std::nullopt});
  if (std::all_of(all.begin(), all.end(),
                  [](const StatusEntry& entry) { return entry.m_Health.m_Reasons.empty(); })) {
    return all;
  }
  context.Open().CollectEvents();
  const auto events =
      EventMatcher(model).GroupByObject(context.EventLog().Read(0, EventLogClient::kAll));
  for (StatusEntry& entry : all) {
    const auto found = events.find(entry.m_pObject);
    if (entry.m_pObject->m_Access != Access::Readable && entry.m_pObject->m_LastSeen != 0) {
      entry.m_Since = entry.m_pObject->m_LastSeen;
    } else if (found != events.end())
      entry.m_Since = StatusSince(entry.m_Health, found->second);
  }
  return all;
}

// Returns the objects that the arguments name, each with the objects below it.
Objects ChosenObjects(const Context& context, const Model& model) {
  const auto select = [&](const std::string& name) -> const Object& { return Select(model, name); };
  const auto named = SelectSeveral(model, context.m_Arguments, Kind::Adapter, select).m_Objects;
  if (context.m_Arguments.empty()) return ObjectsWithStatus(model);
  Objects chosen;
  for (const Object* top : named) {
    for (const Object* object : ObjectsWithStatus(model, top)) {
      if (std::find(chosen.begin(), chosen.end(), object) == chosen.end()) chosen.push_back(object);
    }
  }
  return chosen;
}

CommandResult Run(Context& context) {
  const Model model = context.Objects();
  const bool isNamed = !context.m_Arguments.empty();
  const std::vector<StatusEntry> all = CreateEntries(context, model, ChosenObjects(context, model));
  CommandResult result;
  result.m_Items = "objects";
  result.m_Json = {{"objects", Json::array()}};
  result.m_Table.m_Columns = {{"OBJECT", "object", false},
                              {"STATUS", "status", false},
                              {"REASON", "reason", false},
                              {"WHY", "why", false},
                              {"DO", "do", false}};
  result.m_Text = Text(all, isNamed, context.m_Style);
  for (const StatusEntry& entry : all) {
    result.m_Json["objects"].push_back(HealthJson(entry));
    AddRows(result.m_Table, *entry.m_pObject, entry.m_Health, context.m_Style.m_Ascii);
  }
  return result;
}

}  // namespace

Command StatusCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "status";
  command.m_Arguments = "[OBJ...]";
  command.m_MinArguments = 0;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "show problems, their causes and what to do";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl"};
  command.m_Run = Run;
  command.m_Description =
      "Shows for each card whether it is healthy and, if not, the reasons, the readings and the "
      "recommended action. With OBJ, shows only that object and the objects below it.";
  command.m_Examples = {{"status", "find out why a card has a warning, and what to do", true},
                        {"status a1 -o json", "check one card, for a script"}};
  return command;
}

}  // namespace Console
