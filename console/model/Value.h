// Values of fields in base units, and their strings for people and for scripts.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace Console {

// The kind of value in a field; the field's name contains the base unit.
enum class ValueKind {
  Text,
  Choice,
  Choices,
  Flag,
  Count,
  Bytes,
  Ratio,
  Celsius,
  Watts,
  Seconds,
  PciAddress
};

// The value that a plug-in reports for "unknown". Absent properties and empty strings are always
// unknown.
enum class UnknownEncoding { None, Zero, AllOnes };

// The color class of a value.
enum class Severity { Neutral, Good, Warning, Bad };

// A value in its base unit; `m_Data` is empty if the value is unknown.
struct Value {
  using Data = std::variant<std::monostate, bool, std::uint64_t, double, std::string,
                            std::vector<std::string>>;

  bool Known() const { return !std::holds_alternative<std::monostate>(m_Data); }

  ValueKind m_Kind = ValueKind::Text;
  Data m_Data;
  Severity m_Severity = Severity::Neutral;
};

// Returns the base unit, such as "celsius"; null for a kind without a unit.
const char* UnitOf(ValueKind kind);

// Returns the text for people: "48 °C", "1.2 TiB", "97 %", "-". Strings from the plug-in are
// returned unchanged; the table that shows them makes them printable.
std::string HumanText(const Value& value, bool ascii);
// Returns the text for scripts: numbers without a unit, lists separated by commas, "-" for unknown
// values. The text is printable.
std::string BareText(const Value& value);

}  // namespace Console
