#include "cardsim/scenario/Scenario.h"

#include <algorithm>
#include <stdexcept>

#include "cardsim/store/FunctionNames.h"
#include "cardsim/store/JsonReading.h"
#include "cardsim/store/Profiles.h"
#include "cardsim/store/StateText.h"
#include "cardsim/store/StatusBits.h"
#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

constexpr std::uint64_t kMaxDurationMs = 24ULL * 60 * 60 * 1000;

// The members of a step that depend on its verb.
struct Fields {
  std::string card;
  std::string what;
  std::string to;  // as JSON
  std::uint64_t code = 1;
  std::string text = "failure injected by a scenario";
};

// Runs `check`, and reports an unknown name as an error at `place` in the file.
template <typename Check>
void CheckName(const std::string& place, Check check) {
  try {
    check();
  } catch (const UnknownName& error) {
    Reject(place, error.what());
  }
}

// Reads a string that is printed as one line. Rejects control characters.
std::string OneLine(const Json& json, const char* name, const std::string& place) {
  std::string text = Text(json, name, place);
  const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7f; };
  if (std::any_of(text.begin(), text.end(), isControl)) {
    Reject(place + "." + name, "must be one line without control characters");
  }
  return text;
}

void ReadCard(const Json& json, const std::string& place, Fields& fields) {
  constexpr const char* kCharacters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.-";
  fields.card = Text(json, "card", place);
  if (fields.card.empty() || fields.card.find_first_not_of(kCharacters) != std::string::npos) {
    Reject(place + ".card", "must be a card's name, such as card0");
  }
}

void ReadKind(const Json& json, const std::string& place, Fields& fields) {
  fields.what = OneLine(json, "what", place);
  CheckName(place + ".what", [&] { FindProfile(fields.what); });
}

void ReadBit(const Json& json, const std::string& place, Fields& fields) {
  ReadCard(json, place, fields);
  fields.what = OneLine(json, "what", place);
  CheckName(place + ".what", [&] { FindMaskBit(fields.what); });
}

void ReadAttribute(const Json& json, const std::string& place, Fields& fields) {
  ReadCard(json, place, fields);
  fields.what = OneLine(json, "what", place);
  CheckName(place + ".what", [&] { CheckAttribute(fields.what); });
  const Json& value = Member(json, "to", place);
  const auto* text = value.As<std::string>();
  const bool isAbsent = text != nullptr && *text == "absent";
  if (!isAbsent) CheckValue(fields.what, value, place + ".to");
  fields.to = JsonText(value);
}

void ReadFunction(const Json& json, const std::string& place, Fields& fields) {
  fields.what = OneLine(json, "what", place);
  CheckName(place + ".what", [&] { CheckFunction(fields.what); });
}

void ReadFailure(const Json& json, const std::string& place, Fields& fields) {
  ReadFunction(json, place, fields);
  if (json.Find("code") != nullptr) fields.code = Number(json, "code", place);
  if (fields.code == 0) Reject(place + ".code", "must not be 0, which means success");
  if (json.Find("text") != nullptr) fields.text = OneLine(json, "text", place);
}

std::string Add(StateFile& file, const Fields& fields) {
  return "added " + file.AddCard(fields.what) + ", " + fields.what;
}

std::string Remove(StateFile& file, const Fields& fields) {
  file.RemoveCard(fields.card);
  return "removed " + fields.card;
}

std::string Set(StateFile& file, const Fields& fields) {
  if (fields.to == "\"absent\"") {
    file.MakeAbsent(fields.card, fields.what);
    return fields.card + ": " + fields.what + " is absent";
  }
  file.Set(fields.card, fields.what, fields.to);
  return fields.card + ": " + fields.what + " is " + fields.to;
}

std::string Raise(StateFile& file, const Fields& fields) {
  file.Raise(fields.card, fields.what);
  return fields.card + ": raised " + fields.what;
}

std::string Clear(StateFile& file, const Fields& fields) {
  file.Clear(fields.card, fields.what);
  return fields.card + ": cleared " + fields.what;
}

std::string Fail(StateFile& file, const Fields& fields) {
  file.Fail(fields.what, fields.code, fields.text);
  return fields.what + " fails with " + std::to_string(fields.code) + ": " + fields.text;
}

std::string ClearFailure(StateFile& file, const Fields& fields) {
  file.ClearFailure(fields.what);
  return fields.what + " works again";
}

struct Verb {
  const char* name;
  std::vector<std::string> members;
  void (*read)(const Json& json, const std::string& place, Fields& fields);
  std::string (*apply)(StateFile& file, const Fields& fields);
};

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs = {
      {"add", {"what"}, ReadKind, Add},
      {"remove", {"card"}, ReadCard, Remove},
      {"set", {"card", "what", "to"}, ReadAttribute, Set},
      {"raise", {"card", "what"}, ReadBit, Raise},
      {"clear", {"card", "what"}, ReadBit, Clear},
      {"fail", {"what", "code", "text"}, ReadFailure, Fail},
      {"clear-failure", {"what"}, ReadFunction, ClearFailure},
  };
  return verbs;
}

const Verb& FindVerb(const std::string& name, const std::string& place) {
  std::vector<std::string> names;
  for (const Verb& verb : Verbs()) {
    if (verb.name == name) return verb;
    names.emplace_back(verb.name);
  }
  Reject(place, "unknown verb " + name + DidYouMean(name, names));
}

Step StepFromJson(const Json& json, const std::string& place) {
  if (json.As<Json::Members>() == nullptr) Reject(place, "must be an object");
  const Verb& verb = FindVerb(OneLine(json, "do", place), place + ".do");
  std::vector<std::string> members = {"after_ms", "do", "say"};
  members.insert(members.end(), verb.members.begin(), verb.members.end());
  CheckMembers(json, members, place);
  Step step;
  if (json.Find("after_ms") != nullptr)
    step.afterMs = Number(json, "after_ms", place, kMaxDurationMs);
  if (json.Find("say") != nullptr) step.say = OneLine(json, "say", place);
  Fields fields;
  verb.read(json, place, fields);
  step.apply = [&verb, fields](StateFile& file) { return verb.apply(file, fields); };
  return step;
}

}  // namespace

std::uint64_t Scenario::DurationMs() const {
  std::uint64_t duration = 0;
  for (const Step& step : steps) duration += step.afterMs;
  return duration;
}

Scenario ParseScenario(const std::string& text) {
  const Json json = ParseJson(text);
  CheckMembers(json, {"title", "steps"}, "file");
  Scenario scenario;
  scenario.title = OneLine(json, "title", "file");
  const auto* steps = Member(json, "steps", "file").As<Json::List>();
  if (steps == nullptr || steps->empty()) Reject("steps", "must be a non-empty array");
  for (const Json& element : *steps) {
    const std::string place = "step " + std::to_string(scenario.steps.size() + 1);
    scenario.steps.push_back(StepFromJson(element, place));
    if (scenario.DurationMs() > kMaxDurationMs) {
      Reject(place + ".after_ms", "the scenario lasts more than a day");
    }
  }
  return scenario;
}

}  // namespace CardSim
