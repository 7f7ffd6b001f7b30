#include "console/report/Limits.h"

#include <fmt/format.h>

#include <iterator>

#include "console/model/CardLimits.h"
#include "console/model/FieldTable.h"

namespace Console {
namespace {

// The limits have no unit, because they follow the measured value.
std::string NumberText(double number, const Field& field) {
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

std::string DecimalSizeText(std::uint64_t bytes) {
  static constexpr const char* kSymbols[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
  // 999.5 would be rounded to 1000, which has four digits.
  constexpr double kNextUnit = 999.5;
  auto scaled = static_cast<double>(bytes);
  std::size_t symbol = 0;
  while (scaled >= kNextUnit && symbol + 1 < std::size(kSymbols)) {
    scaled /= 1000;
    ++symbol;
  }
  if (symbol == 0) return fmt::format("{} B", bytes);
  const int decimals = scaled < 9.995 ? 2 : scaled < 99.95 ? 1 : 0;
  return fmt::format("{:.{}f} {}", scaled, decimals, kSymbols[symbol]);
}

}  // namespace Console
