// A value of a field in its base unit, and how it reads for people and for scripts.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace Console {

// What a field measures; the base unit is in the field's name.
enum class Measure {
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

// The value that a plug-in reports for "unknown". Absent properties and empty texts are always
// unknown.
enum class UnknownEncoding { None, Zero, AllOnes };

// How good a value is.
enum class Severity { Neutral, Good, Warning, Bad };

// A value in its base unit; nothing when it is unknown.
struct Value {
  using Data = std::variant<std::monostate, bool, std::uint64_t, double, std::string,
                            std::vector<std::string>>;

  bool Known() const { return !std::holds_alternative<std::monostate>(m_Data); }

  Measure m_Measure = Measure::Text;
  Data m_Data;
  Severity m_Severity = Severity::Neutral;
};

// The base unit, such as "celsius"; null for what has none.
const char* UnitOf(Measure measure);

// For people: "48 °C", "1.2 TiB", "97 %", "-". Texts are as the plug-in gave them, for a table that
// makes them printable.
std::string HumanText(const Value& value, bool ascii);
// For scripts: base units without a symbol, lists with commas, "-". Printable.
std::string BareText(const Value& value);

}  // namespace Console
