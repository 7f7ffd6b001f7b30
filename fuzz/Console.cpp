// Text that a user types at the console.
#include <sstream>
#include <string>
#include <vector>

#include "console/base/Duration.h"
#include "console/base/Failure.h"
#include "console/base/Timestamp.h"
#include "console/cli/CommandLine.h"
#include "console/model/Condition.h"
#include "console/model/Model.h"
#include "console/model/Selectors.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"

namespace CorvaneFuzz {
namespace {

constexpr std::uint64_t kNowMs = 1'795'219'200'000;

// Returns whether the input is accepted. A rejection must have a message and an id.
template <class Parse>
bool TryParse(Parse parse) {
  try {
    parse();
  } catch (const Console::Failure& failure) {
    Require(!failure.m_Text.empty() && !failure.m_Id.empty(), "rejection has no message or id");
    return false;
  }
  return true;
}

PI::CProperty TextProperty(std::uint32_t id, const char* text) {
  PI::CProperty property(PI::Property::CHOICE_PARAM, true);
  property.m_PropertyID = id;
  property.SetValue(text);
  return property;
}

PI::CProperty NumberProperty(std::uint32_t id, unsigned long number) {
  PI::CProperty property(PI::Property::CHOICE_PARAM, true);
  property.m_PropertyID = id;
  property.SetValue(number);
  return property;
}

PI::CObject Record(std::uint64_t id, std::uint32_t type) {
  PI::CObject object;
  object.m_ID = id;
  object.m_ObjectType = type;
  return object;
}

// The plug-in, two adapters and a drive, with every kind of name that an object can have.
const Console::Model& TheModel() {
  static const Console::Model model = [] {
    std::vector<PI::CObject> tree = {
        Record(0x100, PI::OBJECT_PLUGIN), Record(0x101, PI::OBJECT_ADAPTER),
        Record(0x102, PI::OBJECT_ADAPTER), Record(0x103, PI::OBJECT_PHYSICAL_DRIVE)};
    tree[0].m_Children = {0x101, 0x102};
    tree[1].m_Parents = tree[2].m_Parents = {0x100};
    tree[1].m_Children = {0x103};
    tree[3].m_Parents = {0x101};
    const char* serials[] = {"", "FA00000001", "FA00000002", "FA00000001"};
    for (std::size_t i = 1; i < tree.size(); ++i) {
      tree[i].m_Properties = {TextProperty(PI::Property::NAME, "Flash"),
                              TextProperty(PI::Property::SERIAL_NUMBER, serials[i]),
                              NumberProperty(PI::Property::PCI_SEGMENT, 0),
                              NumberProperty(PI::Property::PCI_BUS, i + 2),
                              NumberProperty(PI::Property::PCI_DEVICE, 0),
                              NumberProperty(PI::Property::PCI_FUNCTION, 0)};
    }
    return Console::Model(tree);
  }();
  return model;
}

// Returns the words of the input, one per line.
std::vector<std::string> Lines(const std::string& input) {
  std::vector<std::string> words;
  std::istringstream stream(input);
  for (std::string word; std::getline(stream, word);) words.push_back(word);
  return words;
}

}  // namespace

// Input: a selector. An object that is found must also be found by its own selector and by its id.
void Selector(const std::string& input) {
  const Console::Object* found = nullptr;
  if (!TryParse([&] { found = &Console::Select(TheModel(), input); })) return;
  Require(&Console::Select(TheModel(), found->m_Selector) == found,
          "object not found by its own selector");
  Require(&Console::Select(TheModel(), Console::IdText(found->m_ID)) == found,
          "object not found by its own id");
}

// Input: a duration or a timestamp.
void Times(const std::string& input) {
  if (const auto duration = Console::ParseDuration(input)) {
    Require(duration->count() >= 0, "duration is negative");
    const std::string milliseconds = std::to_string(duration->count()) + "ms";
    const auto reparsed = Console::ParseDuration(milliseconds);
    Require(!reparsed || *reparsed == *duration,
            "duration does not survive a round trip: " + milliseconds);
    Require(!Console::ElapsedText(*duration).empty(), "elapsed time is empty");
  }
  std::uint64_t timestamp = 0;
  if (!TryParse([&] { timestamp = Console::ParseTimestamp("--since", input, kNowMs); })) return;
  Require(!Console::SinceText(timestamp, kNowMs).empty(), "formatted timestamp is empty");
}

// Input: the command line, one word per line.
void Options(const std::string& input) {
  Console::Options options;
  if (!TryParse([&] { Console::ParseCommandLine(Lines(input), options); })) return;
  TryParse([&] { Console::ParseDuration("--timeout", options.m_Timeout); });
  // The words must be parsed as the same words after `--`, where words are never options.
  Console::Options reparsed;
  std::vector<std::string> words = options.m_Words;
  if (words.empty() || options.m_Help || options.m_Version) return;
  words.insert(words.begin(), "--");
  Console::ParseCommandLine(words, reparsed);
  Require(reparsed.m_Words == options.m_Words, "words do not survive a round trip");
}

// Input: a condition of `wait`.
void Condition(const std::string& input) {
  TryParse([&] {
    const Console::Condition condition(input);
    Require(condition.Text() == input, "condition does not survive a round trip");
    if (condition.RequiredPresence() != Console::Presence::Required) return;
    for (const Console::Object& object : TheModel().Objects()) condition.Check(object, false);
  });
}

}  // namespace CorvaneFuzz
