// Scenarios: stories of changes to simulated cards, told step by step in a small JSON file.
//
//   {
//     "title": "A card gets hot",
//     "steps": [
//       {"after_ms": 2000, "do": "set", "card": "card1", "what": "temp_internal_deg_c", "to": 81},
//       {"do": "raise", "card": "card1", "what": "TEMPERATURE_ABOVE_WARN", "say": "too hot"}
//     ]
//   }
//
// `after_ms` counts from the step before, and is 0 when it is not given. `say` is what is told
// instead of the change itself. The verbs are those of the program `cardsim`:
//
//   add     what: a kind of card          remove  card
//   set     card, what: an attribute, to: its value, or "absent"
//   raise   card, what: a status bit      clear   card, what: a status bit
//   fail    what: a function, and if wanted code and text
//   heal    what: a function
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "cardsim/cardsim.h"

namespace CardSim {

struct CARDSIM_API Step {
  std::uint64_t afterMs = 0;  // since the step before
  std::string say;            // may be empty
  // Makes the change and gives it in words; throws as `StateFile` does.
  std::function<std::string(StateFile&)> make;
};

struct CARDSIM_API Scenario {
  std::string title;
  std::vector<Step> steps;           // at least one
  std::uint64_t DurationMs() const;  // a day at most
};

// Reads and checks the whole story. Throws `std::runtime_error` with one line that names the place,
// such as "step 3.what: no status bit FLASHBAK; did you mean FLASHBACK?"; steps count from 1.
CARDSIM_API Scenario ParseScenario(const std::string& text);
// The same for a file, whose name then stands in front.
CARDSIM_API Scenario ReadScenario(const std::filesystem::path& path);

// Who listens to a story. Both are called on the thread that plays it.
struct CARDSIM_API Audience {
  // What happened, and when in the story's own time.
  std::function<void(std::uint64_t atMs, const std::string& text)> tell;
  // Asked before each step and some twenty times a second while waiting.
  std::function<bool()> hasEnough;
};

constexpr double kSlowest = 0.1;
constexpr double kFastest = 1000000;

// Plays the story on `file`, `speed` times as fast as it is written, kSlowest to kFastest. Gives
// how many steps were made, which is less than all only if the audience had enough. Throws
// `std::runtime_error` with one line: of the file before the first wait, or of a step that failed,
// which it names. What was changed stays changed.
CARDSIM_API std::size_t PlayScenario(const Scenario& scenario, StateFile& file, double speed,
                                     const Audience& audience);

}  // namespace CardSim
