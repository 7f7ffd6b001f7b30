// rows: the rows that plug-ins have written to the host's database.
#include <fmt/format.h>

#include <boost/algorithm/string.hpp>

#include "console/base/Failure.h"
#include "console/cli/CommandTable.h"
#include "console/plugin/EventLogClient.h"
#include "console/plugin/RowTables.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"
#include "host/Database.h"

namespace Console {
namespace {

using HostKit::CellKind;
using HostKit::RowTable;

std::vector<RowSource> RequestedSources(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return {std::begin(kRowSources), std::end(kRowSources)};
  for (const RowSource& source : kRowSources) {
    if (arguments[0] == source.m_Name) return {source};
  }
  const std::vector<std::string> names = RowTableNames();
  std::vector<std::string> advice = DidYouMean(arguments[0], names);
  advice.push_back(fmt::format("Tables: {}", boost::join(names, ", ")));
  throw UsageFailure(fmt::format("unknown table '{}'", arguments[0]), advice);
}

// Reads this host's file if the session is null.
RowTable Read(Session* session, const RowSource& source) {
  try {
    return session == nullptr ? HostKit::ReadRows(source.m_Kind) : session->ReadRows(source);
  } catch (const DBEXCEPTION::DatabaseException& failure) {
    throw Failure(ExitCode::Failed, "DATABASE_FAILED", "rows: cannot read the database",
                  failure.what(), DatabaseAdvice());
  }
}

// The plug-in separates the elements of a list with question marks.
Json ListJson(const std::string& cell) {
  if (cell.empty()) return Json::array();
  std::vector<std::string> elements;
  return boost::split(elements, cell, [](char character) { return character == '?'; });
}

// An integer that JSON readers may round is also stored as text, in NAME_s.
void PutCell(Json& row, const HostKit::RowColumn& column, const std::string& cell) {
  constexpr std::int64_t kExactInDouble = std::int64_t{1} << 53;
  if (column.m_Kind == CellKind::Text) row[column.m_Name] = cell;
  if (column.m_Kind == CellKind::List) row[column.m_Name] = ListJson(cell);
  if (column.m_Kind == CellKind::Real) row[column.m_Name] = std::stod(cell);
  if (column.m_Kind != CellKind::Integer) return;
  const std::int64_t number = std::stoll(cell);
  row[column.m_Name] = number;
  if (number > kExactInDouble) row[column.m_Name + "_s"] = cell;
}

Json TableJson(const char* name, const RowTable& table) {
  Json rows = Json::array();
  for (const auto& cells : table.m_Rows) {
    Json row = Json::object();
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (cells[i]) PutCell(row, table.m_Columns[i], *cells[i]);
    }
    rows.push_back(row);
  }
  return {{"table", name}, {"name", table.m_Name}, {"count", table.m_Rows.size()}, {"rows", rows}};
}

// Adds one row per cell that is not NULL, with the key of the cell's row.
void AddCells(Table& into, const char* name, const RowTable& table) {
  for (const auto& cells : table.m_Rows) {
    const Cell key = TextCell(cells.front().value_or(""));
    for (std::size_t i = 1; i < cells.size(); ++i) {
      if (!cells[i]) continue;
      into.m_Rows.push_back(
          {{TextCell(name), key, TextCell(table.m_Columns[i].m_Name), TextCell(*cells[i])},
           std::nullopt});
    }
  }
}

std::string CountLine(const char* name, const RowTable& table) {
  const std::size_t count = table.m_Rows.size();
  return fmt::format("{}: {} {} in {}\n", name, count, count == 1 ? "row" : "rows", table.m_Name);
}

// Returns null if the driver of the cards is missing: the rows are in a file of this host.
Session* OpenIfPossible(Context& context) {
  try {
    return &context.Open();
  } catch (const Failure& failure) {
    if (failure.m_Id != "CARD_LIBRARY_MISSING") throw;
    context.m_Diagnostics.Note(failure.m_Id, failure.m_Text + "; showing the stored rows");
    return nullptr;
  }
}

CommandResult Run(Context& context) {
  const std::vector<RowSource> wanted = RequestedSources(context.m_Arguments);
  Session* const session = OpenIfPossible(context);
  CommandResult result;
  result.m_Json = {{"tables", Json::array()}};
  result.m_Table.m_Columns = {{"TABLE", "table", false},
                              {"ID", "id", true},
                              {"COLUMN", "column", false},
                              {"VALUE", "value", false}};
  std::string counts;
  for (const RowSource& source : wanted) {
    const RowTable table = Read(session, source);
    result.m_Json["tables"].push_back(TableJson(source.m_Name, table));
    AddCells(result.m_Table, source.m_Name, table);
    counts += CountLine(source.m_Name, table);
  }
  result.m_Text = counts + DrawTable(result.m_Table, context.m_Style, false);
  return result;
}

}  // namespace

Command RowsCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "rows";
  command.m_Arguments = "[TABLE]";
  command.m_MinArguments = 0;
  command.m_MaxArguments = 1;
  command.m_Summary = "show the rows that plug-ins wrote to the host's database";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Prints the tables of adapters, drives and plug-ins in the host's SQLite file.";
  command.m_Examples = {{"rows adapter", "show the rows of the adapters"},
                        {"rows -o json", "print all tables, for a script"}};
  return command;
}

}  // namespace Console
