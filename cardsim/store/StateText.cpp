#include "cardsim/store/StateText.h"

#include <charconv>
#include <set>
#include <stdexcept>
#include <vector>

#include "cardsim/cardsim.h"
#include "cardsim/store/FunctionNames.h"
#include "cardsim/store/JsonReading.h"
#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

constexpr std::uint64_t kFileVersion = 1;

// Writes a float with the fewest digits that read back as the same float: 36.6, not
// 36.599998474121094.
Json FloatToJson(float number) {
  char digits[64];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  double shortest = 0;
  std::from_chars(digits, end, shortest);
  return shortest;
}

Json ValueToJson(const Value& value) {
  if (const auto* number = std::get_if<float>(&value)) return FloatToJson(*number);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
  return std::get<std::uint64_t>(value);
}

Json VolumesToJson(const std::vector<Volume>& volumes) {
  Json::List list;
  for (const Volume& volume : volumes) {
    Json::Members element;
    element.emplace_back("state", std::uint64_t{volume.state});
    element.emplace_back("settable", volume.settable);
    if (volume.refuses) element.emplace_back("refuses", true);
    list.emplace_back(std::move(element));
  }
  return list;
}

JobRecord JobFromJson(const Json& json, const std::string& location) {
  CheckMembers(json, {"kind", "pid", "start", "number", "previous_state"}, location);
  JobRecord job;
  job.kind = Text(json, "kind", location);
  job.owner.pid = static_cast<std::int64_t>(Number(json, "pid", location, 0x7fffffff));
  job.owner.start = Number(json, "start", location);
  job.number = Number(json, "number", location);
  job.previousState = static_cast<std::uint32_t>(Number(json, "previous_state", location, 7));
  return job;
}

Json JobToJson(const JobRecord& job) {
  Json::Members members;
  members.emplace_back("kind", job.kind);
  members.emplace_back("pid", job.owner.pid);
  members.emplace_back("start", job.owner.start);
  members.emplace_back("number", job.number);
  members.emplace_back("previous_state", std::uint64_t{job.previousState});
  return members;
}

const Json::Members& FunctionMembers(const Json& json, const std::string& location) {
  const auto* members = json.As<Json::Members>();
  if (members == nullptr) Reject(location, "must be an object");
  return *members;
}

// `check` throws `UnknownName` for an unknown function.
void CheckFunctionMember(const std::string& function, const std::string& location,
                         void (*check)(const std::string&)) {
  try {
    check(function);
  } catch (const UnknownName& error) {
    Reject(location, error.what());
  }
}

Failures FailuresFromJson(const Json& json, const std::string& location,
                          void (*check)(const std::string&)) {
  Failures failures;
  for (const auto& [function, failure] : FunctionMembers(json, location)) {
    const std::string at = location + "." + function;
    CheckFunctionMember(function, at, check);
    CheckMembers(failure, {"code", "text"}, at);
    const std::uint64_t code = Number(failure, "code", at);
    if (code == 0) Reject(at + ".code", "must not be 0, which means success");
    failures[function] = {code, Text(failure, "text", at)};
  }
  return failures;
}

Json FailuresToJson(const Failures& failures) {
  Json::Members members;
  for (const auto& [function, failure] : failures) {
    Json::Members result;
    result.emplace_back("code", failure.code);
    result.emplace_back("text", failure.text);
    members.emplace_back(function, std::move(result));
  }
  return members;
}

std::map<std::string, std::uint64_t> HangsFromJson(const Json& json, const std::string& location) {
  std::map<std::string, std::uint64_t> hangs;
  for (const auto& [function, hang] : FunctionMembers(json, location)) {
    const std::string at = location + "." + function;
    CheckFunctionMember(function, at, CheckCardFunction);
    CheckMembers(hang, {"for_ms"}, at);
    hangs[function] = Number(hang, "for_ms", at, kMaxHangMs);
  }
  return hangs;
}

