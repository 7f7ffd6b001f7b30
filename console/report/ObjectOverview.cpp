#include "console/report/ObjectOverview.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "console/base/Failure.h"
#include "console/render/ObjectTable.h"
#include "console/report/CardList.h"

namespace Console {

const std::vector<std::string>& DefaultColumns() {
  static const std::vector<std::string> columns = {"object",
                                                   "name",
                                                   "status",
                                                   "temperature_celsius",
                                                   "reserve_space_ratio",
                                                   "formatted_size_bytes",
                                                   "pci_address",
                                                   "serial_number"};
  return columns;
}

std::optional<CommandResult> ColumnHelp(const Context& context) {
  const std::vector<std::string>& chosen = context.m_Options.m_Columns;
  if (chosen.size() != 1 || chosen.front() != "help") return std::nullopt;
  if (context.m_OutputFormat != "table" && context.m_OutputFormat != "tree") {
    throw UsageFailure(
        fmt::format("-c help cannot be combined with -o {}", context.m_OutputFormat));
  }
  CommandResult result;
  result.m_Text = "";
  for (const std::string& name : ObjectColumnNames()) *result.m_Text += name + "\n";
  return result;
}

namespace {

CommandResult OverviewOf(Context& context, const Model& model, std::vector<Column> columns,
                         bool withPlugin) {
  const bool isOld = !context.Open().IsUp();
  CommandResult result;
  result.m_Items = "objects";
  result.m_Json = {{"objects", Json::array()}};
  result.m_Table.m_Columns = std::move(columns);
  std::map<std::size_t, std::size_t> rowOf;
  for (std::size_t i = 0; i < model.Objects().size(); ++i) {
    const Object& object = model.Objects()[i];
    if (object.m_Kind == Kind::Plugin && !withPlugin) continue;
    Row row;
    for (const Column& column : result.m_Table.m_Columns) {
      row.m_Cells.push_back(ObjectCell(object, column.m_Name, context.m_Style.m_Ascii));
      MarkOldReading(object, column.m_Name, isOld, row.m_Cells.back());
      MarkDetached(object, column.m_Name, row.m_Cells.back());
    }
    const auto owner = object.m_Owner ? rowOf.find(*object.m_Owner) : rowOf.end();
    if (owner != rowOf.end()) row.m_Parent = owner->second;
    rowOf[i] = result.m_Table.m_Rows.size();
    result.m_Table.m_Rows.push_back(std::move(row));
    result.m_Values.push_back(object.m_Selector);
    result.m_Json["objects"].push_back(ObjectJson(model, object));
  }
  return result;
}

// Columns that are cut or omitted if the terminal is too narrow, the highest rank first.
struct Fitting {
  const char* m_Name;
  std::size_t m_Rank;
  bool m_Shrinks;
};

constexpr Fitting kFittings[] = {
    {"name", 6, true},
    {"status_reasons", 12, true},
    {"id", 11, false},
    {"parents", 13, false},
    {"physical_size_bytes", 9, false},
    {"formatted_size_bytes", 7, false},
    {"sector_size_bytes", 10, false},
    {"pci_address", 8, false},
    {"reserve_space_ratio", 5, false},
    {"temperature_celsius", 4, false},
    {"serial_number", 3, false},
};

// Columns that the user has chosen are shortened if possible, but never omitted.
std::vector<Column> FittingColumns(const std::vector<std::string>& names, bool isChosen) {
  std::vector<Column> columns = ObjectColumns(names);
  for (Column& column : columns) {
    for (const Fitting& row : kFittings) {
      if (column.m_Name != row.m_Name) continue;
      column.m_Shrinks = row.m_Shrinks;
      if (!isChosen) column.m_Rank = row.m_Rank;
    }
  }
  return columns;
}

}  // namespace

CommandResult ObjectOverview(Context& context, const std::vector<std::string>& defaults,
                             bool withPlugin) {
  if (auto help = ColumnHelp(context)) return *help;
  const std::vector<std::string>& chosen = context.m_Options.m_Columns;
  std::vector<Column> columns = FittingColumns(chosen.empty() ? defaults : chosen, !chosen.empty());
  return OverviewOf(context, context.Objects(), std::move(columns), withPlugin);
}

namespace {

// Columns that identify the card of a row.
constexpr const char* kIdentifying[] = {"object",   "id",        "name",          "pci_address",
                                        "pci_slot", "unique_id", "serial_number", "control_device"};

// Returns the chosen columns, after the objects if no column would tell the rows apart.
std::vector<std::string> WithObjects(std::vector<std::string> chosen) {
  const std::vector<Column> columns = ObjectColumns(chosen);
  const bool isIdentified = std::any_of(columns.begin(), columns.end(), [](const Column& column) {
    return std::find(std::begin(kIdentifying), std::end(kIdentifying), column.m_Name) !=
           std::end(kIdentifying);
  });
  if (!isIdentified) chosen.insert(chosen.begin(), "object");
  return chosen;
}

}  // namespace

CommandResult CardOverview(
    Context& context, const std::function<std::set<const Object*>(const Model&)>& acknowledged) {
  if (auto help = ColumnHelp(context)) return *help;
  const std::vector<std::string>& chosen = context.m_Options.m_Columns;
  const bool isLong = context.m_Options.m_Long || context.m_Options.m_Verbose;
  std::vector<Column> columns = ObjectColumns(chosen.empty() ? DefaultColumns() : chosen);
  const Model model = context.Objects();
  CommandResult result = OverviewOf(context, model, std::move(columns), false);
  if (!context.PrintsText()) return result;
  const bool isOld = !context.Open().IsUp();
  const Table table =
      chosen.empty() ? CardList(model, context.m_Style, isLong, isOld, acknowledged(model))
                     : CardListWith(model, WithObjects(chosen), context.m_Style, isLong, isOld);
  result.m_Text = DrawTable(table, context.m_Style, false);
  return result;
}

}  // namespace Console
