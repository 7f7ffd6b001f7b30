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
  std::uint64_t forMs = 0;
  std::uint64_t code = 1;
  std::string text = "failure injected by a scenario";
};

// Runs `check`, and reports an unknown name as an error at `location` in the file.
template <typename Check>
void CheckName(const std::string& location, Check check) {
  try {
    check();
  } catch (const UnknownName& error) {
    Reject(location, error.what());
  }
}

// Reads a string that is printed as one line. Rejects control characters.
std::string OneLine(const Json& json, const char* name, const std::string& location) {
  std::string text = Text(json, name, location);
  const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7f; };
  if (std::any_of(text.begin(), text.end(), isControl)) {
    Reject(location + "." + name, "must be one line without control characters");
  }
  return text;
}

void ReadCard(const Json& json, const std::string& location, Fields& fields) {
  constexpr const char* kCharacters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.-";
  fields.card = Text(json, "card", location);
  if (fields.card.empty() || fields.card.find_first_not_of(kCharacters) != std::string::npos) {
    Reject(location + ".card", "must be a card's name, such as card0");
  }
}

void ReadKind(const Json& json, const std::string& location, Fields& fields) {
  fields.what = OneLine(json, "what", location);
  CheckName(location + ".what", [&] { FindProfile(fields.what); });
}

void ReadBit(const Json& json, const std::string& location, Fields& fields) {
  ReadCard(json, location, fields);
  fields.what = OneLine(json, "what", location);
  CheckName(location + ".what", [&] { FindMaskBit(fields.what); });
}

void ReadAttribute(const Json& json, const std::string& location, Fields& fields) {
  ReadCard(json, location, fields);
  fields.what = OneLine(json, "what", location);
  CheckName(location + ".what", [&] { CheckAttribute(fields.what); });
  const Json& value = Member(json, "to", location);
  const auto* text = value.As<std::string>();
  const bool isAbsent = text != nullptr && *text == "absent";
  if (!isAbsent) CheckValue(fields.what, value, location + ".to");
  fields.to = JsonText(value);
}

// The card is optional.
void ReadFunction(const Json& json, const std::string& location, Fields& fields) {
  const bool hasCard = json.Find("card") != nullptr;
  if (hasCard) ReadCard(json, location, fields);
  fields.what = OneLine(json, "what", location);
  CheckName(location + ".what",
            [&] { hasCard ? CheckCardFunction(fields.what) : CheckFunction(fields.what); });
}

void ReadHang(const Json& json, const std::string& location, Fields& fields) {
  ReadCard(json, location, fields);
  ReadFunction(json, location, fields);
  if (json.Find("for_ms") != nullptr) fields.forMs = Number(json, "for_ms", location, kMaxHangMs);
}

void ReadFailure(const Json& json, const std::string& location, Fields& fields) {
  ReadFunction(json, location, fields);
  if (json.Find("code") != nullptr) fields.code = Number(json, "code", location);
  if (fields.code == 0) Reject(location + ".code", "must not be 0, which means success");
  if (json.Find("text") != nullptr) fields.text = OneLine(json, "text", location);
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

// Names the function and, if only calls for one card are affected, the card.
std::string Target(const Fields& fields) {
  return fields.card.empty() ? fields.what : fields.card + ": " + fields.what;
}

std::string Fail(StateFile& file, const Fields& fields) {
  if (fields.card.empty()) {
    file.Fail(fields.what, fields.code, fields.text);
  } else {
    file.Fail(fields.what, fields.card, fields.code, fields.text);
  }
  return Target(fields) + " fails with " + std::to_string(fields.code) + ": " + fields.text;
}

std::string Hang(StateFile& file, const Fields& fields) {
  file.Hang(fields.what, fields.card, fields.forMs);
  const std::string limit = fields.forMs == 0 ? "" : " for " + std::to_string(fields.forMs) + " ms";
  return Target(fields) + " hangs" + limit;
}

std::string ClearFailure(StateFile& file, const Fields& fields) {
  if (fields.card.empty()) {
    file.ClearFailure(fields.what);
  } else {
    file.ClearFailure(fields.what, fields.card);
  }
  return Target(fields) + " works again";
}

struct Verb {
  const char* name;
  std::vector<std::string> members;
  void (*read)(const Json& json, const std::string& location, Fields& fields);
  std::string (*apply)(StateFile& file, const Fields& fields);
};

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs = {
      {"add", {"what"}, ReadKind, Add},
      {"remove", {"card"}, ReadCard, Remove},
      {"set", {"card", "what", "to"}, ReadAttribute, Set},
      {"raise", {"card", "what"}, ReadBit, Raise},
      {"clear", {"card", "what"}, ReadBit, Clear},
      {"fail", {"card", "what", "code", "text"}, ReadFailure, Fail},
      {"hang", {"card", "what", "for_ms"}, ReadHang, Hang},
      {"clear-failure", {"card", "what"}, ReadFunction, ClearFailure},
  };
  return verbs;
}

const Verb& FindVerb(const std::string& name, const std::string& location) {
  std::vector<std::string> names;
  for (const Verb& verb : Verbs()) {
    if (verb.name == name) return verb;
    names.emplace_back(verb.name);
  }
  Reject(location, "unknown verb " + name + DidYouMean(name, names));
}

Step StepFromJson(const Json& json, const std::string& location) {
  if (json.As<Json::Members>() == nullptr) Reject(location, "must be an object");
  const Verb& verb = FindVerb(OneLine(json, "do", location), location + ".do");
  std::vector<std::string> members = {"after_ms", "do", "say"};
  members.insert(members.end(), verb.members.begin(), verb.members.end());
  CheckMembers(json, members, location);
  Step step;
  if (json.Find("after_ms") != nullptr)
    step.afterMs = Number(json, "after_ms", location, kMaxDurationMs);
  if (json.Find("say") != nullptr) step.say = OneLine(json, "say", location);
  Fields fields;
  verb.read(json, location, fields);
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
    const std::string location = "step " + std::to_string(scenario.steps.size() + 1);
    scenario.steps.push_back(StepFromJson(element, location));
    if (scenario.DurationMs() > kMaxDurationMs) {
      Reject(location + ".after_ms", "the scenario lasts more than a day");
    }
  }
  return scenario;
}

}  // namespace CardSim
