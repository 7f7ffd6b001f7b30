#include "console/model/Value.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "base/Printable.h"
#include "console/model/NumberText.h"
#include "console/model/SizeText.h"

namespace Console {
namespace {

std::string HumanCount(std::uint64_t number, ValueKind kind) {
  if (kind == ValueKind::Bytes) return DecimalSizeText(number);
  if (kind == ValueKind::Seconds) return fmt::format("{} s", number);
  return fmt::format("{}", number);
}

}  // namespace

const char* UnitOf(ValueKind kind) {
  switch (kind) {
    case ValueKind::Bytes:
      return "bytes";
    case ValueKind::Ratio:
      return "ratio";
    case ValueKind::Celsius:
      return "celsius";
    case ValueKind::Watts:
      return "watts";
    case ValueKind::Seconds:
      return "seconds";
    default:
      return nullptr;
  }
}

std::string HumanText(const Value& value, bool ascii) {
  if (const auto* number = std::get_if<double>(&value.m_Data)) {
    return NumberText(*number, value.m_Kind, ascii, 0);
  }
  if (const auto* count = std::get_if<std::uint64_t>(&value.m_Data)) {
    return HumanCount(*count, value.m_Kind);
  }
  if (const auto* text = std::get_if<std::string>(&value.m_Data)) return *text;
  if (const auto* texts = std::get_if<std::vector<std::string>>(&value.m_Data)) {
    return fmt::format("{}", fmt::join(*texts, ", "));
  }
  return BareText(value);
}

std::string BareText(const Value& value) {
  struct {
    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(bool flag) const { return flag ? "yes" : "no"; }
    std::string operator()(std::uint64_t number) const { return fmt::format("{}", number); }
    std::string operator()(double number) const { return fmt::format("{}", number); }
    std::string operator()(const std::string& text) const { return Base::Printable(text); }
    std::string operator()(const std::vector<std::string>& texts) const {
      return fmt::format("{}", fmt::join(texts, ","));
    }
  } text;
  return std::visit(text, value.m_Data);
}

}  // namespace Console
