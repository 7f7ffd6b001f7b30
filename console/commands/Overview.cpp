// list and tree: many objects at a glance.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

#include "console/Answer.h"
#include "console/ChoiceNames.h"
#include "console/Context.h"
#include "console/Health.h"
#include "console/Vocabulary.h"
#include "console/commands/All.h"

namespace Console {
namespace {

using Names = std::vector<std::string>;

const Names kListColumns = {"object",
                            "name",
                            "status",
                            "temperature_celsius",
                            "reserve_space_ratio",
                            "formatted_size_bytes",
                            "pci_address",
                            "serial_number"};

const Names kLongColumns = {"object",
                            "id",
                            "parents",
                            "name",
                            "status",
                            "status_reasons",
                            "temperature_celsius",
                            "reserve_space_ratio",
                            "physical_size_bytes",
                            "formatted_size_bytes",
                            "sector_size_bytes",
                            "pci_address",
                            "serial_number"};

std::string Ids(const std::vector<std::uint64_t>& ids) {
  std::vector<std::string> texts;
  for (const std::uint64_t id : ids) texts.push_back(IdText(id));
  return texts.empty() ? "-" : fmt::format("{}", fmt::join(texts, ","));
}

// Columns that come from the object itself and not from a property.
struct OwnColumn {
  const char* m_Name;
  const char* m_Heading;
  std::string (*m_Text)(const Object&);
};

const OwnColumn kOwnColumns[] = {
    {"object", "OBJECT", [](const Object& o) { return o.m_Selector; }},
    {"type", "TYPE", [](const Object& o) { return std::string(KindName(o.m_Kind)); }},
    {"id", "ID", [](const Object& o) { return IdText(o.m_ID); }},
    {"parents", "PARENTS", [](const Object& o) { return Ids(o.m_Parents); }},
    {"children", "CHILDREN", [](const Object& o) { return Ids(o.m_Children); }},
};

constexpr Kind kKinds[] = {Kind::Adapter, Kind::Drive, Kind::Plugin};

const OwnColumn* FindOwnColumn(const std::string& name) {
  for (const OwnColumn& column : kOwnColumns) {
    if (name == column.m_Name) return &column;
  }
  return nullptr;
}

const Term* FindTermOfAny(const std::string& name) {
  for (const Kind kind : kKinds) {
    if (const Term* term = FindTerm(kind, name)) return term;
  }
  return nullptr;
}

[[noreturn]] void NoSuchColumn(const std::string& name) {
  throw UsageFailure(fmt::format("there is no column '{}'", name), DidYouMean(name, ColumnNames()));
}

bool IsNumber(Measure measure) {
  return measure == Measure::Count || measure == Measure::Bytes || measure == Measure::Ratio ||
         measure == Measure::Celsius || measure == Measure::Watts || measure == Measure::Seconds;
}

Column MakeColumn(const std::string& name) {
  if (const OwnColumn* own = FindOwnColumn(name)) {
    return {own->m_Heading, own->m_Name, false, name == "object"};
  }
  const Term* term = FindTermOfAny(name);
  if (term == nullptr) NoSuchColumn(name);
  return {term->m_Heading, term->m_Name, IsNumber(term->m_Measure), false};
}

// What a kind of object cannot have is left blank for people, and is unknown to scripts.
Cell MakeCell(const Model& model, const Object& object, const std::string& name, bool ascii) {
  if (const OwnColumn* own = FindOwnColumn(name)) return TextCell(own->m_Text(object));
  const Term* term = FindTerm(object.m_Kind, name);
  if (term == nullptr) return {"", "-", Tone::Plain};
  if (name == "status" && object.m_Kind == Kind::Drive) return StatusCell(HealthOf(model, object));
  return ValueCell(ReadTerm(object, *term), ascii);
}

Names ChosenColumns(const Options& options, const Names& usual) {
  return options.m_Columns.empty() ? usual : options.m_Columns;
}

// Headings before the plug-in is brought up, so that a wrong one is told at once.
std::vector<Column> MakeColumns(const Names& names) {
  std::vector<Column> columns;
  for (const std::string& name : names) columns.push_back(MakeColumn(name));
  return columns;
}

// One answer for both: the same rows, with or without the plug-in above them.
Answer Overview(Context& context, const Names& names, bool withPlugin) {
  Answer answer;
  answer.m_Items = "objects";
  answer.m_Result = {{"objects", Json::array()}};
  answer.m_Table.m_Columns = MakeColumns(names);
  const Model model = context.Objects();
  std::map<std::size_t, std::size_t> rowOf;
  for (std::size_t i = 0; i < model.Objects().size(); ++i) {
    const Object& object = model.Objects()[i];
    if (object.m_Kind == Kind::Plugin && !withPlugin) continue;
    Row row;
    for (const Column& column : answer.m_Table.m_Columns) {
      row.m_Cells.push_back(MakeCell(model, object, column.m_Name, context.m_Style.m_Ascii));
    }
    const auto owner = object.m_Owner ? rowOf.find(*object.m_Owner) : rowOf.end();
    if (owner != rowOf.end()) row.m_Parent = owner->second;
    rowOf[i] = answer.m_Table.m_Rows.size();
    answer.m_Table.m_Rows.push_back(std::move(row));
    answer.m_Values.push_back(object.m_Selector);
    answer.m_Result["objects"].push_back(ObjectJson(model, object));
  }
  return answer;
}

}  // namespace

Names ColumnNames() {
  Names names;
  for (const OwnColumn& column : kOwnColumns) names.emplace_back(column.m_Name);
  for (const Kind kind : kKinds) {
    for (const Term& term : TermsOf(kind)) {
      const bool isNew = std::find(names.begin(), names.end(), term.m_Name) == names.end();
      if (isNew) names.emplace_back(term.m_Name);
    }
  }
  return names;
}

Answer RunList(Context& context) {
  return Overview(context, ChosenColumns(context.m_Options, kListColumns), false);
}

Answer RunTree(Context& context) {
  const bool all = context.m_Options.m_Long || context.m_Options.m_Verbose;
  return Overview(context, ChosenColumns(context.m_Options, all ? kLongColumns : kListColumns),
                  true);
}

}  // namespace Console
