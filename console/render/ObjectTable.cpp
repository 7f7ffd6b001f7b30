#include "console/render/ObjectTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>

#include "base/Printable.h"
#include "console/base/Failure.h"
#include "console/model/FieldTable.h"

namespace Console {
namespace {

Cell IdsCell(const std::vector<std::uint64_t>& ids) {
  std::vector<std::string> texts;
  for (const std::uint64_t id : ids) texts.push_back(IdText(id));
  return ListCell(texts);
}

// Columns whose value comes from the object itself instead of a property.
struct BuiltinColumn {
  const char* m_Name;
  const char* m_Heading;
  Cell (*m_Cell)(const Object&);
};

const BuiltinColumn kBuiltinColumns[] = {
    {"object", "OBJECT", [](const Object& o) { return TextCell(o.m_Selector); }},
    {"type", "TYPE", [](const Object& o) { return TextCell(KindName(o.m_Kind)); }},
    {"id", "ID", [](const Object& o) { return TextCell(IdText(o)); }},
    {"parents", "PARENTS", [](const Object& o) { return IdsCell(o.m_Parents); }},
    {"children", "CHILDREN", [](const Object& o) { return IdsCell(o.m_Children); }},
};

constexpr Kind kKinds[] = {Kind::Adapter, Kind::Drive, Kind::Plugin};

// The heading of the objects in `list`.
constexpr const char* kIdHeading = "ID";

const BuiltinColumn* FindBuiltinColumn(const std::string& text) {
  const std::string name = text == kIdHeading ? "object" : text;
  for (const BuiltinColumn& column : kBuiltinColumns) {
    if (boost::iequals(name, column.m_Name)) return &column;
  }
  return nullptr;
}

// Headings are accepted too, because people read them in the table.
const Field* FindFieldOfAnyKind(const std::string& name) {
  for (const Kind kind : kKinds) {
    if (const Field* field = FindField(kind, name)) return field;
  }
  for (const Kind kind : kKinds) {
    for (const Field& field : FieldsOf(kind)) {
      if (boost::iequals(name, field.m_Heading)) return &field;
    }
  }
  return nullptr;
}

[[noreturn]] void ThrowUnknownColumn(const std::string& name) {
  throw UsageFailure(fmt::format("unknown column '{}'", name),
                     DidYouMean(name, ObjectColumnNames()));
}

bool IsNumber(ValueKind kind) {
  return kind == ValueKind::Count || kind == ValueKind::Bytes || kind == ValueKind::Ratio ||
         kind == ValueKind::Celsius || kind == ValueKind::Watts || kind == ValueKind::Seconds;
}

Column CreateColumn(const std::string& name) {
  if (const BuiltinColumn* builtin = FindBuiltinColumn(name)) {
    return {builtin->m_Heading, builtin->m_Name, false, name == "object"};
  }
  const Field* field = FindFieldOfAnyKind(name);
  if (field == nullptr) ThrowUnknownColumn(name);
  return {field->m_Heading, field->m_Name, IsNumber(field->m_Kind), false};
}

}  // namespace

Cell ListCell(const std::vector<std::string>& texts) {
  if (texts.empty()) return TextCell("-");
  return {fmt::format("{}", fmt::join(texts, ", ")),
          Base::Printable(fmt::format("{}", fmt::join(texts, ","))), Severity::Neutral};
}

std::vector<std::string> ObjectColumnNames() {
  std::vector<std::string> names;
  for (const BuiltinColumn& column : kBuiltinColumns) names.emplace_back(column.m_Name);
  for (const Kind kind : kKinds) {
    for (const Field& field : FieldsOf(kind)) {
      const bool isNew = std::find(names.begin(), names.end(), field.m_Name) == names.end();
      if (isNew) names.emplace_back(field.m_Name);
    }
  }
  return names;
}

std::vector<Column> ObjectColumns(const std::vector<std::string>& names) {
  std::vector<Column> columns;
  for (const std::string& name : names) columns.push_back(CreateColumn(name));
  return columns;
}

Cell ObjectCell(const Object& object, const std::string& name, bool ascii) {
  if (const BuiltinColumn* builtin = FindBuiltinColumn(name)) return builtin->m_Cell(object);
  const Field* field = FindField(object.m_Kind, name);
  if (field == nullptr) return {"", "-", Severity::Neutral};
  Cell cell = ValueCell(ReadField(object, *field), ascii);
  // Times are drawn in the time zone of the style.
  if (name == "last_read_at") cell.m_Time = object.m_LastRead;
  if (name == "last_seen_at") cell.m_Time = object.m_LastSeen;
  return cell;
}

}  // namespace Console
