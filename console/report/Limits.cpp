#include "console/report/Limits.h"

#include <fmt/format.h>

#include <iterator>

#include "console/model/CardLimits.h"
#include "console/model/FieldTable.h"

namespace Console {
namespace {

// The limits have no unit, because they follow the measured value.
std::string NumberText(double number, const Field& field) {
  if (field.m_Kind == ValueKind::Watts) return fmt::format("{:.1f}", number);
  return fmt::format("{:.0f}", field.m_Kind == ValueKind::Ratio ? number * 100 : number);
}

}  // namespace

std::string LimitsText(const Object& object, const std::string& field) {
  const Field* const measured = FindField(object.m_Kind, field);
  std::string text;
  for (const Limit* limit : LimitsOf(field)) {
    const auto value = ValueOf(object, *limit);
    if (!value || measured == nullptr || limit->m_Field == nullptr) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", limit->m_Label,
                        NumberText(*value, *measured));
  }
  return text;
}

std::vector<Value> LimitValues(const Object& object, const std::string& field) {
  std::vector<Value> values;
  for (const Limit* limit : LimitsOf(field)) {
    if (limit->m_Field != nullptr) values.push_back(ReadField(object, limit->m_Field));
  }
  return values;
}

}  // namespace Console
