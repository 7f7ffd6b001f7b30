#include "console/model/NumberText.h"

#include <fmt/format.h>

#include <algorithm>

namespace Console {
namespace {

// Whether a limit is a different number and has the same text.
bool HasEqualText(const Value& limit, double number, const Value& value, bool ascii, int decimals) {
  const auto* const other = std::get_if<double>(&limit.m_Data);
  if (other == nullptr || (!(*other < number) && !(*other > number))) return false;
  return NumberText(*other, value.m_Kind, ascii, decimals) ==
         NumberText(number, value.m_Kind, ascii, decimals);
}

}  // namespace

std::string NumberText(double number, ValueKind kind, bool ascii, int decimals) {
  switch (kind) {
    case ValueKind::Ratio:
      return fmt::format("{:.{}f} %", number * 100, decimals);
    case ValueKind::Celsius:
      return fmt::format("{:.{}f} {}", number, decimals, ascii ? "C" : "\u00b0C");
    case ValueKind::Watts:
      return fmt::format("{:.{}f} W", number, decimals + 1);
    default:
      return fmt::format("{}", number);
  }
}

std::string TextApartFrom(const std::vector<Value>& limits, const Value& value, bool ascii) {
  constexpr int kMaxDecimals = 6;
  const auto* const number = std::get_if<double>(&value.m_Data);
  if (number == nullptr) return HumanText(value, ascii);
  int decimals = 0;
  while (decimals < kMaxDecimals &&
         std::any_of(limits.begin(), limits.end(), [&](const Value& limit) {
           return HasEqualText(limit, *number, value, ascii, decimals);
         })) {
    ++decimals;
  }
  return NumberText(*number, value.m_Kind, ascii, decimals);
}

}  // namespace Console
