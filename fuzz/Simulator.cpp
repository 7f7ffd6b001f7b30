// The simulator's files: cards and scenarios. Input: the content of the file.
#include <stdexcept>
#include <string>
#include <vector>

#include "cardsim/cardsim.h"
#include "cardsim/scenario/Scenario.h"
#include "fuzz/Directory.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"

namespace CorvaneFuzz {
namespace {

const Directory& TheDirectory() {
  static const Directory directory;
  return directory;
}

// Adds a card to an accepted file and sets `added` to its name. Returns false if the simulator
// rejects the change, in which case the file must be unchanged.
bool TryAddCard(CardSim::StateFile& cards, std::string& added) {
  const auto path = TheDirectory().File("cards.json");
  const std::string before = ReadFile(path);
  try {
    added = cards.AddCard(std::uint16_t{0x1003});
  } catch (const std::runtime_error&) {
    Require(ReadFile(path) == before, "rejected edit changed the file");
    return false;
  }
  return true;
}

}  // namespace

void CardFile(const std::string& input) {
  const auto path = TheDirectory().File("cards.json");
  WriteFile(path, input);
  CardSim::StateFile cards(path);
  std::vector<std::string> names;
  try {
    names = cards.Cards();
  } catch (const std::runtime_error&) {
    Require(ReadFile(path) == input, "reading changed the file");
    return;
  }
  std::string added;
  if (!TryAddCard(cards, added)) return;
  cards.RemoveCard(added);
  Require(cards.Cards() == names, "edit changed other cards");
  const std::string written = ReadFile(path);
  cards.RemoveCard(cards.AddCard(std::uint16_t{0x1003}));
  // Only the next id may differ, because an id is never assigned twice.
  Require(ReadFile(path).size() >= written.size(), "second edit removed data from the file");
}

void Scenario(const std::string& input) {
  CardSim::Scenario scenario;
  try {
    scenario = CardSim::ParseScenario(input);
  } catch (const std::runtime_error&) {
    return;
  }
  constexpr std::uint64_t kDayMs = 86'400'000;
  Require(!scenario.steps.empty(), "scenario has no steps");
  Require(scenario.DurationMs() <= kDayMs, "scenario is longer than a day");
  CardSim::StateFile cards(TheDirectory().File("scenario.json"));
  cards.Create(true);
  cards.AddCard(std::uint16_t{0x1003});
  for (const CardSim::Step& step : scenario.steps) {
    try {
      Require(!step.apply(cards).empty(), "change has no description");
    } catch (const std::runtime_error&) {
    }
  }
  cards.Cards();
}

}  // namespace CorvaneFuzz
