#include "console/model/PropertyConversion.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "base/Lookup.h"
#include "hostkit/Texts.h"
#include "hostkit/Units.h"
#include "hostkit/ValueTypes.h"

namespace Console {
namespace {

constexpr std::uint64_t kAllOnes32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kAllOnes64 = std::numeric_limits<std::uint64_t>::max();

struct UnitFactor {
  const char* m_Symbol;
  double m_Bytes;
};

// Listed by symbol, because each host chooses its own numbers for the units of converted sizes.
constexpr UnitFactor kByteUnits[] = {
    {"B", 0x1p0},    {"KiB", 0x1p10}, {"MiB", 0x1p20}, {"GiB", 0x1p30},
    {"TiB", 0x1p40}, {"PiB", 0x1p50}, {"EiB", 0x1p60},
};

std::optional<double> BytesPerUnit(PI::_UNITS unit) {
  const std::string symbol = HostKit::UnitSymbol(unit);
  for (const UnitFactor& row : kByteUnits) {
    if (symbol == row.m_Symbol) return row.m_Bytes;
  }
  return std::nullopt;
}

// Converts a float to the double with the same shortest decimal form, so that 48.2 does not become
// 48.2000007629.
double Decimal(float number) {
  return std::strtod(fmt::format("{}", number).c_str(), nullptr);
}

std::optional<double> NumberOf(const PI::CProperty& property) {
  switch (property.m_ValueType) {
    case HostKit::VALUE_TYPE_NUMBER:
      return static_cast<double>(property.m_Value.m_Number);
    case HostKit::VALUE_TYPE_RANGE:
      return property.m_Value.m_Integer;
    case HostKit::VALUE_TYPE_FLOAT:
      if (!std::isfinite(property.m_Value.m_Float)) return std::nullopt;
      return Decimal(property.m_Value.m_Float);
    default:
      return std::nullopt;
  }
}

// The plug-in's indicator numbers for the status of adapters and drives.
enum Indicator : std::uint32_t {
  INDICATOR_ADAPTER_OK = 24000,
  INDICATOR_ADAPTER_FAILED = 24001,
  INDICATOR_ADAPTER_WARNING = 24002,
  INDICATOR_DRIVE_FAILED = 24177,
  INDICATOR_DRIVE_AVAILABLE = 24183,
  INDICATOR_DRIVE_SMART = 24189,  // available, and expected to fail
};

constexpr std::pair<std::uint32_t, Severity> kSeverities[] = {
    {INDICATOR_ADAPTER_OK, Severity::Good},         {INDICATOR_ADAPTER_FAILED, Severity::Bad},
    {INDICATOR_ADAPTER_WARNING, Severity::Warning}, {INDICATOR_DRIVE_FAILED, Severity::Bad},
    {INDICATOR_DRIVE_AVAILABLE, Severity::Good},    {INDICATOR_DRIVE_SMART, Severity::Warning},
};

Value::Data TextData(const PI::CProperty& property) {
  if (property.m_ValueType != HostKit::VALUE_TYPE_STRING ||
      property.m_Value.m_String.m_Text.empty()) {
    return {};
  }
  return property.m_Value.m_String.m_Text;
}

Value::Data ChoiceData(const PI::CProperty& property) {
  if (property.m_ValueType != HostKit::VALUE_TYPE_CHOICE) return {};
  return ChoiceName(property.m_Value.m_Choice.m_Value);
}

Value::Data ChoicesData(const PI::CProperty& property) {
  if (property.m_ValueType != HostKit::VALUE_TYPE_MULTI_CHOICE) return {};
  std::vector<std::string> names;
  for (const std::int32_t value : property.m_Value.m_MultiValue.m_Values) {
    names.push_back(ChoiceName(value));
  }
  return names;
}

Value::Data FlagData(const PI::CProperty& property) {
  if (property.m_ValueType != HostKit::VALUE_TYPE_BOOL) return {};
  return property.m_Value.m_Bool;
}

Value::Data CountData(const PI::CProperty& property, UnknownEncoding unknown) {
  const auto integer = IntegerOf(property, unknown);
  if (!integer) return {};
  return *integer;
}

Value::Data BytesData(const PI::CProperty& property) {
  const auto number = NumberOf(property);
  const auto unit = BytesPerUnit(property.m_Units);
  if (!number || !unit || *number < 0 || *number * *unit >= 0x1p64) return {};
  return static_cast<std::uint64_t>(*number * *unit);
}

// Divides by `scale` to convert the expected unit to the base unit.
Value::Data RealData(const PI::CProperty& property, PI::_UNITS expected, double scale) {
  const auto number = NumberOf(property);
  if (!number || property.m_Units != expected) return {};
  return *number / scale;
}

Value::Data SecondsData(const PI::CProperty& property) {
  if (property.m_Units != PI::UNITS_SECONDS) return {};
  return CountData(property, UnknownEncoding::None);
}

Value::Data DataOf(const PI::CProperty& property, ValueKind kind, UnknownEncoding unknown) {
  switch (kind) {
    case ValueKind::Text:
      return TextData(property);
    case ValueKind::Choice:
      return ChoiceData(property);
    case ValueKind::Choices:
      return ChoicesData(property);
    case ValueKind::Flag:
      return FlagData(property);
    case ValueKind::Count:
      return CountData(property, unknown);
    case ValueKind::Bytes:
      return BytesData(property);
    case ValueKind::Ratio:
      return RealData(property, PI::UNITS_PERCENT, 100);
    case ValueKind::Celsius:
      return RealData(property, PI::UNITS_DEGREES_CELSIUS, 1);
    case ValueKind::Watts:
      return RealData(property, PI::UNITS_WATTS, 1);
    case ValueKind::Seconds:
      return SecondsData(property);
    case ValueKind::PciAddress:
      break;
  }
  return {};
}

bool IsZero(const Value::Data& data) {
  if (const auto* count = std::get_if<std::uint64_t>(&data)) return *count == 0;
  if (const auto* number = std::get_if<double>(&data)) return !(*number < 0 || *number > 0);
  return false;
}

}  // namespace

Value Convert(const PI::CProperty& property, ValueKind kind, UnknownEncoding unknown) {
  Value value{kind, DataOf(property, kind, unknown),
              Base::Lookup(kSeverities, property.m_Indicator, Severity::Neutral)};
  if (unknown == UnknownEncoding::Zero && IsZero(value.m_Data)) value.m_Data = {};
  return value;
}

ValueKind ImpliedKind(const PI::CProperty& property) {
  switch (property.m_ValueType) {
    case HostKit::VALUE_TYPE_BOOL:
      return ValueKind::Flag;
    case HostKit::VALUE_TYPE_CHOICE:
      return ValueKind::Choice;
    case HostKit::VALUE_TYPE_MULTI_CHOICE:
      return ValueKind::Choices;
    case HostKit::VALUE_TYPE_STRING:
    case HostKit::VALUE_TYPE_NONE:
      return ValueKind::Text;
    default:
      break;
  }
  if (BytesPerUnit(property.m_Units)) return ValueKind::Bytes;
  if (property.m_Units == PI::UNITS_PERCENT) return ValueKind::Ratio;
  if (property.m_Units == PI::UNITS_DEGREES_CELSIUS) return ValueKind::Celsius;
  if (property.m_Units == PI::UNITS_WATTS) return ValueKind::Watts;
  if (property.m_Units == PI::UNITS_SECONDS) return ValueKind::Seconds;
  return ValueKind::Count;
}

std::string ChoiceName(std::int32_t value) {
  const std::string name =
      HostKit::NameOf(HostKit::Family::Value, static_cast<std::uint32_t>(value));
  return name.empty() ? fmt::format("{}", value) : name;
}

std::optional<std::uint64_t> IntegerOf(const PI::CProperty& property, UnknownEncoding unknown) {
  std::uint64_t count = 0;
  if (property.m_ValueType == HostKit::VALUE_TYPE_NUMBER) {
    count = property.m_Value.m_Number;
  } else if (property.m_ValueType == HostKit::VALUE_TYPE_RANGE && property.m_Value.m_Integer >= 0) {
    count = static_cast<std::uint64_t>(property.m_Value.m_Integer);
  } else {
    return std::nullopt;
  }
  if (unknown == UnknownEncoding::AllOnes && (count == kAllOnes32 || count == kAllOnes64)) {
    return std::nullopt;
  }
  return count;
}

}  // namespace Console
