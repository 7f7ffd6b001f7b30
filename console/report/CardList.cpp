#include "console/report/CardList.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <optional>

#include "console/base/Timestamp.h"
#include "console/model/CardLimits.h"
#include "console/model/EffectiveState.h"
#include "console/model/Health.h"
#include "console/model/SizeText.h"
#include "console/render/ObjectTable.h"

namespace Console {
namespace {

using Objects = std::vector<const Object*>;

// A terminal of this width shows only the columns that every card needs.
constexpr std::size_t kNarrow = 80;

constexpr const char* kDetachedRemark = "detached";

struct RowContext {
  const Model& m_Model;
  const Object& m_Object;
  const Objects m_Drives;  // the drive itself in the row of a drive
  const Style& m_Style;
  const bool m_IsOld;
  bool m_IsAcknowledged = false;
};

// Marks a value that has reached its limit.
Cell ReadingCell(const RowContext& row, const char* name) {
  if (FindField(row.m_Object.m_Kind, name) == nullptr) return {"", "-"};
  const Value value = ReadField(row.m_Object, name);
  Cell cell = ValueCell(value, row.m_Style.m_Ascii);
  cell.m_Severity = LimitSeverity(row.m_Object, name);
  if (cell.m_Severity != Severity::Neutral) cell.m_Human += '!';
  MarkOldReading(row.m_Object, name, row.m_IsOld, cell);
  return cell;
}

Cell FieldCell(const RowContext& row, const char* name) {
  return ObjectCell(row.m_Object, name, row.m_Style.m_Ascii);
}

Cell BinarySizeCell(const RowContext& row) {
  const Value value = ReadField(row.m_Object, "formatted_size_bytes");
  const auto* bytes = std::get_if<std::uint64_t>(&value.m_Data);
  return TextCell(bytes == nullptr ? "-" : BinarySizeText(*bytes));
}

// A missing card is listed with a dash instead of its selector, because its slot is empty.
Cell IdCell(const RowContext& row) {
  return TextCell(row.m_Object.m_Access == Access::Missing ? "-" : row.m_Object.m_Selector);
}

// Returns what a card is doing, or whether its problems are acknowledged, or when a missing card
// was last seen.
std::string RemarkText(const RowContext& row) {
  const std::string activity = FieldText(row.m_Object, "activity");
  if (!activity.empty() && activity != "IDLE") return boost::to_lower_copy(activity);
  if (row.m_IsAcknowledged) return "acknowledged";
  if (row.m_Object.m_Access != Access::Missing || row.m_Object.m_LastSeen == 0) return {};
  const TimeZone zone = row.m_Style.m_LocalTime ? TimeZone::Local : TimeZone::Utc;
  return "last seen " + ShortTimeText(row.m_Object.m_LastSeen, NowMs(), zone);
}

// A card that has another problem and is detached has two remarks at most.
Cell RemarkCell(const RowContext& row) {
  std::vector<std::string> remarks;
  if (IsAlsoDetached(row.m_Object)) remarks.emplace_back(kDetachedRemark);
  if (const std::string text = RemarkText(row); !text.empty()) remarks.push_back(text);
  return TextCell(fmt::format("{}", fmt::join(remarks, ", ")));
}

Cell DrivesCell(const RowContext& row) {
  std::string names;
  for (const Object* drive : row.m_Drives) {
    names += (names.empty() ? "" : ",") + drive->m_Selector;
  }
  return TextCell(names.empty() ? "-" : names);
}

struct ListColumn {
  Column m_Column;
  bool m_Extra;  // only with --long and on wide terminals
  Cell (*m_Cell)(const RowContext&);
};

// clang-format off
const std::vector<ListColumn>& Columns() {
  static const std::vector<ListColumn> columns = {
    // heading    name                    right  tree  min rank shrinks extra
    {{"ID",       "object",               false, true,  0,  0,  false}, false, IdCell},
    {{"STATUS",   "status",               false, false, 0,  0,  false}, false,
     [](const RowContext& row) { return FieldCell(row, "status"); }},
    {{"TEMP",     "temperature_celsius",  true,  false, 0,  1,  false}, false,
     [](const RowContext& row) { return ReadingCell(row, "temperature_celsius"); }},
    {{"RESERVE",  "reserve_space_ratio",  true,  false, 0,  3,  false}, false,
     [](const RowContext& row) { return ReadingCell(row, "reserve_space_ratio"); }},
    {{"USED",     "endurance_used_ratio", true,  false, 0,  4,  false}, false,
     [](const RowContext& row) { return ReadingCell(row, "endurance_used_ratio"); }},
    {{"SIZE",     "formatted_size_bytes", true,  false, 0,  5,  false}, false,
     [](const RowContext& row) { return FieldCell(row, "formatted_size_bytes"); }},
    {{"BINARY",   "formatted_size_bytes", true,  false, 0,  10, false}, true,  BinarySizeCell},
    {{"SLOT",     "pci_slot",             true,  false, 0,  2,  false}, false,
     [](const RowContext& row) { return FieldCell(row, "pci_slot"); }},
    {{"SERIAL",   "serial_number",        false, false, 0,  0,  false}, false,
     [](const RowContext& row) { return FieldCell(row, "serial_number"); }},
    {{"PCI",      "pci_address",          false, false, 0,  7,  false}, true,
     [](const RowContext& row) { return FieldCell(row, "pci_address"); }},
    {{"NAME",     "name",                 false, false, 0,  8,  true},  true,
     [](const RowContext& row) { return FieldCell(row, "name"); }},
    {{"DRIVES",   "children",             false, false, 0,  9,  false}, true,  DrivesCell},
    {{"",         "last_seen_at",         false, false, 0,  6,  false}, false, RemarkCell},
  };
  return columns;
}
// clang-format on

std::vector<const ListColumn*> ShownColumns(const Style& style, bool isLong) {
  std::vector<const ListColumn*> shown;
  for (const ListColumn& column : Columns()) {
    const bool isDrives = column.m_Cell == DrivesCell;
    if (column.m_Extra && (isLong ? isDrives : style.m_Width <= kNarrow)) continue;
    shown.push_back(&column);
  }
  return shown;
}

// Calls `add` for each row: for each card, and with `isLong` for its drives too, with the index of
// the card's row.
template <class Add>
void ForEachRow(const Model& model, const Style& style, bool isLong, bool isOld, Add add) {
  std::size_t count = 0;
  for (const Object* card : CardsWorstFirst(model)) {
    const Objects drives = DrivesOf(model, *card);
    const std::size_t parent = count++;
    add(RowContext{model, *card, drives, style, isOld}, std::nullopt);
    for (const Object* drive : isLong ? drives : Objects()) {
      add(RowContext{model, *drive, {drive}, style, isOld}, std::optional<std::size_t>(parent));
      ++count;
    }
  }
}

Cell ChosenCell(const RowContext& row, const std::string& name) {
  Cell own = ObjectCell(row.m_Object, name, row.m_Style.m_Ascii);
  MarkOldReading(row.m_Object, name, row.m_IsOld, own);
  MarkDetached(row.m_Object, name, own);
  if (!own.m_Human.empty() || row.m_Drives.empty()) return own;
  return ObjectCell(*row.m_Drives.front(), name, row.m_Style.m_Ascii);
}

// Values that change while a card works, and that a report may repeat from an earlier one.
constexpr const char* kReadings[] = {"temperature_celsius", "reserve_space_ratio",
                                     "endurance_used_ratio"};

}  // namespace

void MarkOldReading(const Object& object, const std::string& field, bool isOld, Cell& cell) {
  const bool isReading =
      std::find(std::begin(kReadings), std::end(kReadings), field) != std::end(kReadings);
  const bool isKnown = !cell.m_Human.empty() && cell.m_Human != "-";
  if (!isReading || !isKnown) return;
  if (isOld || object.m_Access == Access::Unreadable) cell.m_Human += '?';
}

void MarkDetached(const Object& object, const std::string& field, Cell& cell) {
  if (field == "status" && IsAlsoDetached(object)) {
    cell.m_Human += fmt::format(", {}", kDetachedRemark);
  }
}

Objects CardsWorstFirst(const Model& model) {
  Objects cards = WorstFirst(model);
  const auto isDrive = [](const Object* object) { return object->m_Kind != Kind::Adapter; };
  cards.erase(std::remove_if(cards.begin(), cards.end(), isDrive), cards.end());
  return cards;
}

Objects DrivesOf(const Model& model, const Object& card) {
  Objects drives;
  for (const Object& object : model.Objects()) {
    if (object.m_Kind == Kind::Drive && model.OwnerOf(object) == &card) drives.push_back(&object);
  }
  return drives;
}

Table CardList(const Model& model, const Style& style, bool isLong, bool isOld,
               const std::set<const Object*>& acknowledged) {
  Table table;
  table.m_Gap = "  ";
  const std::vector<const ListColumn*> columns = ShownColumns(style, isLong);
  for (const ListColumn* column : columns) table.m_Columns.push_back(column->m_Column);
  ForEachRow(model, style, isLong, isOld,
             [&](RowContext context, std::optional<std::size_t> parent) {
               Row row{{}, parent};
               context.m_IsAcknowledged = acknowledged.count(&context.m_Object) > 0;
               for (const ListColumn* column : columns)
                 row.m_Cells.push_back(column->m_Cell(context));
               table.m_Rows.push_back(std::move(row));
             });
  return table;
}

Table CardListWith(const Model& model, const std::vector<std::string>& names, const Style& style,
                   bool isLong, bool isOld) {
  Table table;
  table.m_Columns = ObjectColumns(names);
  ForEachRow(model, style, isLong, isOld,
             [&](const RowContext& context, std::optional<std::size_t> parent) {
               Row row{{}, parent};
               for (const Column& column : table.m_Columns) {
                 row.m_Cells.push_back(ChosenCell(context, column.m_Name));
               }
               table.m_Rows.push_back(std::move(row));
             });
  return table;
}

}  // namespace Console
