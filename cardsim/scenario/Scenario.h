// Scenarios: timed changes to simulated cards, read from a small JSON file.
//
//   {
//     "title": "A card gets hot",
//     "steps": [
//       {"after_ms": 2000, "do": "set", "card": "card1", "what": "temp_internal_deg_c", "to": 81},
//       {"do": "raise", "card": "card1", "what": "TEMPERATURE_ABOVE_WARN", "say": "too hot"}
//     ]
//   }
//
// `after_ms` counts from the previous step (default: 0). `say` is shown instead of a description of
// the change. The verbs are those of the program `cardsim`:
//
//   add            what: a kind of card          remove  card
//   set            card, what: an attribute, to: its value, or "absent"
//   raise          card, what: a status bit      clear   card, what: a status bit
//   fail           what: a function; optionally code and text
//   clear-failure  what: a function
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
  std::uint64_t afterMs = 0;  // since the previous step
  std::string say;            // may be empty
  // Makes the change and returns its description, one line. Throws as `StateFile` does, with the
  // file unchanged.
  std::function<std::string(StateFile&)> apply;
};

// A plain value: may be copied, and played any number of times.
struct CARDSIM_API Scenario {
  std::string title;
  std::vector<Step> steps;           // at least one
  std::uint64_t DurationMs() const;  // the sum of all `afterMs`, at most one day
};

// Parses and checks a whole scenario. Throws `std::runtime_error` with one line that names the
// place, such as "step 3.what: unknown status bit FLASHBAK; did you mean FLASHBACK?"; steps count
// from 1. Whether a card exists is not checked, because an earlier step may add it.
CARDSIM_API Scenario ParseScenario(const std::string& text);
// The same for a file of at most 1 MiB, whose name then begins the message.
CARDSIM_API Scenario ReadScenario(const std::filesystem::path& path);

// Callbacks of `PlayScenario`, both required and called on its thread. What they throw ends the
// playing and passes to the caller.
struct CARDSIM_API PlayObserver {
  // After each step: the time since the start in the scenario's own milliseconds, and `say` or the
  // description of the change.
  std::function<void(std::uint64_t atMs, const std::string& text)> onStep;
  // Before each step, and about twenty times a second while waiting: true ends the playing.
  std::function<bool()> shouldStop;
};

constexpr double kMinSpeed = 0.1;
constexpr double kMaxSpeed = 1000000;

// Plays the scenario on `file`, `speed` times as fast as written, from kMinSpeed to kMaxSpeed, and
// waits on the calling thread meanwhile. Returns the number of steps made, fewer than all only if
// the observer stopped it. Throws `std::runtime_error` with one line: for an unusable file before
// the first wait, or for a step that failed, which the message names. Changes already made remain.
CARDSIM_API std::size_t PlayScenario(const Scenario& scenario, StateFile& file, double speed,
                                     const PlayObserver& observer);

}  // namespace CardSim