Json HangsToJson(const std::map<std::string, std::uint64_t>& hangs) {
  Json::Members members;
  for (const auto& [function, milliseconds] : hangs) {
    Json::Members hang;
    hang.emplace_back("for_ms", milliseconds);
    members.emplace_back(function, std::move(hang));
  }
  return members;
}

void MemberFromJson(Card& card, const std::string& name, const Json& json,
                    const std::string& location) {
  if (name == "name" || name == "id") return;
  if (name == "volumes") {
    card.volumes = VolumesFromJson(json, location);
  } else if (name == "job") {
    card.job = JobFromJson(json, location);
  } else if (name == "failures") {
    card.failures = FailuresFromJson(json, location, CheckCardFunction);
  } else if (name == "hangs") {
    card.hangs = HangsFromJson(json, location);
  } else if (const auto attribute = FindAttribute(name)) {
    At(card.values, *attribute) = ValueFromJson(InfoOf(*attribute), json, location);
  } else {
    Reject(location, "unknown attribute" + DidYouMean(name, AttributeNames()));
  }
}

Card CardFromJson(const Json& json, const std::string& location) {
  const auto* members = json.As<Json::Members>();
  if (members == nullptr) Reject(location, "must be an object");
  Card card;
  card.name = Text(json, "name", location);
  card.id = Number(json, "id", location);
  for (const auto& [name, value] : *members) {
    MemberFromJson(card, name, value, location + "." + name);
  }
  return card;
}

Json CardToJson(const Card& card) {
  Json::Members members;
  members.emplace_back("name", card.name);
  members.emplace_back("id", card.id);
  for (std::size_t i = 0; i < kAttributeCount; ++i) {
    if (!card.values[i]) continue;
    members.emplace_back(InfoOf(static_cast<Attribute>(i)).name, ValueToJson(*card.values[i]));
  }
  members.emplace_back("volumes", VolumesToJson(card.volumes));
  if (card.job) members.emplace_back("job", JobToJson(*card.job));
  if (!card.failures.empty()) members.emplace_back("failures", FailuresToJson(card.failures));
  if (!card.hangs.empty()) members.emplace_back("hangs", HangsToJson(card.hangs));
  return members;
}

State StateFromJson(const Json& json) {
  CheckMembers(json, {"cardsim", "next_id", "cards", "failures"}, "file");
  if (Number(json, "cardsim", "file") != kFileVersion) {
    Reject("cardsim", "must be " + std::to_string(kFileVersion) + ", the version of the file");
  }
  State state;
  state.nextId = Number(json, "next_id", "file");
  const auto* cards = Member(json, "cards", "file").As<Json::List>();
  if (cards == nullptr) Reject("cards", "must be an array");
  for (const Json& card : *cards) {
    state.cards.push_back(CardFromJson(card, "cards[" + std::to_string(state.cards.size()) + "]"));
  }
  if (const Json* failures = json.Find("failures")) {
    state.failures = FailuresFromJson(*failures, "failures", CheckFunction);
  }
  return state;
}

// Converts the value passed to `set` to JSON, depending on the kind of attribute.
Json JsonFromArgument(ValueKind kind, const std::string& text) {
  const auto json = TryParseJson(text);
  if (kind == ValueKind::Text && !(json && json->As<std::string>() != nullptr)) return text;
  if (kind == ValueKind::Unsigned && !json) return ParseHexNumber(text);
  return json ? *json : Json(text);
}

Attribute FindOrThrow(const std::string& name) {
  const auto attribute = FindAttribute(name);
  if (!attribute)
    throw UnknownName("unknown attribute " + name + DidYouMean(name, AttributeNames()));
  return *attribute;
}

}  // namespace

std::vector<std::string> AttributeNames() {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < kAttributeCount; ++i) {
    names.emplace_back(InfoOf(static_cast<Attribute>(i)).name);
  }
  names.emplace_back("volumes");
  return names;
}

