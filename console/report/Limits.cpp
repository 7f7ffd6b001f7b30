#include "console/report/Limits.h"

#include <fmt/format.h>

#include <iterator>
#include <optional>

namespace Console {
namespace {

// clang-format off
constexpr Limit kLimits[] = {
    // measured             limit                           constant minimum severity           label
    {"temperature_celsius",  "temperature_warning_celsius",  0,       false,  Severity::Warning, "warning"},
    {"temperature_celsius",  "temperature_critical_celsius", 0,       false,  Severity::Bad,     "critical"},
    {"reserve_space_ratio",  "reserve_space_warning_ratio",  0,       true,   Severity::Warning, "warning"},
    {"slot_power_watts",     "power_limit_watts",            0,       false,  Severity::Warning, "limit"},
    {"endurance_used_ratio", nullptr,                        1,       false,  Severity::Warning, "rated"},
};
// clang-format on

std::optional<double> NumberOf(const Value& value) {
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::nullopt : std::optional<double>(*number);
}

std::optional<double> ValueOf(const Object& object, const Limit& limit) {
  if (limit.m_Field == nullptr) return limit.m_Constant;
  return NumberOf(ReadField(object, limit.m_Field));
}

// The limits have no unit, because they follow the measured value.
std::string NumberText(double number, const Field& field) {
  return fmt::format("{:.0f}", field.m_Kind == ValueKind::Ratio ? number * 100 : number);
}

}  // namespace

std::vector<const Limit*> LimitsOf(const std::string& field) {
  std::vector<const Limit*> limits;
  for (const Limit& limit : kLimits) {
    if (field == limit.m_Measured) limits.push_back(&limit);
  }
  return limits;
}

Severity LimitSeverity(const Object& object, const std::string& field) {
  const auto number = NumberOf(ReadField(object, field));
  Severity severity = Severity::Neutral;
  for (const Limit* limit : LimitsOf(field)) {
    const auto value = ValueOf(object, *limit);
    if (!number || !value) continue;
    const bool isReached = limit->m_IsMinimum ? *number <= *value : *number >= *value;
    if (isReached) severity = limit->m_Severity;
  }
  return severity;
}

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
