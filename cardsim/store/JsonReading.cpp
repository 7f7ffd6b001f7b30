#include "cardsim/store/JsonReading.h"

#include <cmath>
#include <optional>
#include <stdexcept>

#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

std::string RangeText(const AttributeInfo& info) {
  return "must be a whole number from " + std::to_string(info.min) + " to " +
         std::to_string(info.max);
}

Value TextFromJson(const Json& json, const std::string& location) {
  const auto* text = json.As<std::string>();
  if (text == nullptr) Reject(location, "must be a string");
  if (text->find('\0') != std::string::npos) Reject(location, "must not contain a zero byte");
  return *text;
}

Value BoolFromJson(const Json& json, const std::string& location) {
  const auto* flag = json.As<bool>();
  if (flag == nullptr) Reject(location, "must be true or false");
  return *flag;
}

std::optional<double> NumberOf(const Json& json) {
  if (const auto* number = json.As<double>()) return *number;
  if (const auto* number = json.As<std::uint64_t>()) return static_cast<double>(*number);
  if (const auto* number = json.As<std::int64_t>()) return static_cast<double>(*number);
  return std::nullopt;
}

Value FloatFromJson(const Json& json, const std::string& location) {
  const auto number = NumberOf(json);
  if (!number) Reject(location, "must be a number");
  if (!(std::fabs(*number) <= static_cast<double>(std::numeric_limits<float>::max()))) {
    Reject(location, "must be within the range of a 32-bit float");
  }
  return static_cast<float>(*number);
}

Value UnsignedFromJson(const AttributeInfo& info, const Json& json, const std::string& location) {
  const auto* number = json.As<std::uint64_t>();
  if (number == nullptr || *number > info.max) Reject(location, RangeText(info));
  return *number;
}

Value SignedFromJson(const AttributeInfo& info, const Json& json, const std::string& location) {
  const auto* positive = json.As<std::uint64_t>();
  if (positive != nullptr && *positive <= info.max) return static_cast<std::int64_t>(*positive);
  const auto* negative = json.As<std::int64_t>();
  if (negative == nullptr || *negative < info.min) Reject(location, RangeText(info));
  return *negative;
}

}  // namespace

[[noreturn]] void Reject(const std::string& location, const std::string& why) {
  throw std::runtime_error(location + ": " + why);
}

Value ValueFromJson(const AttributeInfo& info, const Json& json, const std::string& location) {
  switch (info.kind) {
    case ValueKind::Text:
      return TextFromJson(json, location);
    case ValueKind::Bool:
      return BoolFromJson(json, location);
    case ValueKind::Float:
      return FloatFromJson(json, location);
    case ValueKind::Signed:
      return SignedFromJson(info, json, location);
    case ValueKind::Unsigned:
      break;
  }
  return UnsignedFromJson(info, json, location);
}

const Json& Member(const Json& object, const char* name, const std::string& location) {
  const Json* found = object.Find(name);
  if (found == nullptr) Reject(location, std::string("has no \"") + name + "\"");
  return *found;
}

std::uint64_t Number(const Json& object, const char* name, const std::string& location,
                     std::uint64_t max) {
  const AttributeInfo info{name, ValueKind::Unsigned, 0, max};
  const Json& member = Member(object, name, location);
  return std::get<std::uint64_t>(ValueFromJson(info, member, location + "." + name));
}

std::string Text(const Json& object, const char* name, const std::string& location) {
  const Json& member = Member(object, name, location);
  return std::get<std::string>(TextFromJson(member, location + "." + name));
}

bool Flag(const Json& object, const char* name, const std::string& location) {
  return std::get<bool>(BoolFromJson(Member(object, name, location), location + "." + name));
}

void CheckMembers(const Json& object, const std::vector<std::string>& names,
                  const std::string& location) {
  const auto* members = object.As<Json::Members>();
  if (members == nullptr) Reject(location, "must be an object");
  for (const auto& [name, unused] : *members) {
    bool known = false;
    for (const std::string& candidate : names) known = known || candidate == name;
    if (!known) Reject(location + "." + name, "unknown" + DidYouMean(name, names));
  }
}

}  // namespace CardSim
