#include "cardsim/JsonReading.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "cardsim/Suggest.h"

namespace CardSim {
namespace {

std::string RangeText(const AttributeInfo& info) {
  return "must be a whole number from " + std::to_string(info.min) + " to " +
         std::to_string(info.max);
}

Value TextFromJson(const Json& json, const std::string& place) {
  if (!json.is_string()) Refuse(place, "must be a text");
  auto text = json.get<std::string>();
  if (text.find('\0') != std::string::npos) Refuse(place, "must not hold a zero byte");
  return text;
}

Value FloatFromJson(const Json& json, const std::string& place) {
  if (!json.is_number()) Refuse(place, "must be a number");
  const auto number = json.get<double>();
  if (!(std::fabs(number) <= static_cast<double>(std::numeric_limits<float>::max()))) {
    Refuse(place, "must be within the range of a 32-bit float");
  }
  return static_cast<float>(number);
}

Value UnsignedFromJson(const AttributeInfo& info, const Json& json, const std::string& place) {
  const bool fits = json.is_number_unsigned() && json.get<std::uint64_t>() <= info.max;
  if (!fits) Refuse(place, RangeText(info));
  return json.get<std::uint64_t>();
}

Value SignedFromJson(const AttributeInfo& info, const Json& json, const std::string& place) {
  const bool tooLarge = json.is_number_unsigned() && json.get<std::uint64_t>() > info.max;
  if (!json.is_number_integer() || tooLarge) Refuse(place, RangeText(info));
  const auto number = json.get<std::int64_t>();
  if (number < info.min) Refuse(place, RangeText(info));
  return number;
}

// Line and column, since the byte's number says little to a person with an editor.
[[noreturn]] void RefuseDamaged(const std::string& text, std::size_t byte) {
  std::size_t line = 1;
  std::size_t column = 1;
  for (std::size_t i = 0; i + 1 < byte && i < text.size(); ++i) {
    const bool ends = text[i] == '\n';
    line += ends ? 1 : 0;
    column = ends ? 1 : column + 1;
  }
  throw std::runtime_error("line " + std::to_string(line) + ", column " + std::to_string(column) +
                           ": no valid JSON");
}

}  // namespace

[[noreturn]] void Refuse(const std::string& place, const std::string& why) {
  throw std::runtime_error(place + ": " + why);
}

Json ParseJson(const std::string& text) {
  try {
    return Json::parse(text);
  } catch (const Json::parse_error& error) {
    RefuseDamaged(text, error.byte);
  } catch (const Json::exception&) {
    throw std::runtime_error("holds a number that no JSON reader can keep");
  }
}

Value ValueFromJson(const AttributeInfo& info, const Json& json, const std::string& place) {
  switch (info.kind) {
    case Kind::Text:
      return TextFromJson(json, place);
    case Kind::Bool:
      if (!json.is_boolean()) Refuse(place, "must be true or false");
      return json.get<bool>();
    case Kind::Float:
      return FloatFromJson(json, place);
    case Kind::Signed:
      return SignedFromJson(info, json, place);
    case Kind::Unsigned:
      break;
  }
  return UnsignedFromJson(info, json, place);
}

const Json& Member(const Json& object, const char* name, const std::string& place) {
  const auto found = object.find(name);
  if (found == object.end()) Refuse(place, std::string("has no \"") + name + "\"");
  return *found;
}

std::uint64_t Number(const Json& object, const char* name, const std::string& place,
                     std::uint64_t max) {
  const AttributeInfo info{name, Kind::Unsigned, 0, max};
  const Json& member = Member(object, name, place);
  return std::get<std::uint64_t>(ValueFromJson(info, member, place + "." + name));
}

std::string Text(const Json& object, const char* name, const std::string& place) {
  const Json& member = Member(object, name, place);
  return std::get<std::string>(TextFromJson(member, place + "." + name));
}

bool Flag(const Json& object, const char* name, const std::string& place) {
  const AttributeInfo info{name, Kind::Bool, 0, 0};
  return std::get<bool>(ValueFromJson(info, Member(object, name, place), place + "." + name));
}

void CheckMembers(const Json& object, const std::vector<std::string>& names,
                  const std::string& place) {
  if (!object.is_object()) Refuse(place, "must be an object");
  for (const auto& [name, unused] : object.items()) {
    bool known = false;
    for (const std::string& candidate : names) known = known || candidate == name;
    if (!known) Refuse(place + "." + name, "unknown" + DidYouMean(name, names));
  }
}

}  // namespace CardSim
