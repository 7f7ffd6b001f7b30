// The one vocabulary of table columns, `get`, JSON and metrics: a name with its base unit, the
// property from which it comes, and how the one is made from the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "console/Model.h"
#include "console/Output.h"

namespace Console {

// What a term measures; the base unit is in its name.
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

// The value by which a plug-in says that it does not know. Absent properties and empty texts are
// unknown always.
enum class Nothing { None, Zero, AllOnes };

struct Term {
  const char* m_Name;
  const char* m_Heading;
  std::uint32_t m_PropertyID;
  Measure m_Measure;
  Nothing m_Nothing = Nothing::None;
};

// How good a value is.
enum class Tone { Plain, Good, Warning, Bad };

// A value in its base unit; nothing when it is unknown.
struct Value {
  using Data = std::variant<std::monostate, bool, std::uint64_t, double, std::string,
                            std::vector<std::string>>;

  bool Known() const { return !std::holds_alternative<std::monostate>(m_Data); }

  Measure m_Measure = Measure::Text;
  Data m_Data;
  Tone m_Tone = Tone::Plain;
};

// The terms of a kind of object, in the order in which they are shown.
const std::vector<Term>& TermsOf(Kind kind);

// The term of that name, or of that property's identifier or number, compared without case; null
// when the kind has none.
const Term* FindTerm(Kind kind, const std::string& name);

// All names that `FindTerm` knows, for suggestions.
std::vector<std::string> TermNames(Kind kind);

Value ReadTerm(const Object& object, const Term& term);
// By the term's name; unknown also when the object's kind has no such term.
Value ReadTerm(const Object& object, const std::string& name);

// As `BareText` of the object's term of that name; empty when it is unknown.
std::string TermText(const Object& object, const std::string& name);

// The serial number of the card that the object is or belongs to; empty when it tells none.
std::string SerialOf(const Model& model, const Object& object);

// A property that need not be in the vocabulary, in the unit that it came with.
Value ReadProperty(const PI::CProperty& property);

// The base unit, such as "celsius"; null for what has none.
const char* UnitOf(Measure measure);

// For people: "48 °C", "1.2 TiB", "97 %", "-". Texts are as the plug-in gave them, for a table that
// makes them printable.
std::string HumanText(const Value& value, bool ascii);
// For scripts: base units without a symbol, lists with commas, "-". Printable.
std::string BareText(const Value& value);

}  // namespace Console
