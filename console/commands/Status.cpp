// status: what is wrong with the cards, why, and what to do.
#include <fmt/format.h>

#include <algorithm>

#include "console/Answer.h"
#include "console/Context.h"
#include "console/Health.h"
#include "console/Selectors.h"
#include "console/commands/All.h"

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

Json HealthJson(const Object& object, const Health& health) {
  Json json = {{"object", object.m_Selector},
               {"type", KindName(object.m_Kind)},
               {"id", IdText(object.m_ID)},
               {"ok", IsWell(health.m_Status)}};
  PutValue(json, "status", health.m_Status);
  PutValue(json, "activity", health.m_Activity);
  json["reasons"] = Json::array();
  for (const Reason& reason : health.m_Reasons) json["reasons"].push_back(ReasonJson(reason));
  return json;
}

Row StatusRow(const Object& object, const Health& health, const Reason* reason, bool ascii) {
  const std::string status = BareText(health.m_Status);
  Row row{
      {TextCell(object.m_Selector), {StatusText(health.m_Status), status, health.m_Status.m_Tone}},
      std::nullopt};
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

std::string Coloured(const std::string& text, Tone tone, const Style& style) {
  if (!style.m_Colour) return text;
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

std::string HealthText(const Object& object, const Health& health, std::size_t width,
                       const Style& style) {
  std::string text =
      fmt::format("{:<{}}  {}\n", object.m_Selector, width,
                  Coloured(StatusText(health.m_Status), health.m_Status.m_Tone, style));
  for (const Reason& reason : health.m_Reasons) {
    text += fmt::format("    why   {}\n", ReasonText(reason, style.m_Ascii));
    if (!reason.m_Advice.empty()) text += fmt::format("    do    {}\n", reason.m_Advice);
    text += fmt::format("    see   corvane-host explain {}\n", reason.m_Name);
  }
  if (health.m_Reasons.empty() && !IsWell(health.m_Status)) {
    text += fmt::format("    why   {}\n", WhyWithoutReason(health));
    text += fmt::format("    see   corvane-host show {}\n", object.m_Selector);
  }
  return text;
}

// People are not told of a drive that is well, unless it is what they ask for.
bool NeedsTelling(const Object& object, bool asked) {
  return asked || object.m_Kind != Kind::Drive || !IsWell(HealthOf(object).m_Status);
}

std::string Text(const Objects& chosen, bool asked, const Style& style) {
  Objects told;
  std::size_t width = 0;
  for (const Object* object : chosen) {
    if (!NeedsTelling(*object, asked && object == chosen.front())) continue;
    told.push_back(object);
    width = std::max(width, object->m_Selector.size());
  }
  std::string text;
  for (const Object* object : told) text += HealthText(*object, HealthOf(*object), width, style);
  return text;
}

}  // namespace

Answer RunStatus(Context& context) {
  const Model model = context.Objects();
  const bool asked = !context.m_Arguments.empty();
  const Objects chosen =
      WithStatus(model, asked ? &Select(model, context.m_Arguments[0]) : nullptr);
  Answer answer;
  answer.m_Items = "objects";
  answer.m_Result = {{"objects", Json::array()}};
  answer.m_Table.m_Columns = {{"OBJECT", "object", false},
                              {"STATUS", "status", false},
                              {"REASON", "reason", false},
                              {"WHY", "why", false},
                              {"DO", "do", false}};
  answer.m_Text = Text(chosen, asked, context.m_Style);
  for (const Object* object : chosen) {
    const Health health = HealthOf(*object);
    answer.m_Result["objects"].push_back(HealthJson(*object, health));
    AddRows(answer.m_Table, *object, health, context.m_Style.m_Ascii);
  }
  return answer;
}

}  // namespace Console