std::vector<Volume> VolumesFromJson(const Json& json, const std::string& location) {
  const auto* list = json.As<Json::List>();
  if (list == nullptr) Reject(location, "must be an array");
  std::vector<Volume> volumes;
  for (const Json& element : *list) {
    const std::string at = location + "[" + std::to_string(volumes.size()) + "]";
    CheckMembers(element, {"state", "settable", "refuses"}, at);
    Volume volume;
    volume.state = static_cast<std::uint32_t>(Number(element, "state", at, 1));
    if (element.Find("settable") != nullptr) volume.settable = Flag(element, "settable", at);
    if (element.Find("refuses") != nullptr) volume.refuses = Flag(element, "refuses", at);
    volumes.push_back(volume);
  }
  return volumes;
}

Json ParseHexNumber(const Json& json) {
  const auto* text = json.As<std::string>();
  if (text == nullptr || text->compare(0, 2, "0x") != 0) return json;
  std::uint64_t number = 0;
  const char* end = text->data() + text->size();
  const auto parsed = std::from_chars(text->data() + 2, end, number, 16);
  return parsed.ec == std::errc() && parsed.ptr == end ? Json(number) : json;
}

State ParseState(const std::string& text) {
  State state = StateFromJson(ParseJson(text));
  CheckState(state);
  return state;
}

std::string FormatState(const State& state) {
  Json::List cards;
  for (const Card& card : state.cards) cards.push_back(CardToJson(card));
  Json::Members members;
  members.emplace_back("cardsim", kFileVersion);
  members.emplace_back("next_id", state.nextId);
  members.emplace_back("cards", std::move(cards));
  members.emplace_back("failures", FailuresToJson(state.failures));
  return JsonLines(std::move(members), 2) + "\n";
}

void CheckState(const State& state) {
  std::set<std::string> names;
  std::set<std::uint64_t> ids;
  std::set<std::string> paths;
  for (std::size_t i = 0; i < state.cards.size(); ++i) {
    const Card& card = state.cards[i];
    const std::string location = "cards[" + std::to_string(i) + "]";
    if (card.name.empty()) Reject(location + ".name", "must not be empty");
    if (!names.insert(card.name).second) Reject(location + ".name", "used by another card");
    if (!ids.insert(card.id).second) Reject(location + ".id", "used by another card");
    if (card.id >= state.nextId) Reject(location + ".id", "must be below next_id");
    const auto* path = Read<const char*>(card.values, Attribute::device_path, nullptr);
    if (path != nullptr && !paths.insert(path).second) {
      Reject(location + ".device_path", std::string(path) + " is used by another card");
    }
  }
}

void SetFromText(Card& card, const std::string& attribute, const std::string& text) {
  if (attribute == "volumes") {
    card.volumes = VolumesFromJson(TryParseJson(text).value_or(Json()), attribute);
    return;
  }
  const Attribute known = FindOrThrow(attribute);
  const AttributeInfo& info = InfoOf(known);
  At(card.values, known) = ValueFromJson(info, JsonFromArgument(info.kind, text), attribute);
  // Setting the state ends the card's job.
  if (known == Attribute::iom_state) card.job.reset();
}

void CheckAttribute(const std::string& attribute) {
  if (attribute != "volumes") FindOrThrow(attribute);
}

void CheckValue(const std::string& attribute, const Json& json, const std::string& location) {
  if (attribute == "volumes") {
    VolumesFromJson(json, location);
  } else {
    ValueFromJson(InfoOf(FindOrThrow(attribute)), json, location);
  }
}

void RemoveValue(Card& card, const std::string& attribute) {
  if (attribute == "volumes") {
    card.volumes.clear();
  } else {
    At(card.values, FindOrThrow(attribute)).reset();
  }
}

std::string GetAsText(const Card& card, const std::string& attribute) {
  if (attribute == "volumes") return JsonText(VolumesToJson(card.volumes));
  const auto& value = At(card.values, FindOrThrow(attribute));
  return value ? JsonText(ValueToJson(*value)) : "absent";
}

}  // namespace CardSim
