// get: raw values of one object.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/model/PropertyName.h"
#include "console/model/Selectors.h"
#include "console/model/StaleValues.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"
#include "console/report/SeveralObjects.h"

namespace Console {
namespace {

std::vector<NamedValue> ReadAll(const Object& object) {
  std::vector<NamedValue> values;
  for (const Field& field : FieldsOf(object.m_Kind)) {
    values.push_back({field.m_Name, ReadField(object, field)});
  }
  return values;
}

bool IsProperty(const std::string& word) {
  return FindField(Kind::Plugin, word) != nullptr || FindField(Kind::Adapter, word) != nullptr ||
         FindField(Kind::Drive, word) != nullptr;
}

// Throws `Failure` if the first word is a property, with the arguments in the right order.
void RequireObjectFirst(const std::vector<std::string>& words, const Model& model) {
  const std::string& first = words.front();
  if (first == kAllObjects || !IsProperty(first) || FindObject(model, first) != nullptr) return;
  const std::string others =
      words.size() == 1 ? kAllObjects
                        : fmt::format("{}", fmt::join(words.begin() + 1, words.end(), " "));
  throw UsageFailure(fmt::format("'{}' is a property, not an object", first),
                     {"Objects come before properties.",
                      fmt::format("For example: corvane-host get {} {}", others, first)});
}

// Returns the number of arguments that name objects: the first, and those after it that name
// objects and not properties.
std::size_t CountObjects(const Context& context, const Model& model) {
  const auto& words = context.m_Arguments;
  std::size_t count = 1;
  while (count < words.size()) {
    const std::string& word = words[count];
    if (IsProperty(word) || (word != kAllObjects && FindObject(model, word) == nullptr)) break;
    ++count;
  }
  return count;
}

std::vector<NamedValue> ReadNamedOrAll(const Object& object,
                                       const std::vector<std::string>& properties) {
  if (properties.empty()) return ReadAll(object);
  std::vector<NamedValue> values;
  for (const std::string& property : properties) values.push_back(ReadNamed(object, property));
  return values;
}

// Reports that the values of a card that cannot be read are old, and how old.
void ReportStale(const Context& context, const Object& object, const Object& card) {
  const TimeZone zone = context.m_Style.m_LocalTime ? TimeZone::Local : TimeZone::Utc;
  const std::string age =
      card.m_LastRead == 0
          ? "its values are unknown"
          : fmt::format("its values are from {}", SinceText(card.m_LastRead, NowMs(), zone));
  context.m_Diagnostics.Error(
      "CARD_UNREADABLE", fmt::format("{}: {}; {}", object.m_Selector, UnreadableText(card), age),
      {fmt::format("See: corvane-host status {}", card.m_Selector)});
}

CommandResult ValuesOf(const Context& context, const Model& model, const Object& object,
                       const std::vector<std::string>& properties, bool isSeveral) {
  const std::vector<NamedValue> values = ReadNamedOrAll(object, properties);
  const bool isStale = std::any_of(values.begin(), values.end(), [&](const NamedValue& value) {
    return IsStale(model, object, value.m_Name);
  });
  CommandResult result;
  if (isStale) {
    ReportStale(context, object, *UnreadableCardOf(model, object));
    result.m_Code = ExitCode::Failed;
  }
  result.m_Json = {{"object", object.m_Selector}, {"stale", isStale}, {"values", Json::object()}};
  if (isSeveral) result.m_Table.m_Columns = {{"OBJECT", "object", false}};
  result.m_Table.m_Columns.push_back({"PROPERTY", "property", false});
  result.m_Table.m_Columns.push_back({"VALUE", "value", false});
  for (const NamedValue& value : values) {
    PutValue(result.m_Json["values"], value.m_Name, value.m_Value);
    result.m_Values.push_back(BareText(value.m_Value));
    Row row{{}, std::nullopt};
    if (isSeveral) row.m_Cells.push_back(TextCell(object.m_Selector));
    row.m_Cells.push_back(TextCell(value.m_Name));
    row.m_Cells.push_back(ValueCell(value.m_Value, context.m_Style.m_Ascii));
    result.m_Table.m_Rows.push_back(std::move(row));
  }
  return result;
}

CommandResult Run(Context& context) {
  const Model model = context.Objects();
  RequireObjectFirst(context.m_Arguments, model);
  const auto split =
      context.m_Arguments.begin() + static_cast<std::ptrdiff_t>(CountObjects(context, model));
  const std::vector<std::string> names(context.m_Arguments.begin(), split);
  const std::vector<std::string> properties(split, context.m_Arguments.end());
  const ObjectSelection selection =
      SelectSeveral(model, names, Kind::Adapter,
                    [&](const std::string& name) -> const Object& { return Select(model, name); });
  return RunForEach(context, selection, [&](const Object& object) {
    return ValuesOf(context, model, object, properties, selection.m_IsSeveral);
  });
}

}  // namespace

Command GetCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "get";
  command.m_Arguments = "OBJ... [PROP...]";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "print raw values for scripts, one per line";
  command.m_OutputFormats = {"value", "table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Prints values in base units, in the order requested. An unknown value is printed as '-'. "
      "OBJ may also be all, which selects all adapters. Of a card that cannot be read, prints the "
      "values of the last reading, reports how old they are, and exits with 1.";
  command.m_Exits = {{1, "the card cannot be read, and the values are old or unknown"},
                     {2, "the object has no such property"}};
  command.m_Examples = {{"get a0 temperature_celsius status", "print two values"},
                        {"get all temperature_celsius -o tsv", "print one value of each adapter"}};
  return command;
}

}  // namespace Console
