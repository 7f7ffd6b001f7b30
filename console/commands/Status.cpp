// status: what is wrong with the cards, why, and what to do.
#include <fmt/format.h>

#include <algorithm>

#include "console/base/Timestamp.h"
#include "console/commands/All.h"
#include "console/model/Health.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/render/HealthCells.h"
#include "console/report/CommandContext.h"
#include "console/report/EventMatcher.h"
#include "console/report/StatusSince.h"

namespace Console {
namespace {

using Objects = std::vector<const Object*>;

Json ReadingJson(const Reading& reading) {
  if (reading.m_Term == nullptr) return nullptr;
  Json json = {{"name", reading.m_Term->m_Name}};
  PutValue(json, "value", reading.m_Value);
  return json;
}

Json ReasonJson(const Reason& reason) {
  Json json = {{"number", reason.m_Number},
               {"name", reason.m_Name},
               {"caption", reason.m_Caption},
               {"measured", ReadingJson(reason.m_Measured)},
               {"limit", ReadingJson(reason.m_Limit)}};
  json["advice"] = nullptr;
  if (!reason.m_Advice.empty()) json["advice"] = reason.m_Advice;
  return json;
}

// An object with its state and the beginning of that, if it is known.
struct Told {
  const Object* m_pObject;
  Health m_Health;
  std::optional<std::uint64_t> m_Since;
};

Json HealthJson(const Told& told) {
  const Object& object = *told.m_pObject;
  const Health& health = told.m_Health;
  Json json = {{"object", object.m_Selector},
               {"type", KindName(object.m_Kind)},
               {"id", IdText(object.m_ID)},
               {"ok", IsWell(health.m_Status)}};
  PutValue(json, "status", health.m_Status);
  PutValue(json, "activity", health.m_Activity);
  json["since"] = nullptr;
  if (told.m_Since) json["since"] = TimeText(*told.m_Since);
  json["reasons"] = Json::array();
  for (const Reason& reason : health.m_Reasons) json["reasons"].push_back(ReasonJson(reason));
  return json;
}

Row StatusRow(const Object& object, const Health& health, const Reason* reason, bool ascii) {
  Cell status = StatusCell(health);
  status.m_Human = StatusText(health.m_Shown);
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

std::string Colored(const std::string& text, Tone tone, const Style& style) {
  if (!style.m_Color) return text;
  switch (tone) {
    case Tone::Good:
      return fmt::format("\033[32m{}\033[0m", text);
    case Tone::Warning:
      return fmt::format("\033[1;33m{}\033[0m", text);
    case Tone::Bad:
      return fmt::format("\033[31m{}\033[0m", text);
    case Tone::Plain:
      break;
  }
  return text;
}

std::string HealthText(const Told& told, std::size_t width, const Style& style) {
  const Object& object = *told.m_pObject;
  const Health& health = told.m_Health;
  std::string text = fmt::format(
      "{:<{}}  {}{}\n", object.m_Selector, width,
      Colored(StatusText(health.m_Shown), health.m_Shown.m_Tone, style),
      told.m_Since ? fmt::format(" since {}", SinceText(*told.m_Since, NowMs())) : std::string());
  for (const Reason& reason : health.m_Reasons) {
    text += fmt::format("    why   {}\n", ReasonText(reason, style.m_Ascii));
    if (!reason.m_Advice.empty()) text += fmt::format("    do    {}\n", reason.m_Advice);
    text += fmt::format("    see   corvane-host explain {};  corvane-host events {}\n",
                        reason.m_Name, object.m_Selector);
  }
  if (health.m_Reasons.empty() && !IsWell(health.m_Status)) {
    text += fmt::format("    why   {}\n", WhyWithoutReason(health));
    text += fmt::format("    see   corvane-host show {}\n", object.m_Selector);
  }
  return text;
}

// People are not told of a drive that is well, unless it is what they ask for.
bool NeedsTelling(const Told& told, bool asked) {
  return asked || told.m_pObject->m_Kind != Kind::Drive || !IsWell(told.m_Health.m_Status);
}

std::string Text(const std::vector<Told>& all, bool asked, const Style& style) {
  std::vector<const Told*> shown;
  std::size_t width = 0;
  for (const Told& told : all) {
    if (!NeedsTelling(told, asked && &told == &all.front())) continue;
    shown.push_back(&told);
    width = std::max(width, told.m_pObject->m_Selector.size());
  }
  std::string text;
  for (const Told* told : shown) text += HealthText(*told, width, style);
  return text;
}

// The log is read only when something is not well.
std::vector<Told> Tell(Context& context, const Model& model, const Objects& chosen) {
  std::vector<Told> all;
  for (const Object* object : chosen)
    all.push_back({object, HealthOf(model, *object), std::nullopt});
  if (std::all_of(all.begin(), all.end(),
                  [](const Told& told) { return told.m_Health.m_Reasons.empty(); })) {
    return all;
  }
  context.Open().CollectEvents();
  const auto events = Namesakes(model).Sort(context.EventLog().Read(0, History::kAll));
  for (Told& told : all) {
    const auto found = events.find(told.m_pObject);
    if (found != events.end()) told.m_Since = StatusSince(told.m_Health, found->second);
  }
  return all;
}

}  // namespace

Answer RunStatus(Context& context) {
  const Model model = context.Objects();
  const bool asked = !context.m_Arguments.empty();
  const std::vector<Told> all = Tell(
      context, model, WithStatus(model, asked ? &Select(model, context.m_Arguments[0]) : nullptr));
  Answer answer;
  answer.m_Items = "objects";
  answer.m_Result = {{"objects", Json::array()}};
  answer.m_Table.m_Columns = {{"OBJECT", "object", false},
                              {"STATUS", "status", false},
                              {"REASON", "reason", false},
                              {"WHY", "why", false},
                              {"DO", "do", false}};
  answer.m_Text = Text(all, asked, context.m_Style);
  for (const Told& told : all) {
    answer.m_Result["objects"].push_back(HealthJson(told));
    AddRows(answer.m_Table, *told.m_pObject, told.m_Health, context.m_Style.m_Ascii);
  }
  return answer;
}

}  // namespace Console
