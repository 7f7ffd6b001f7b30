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
//   fail           what: a function; optionally card, code and text
//   hang           card, what: a function; optionally for_ms
//   clear-failure  what: a function; optionally card
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
  std::string say;            // shown instead of the description, unless empty
  // Applies the change and returns its description, one line. Throws like the functions of
  // `StateFile`, and then leaves the file unchanged.
  std::function<std::string(StateFile&)> apply;
};

// Can be copied, and played any number of times.
struct CARDSIM_API Scenario {
  std::string title;
  std::vector<Step> steps;           // at least one
  std::uint64_t DurationMs() const;  // the sum of all `afterMs`, at most one day
};

// Parses and checks a scenario. Throws `std::runtime_error` with one line that starts with the
// location, such as "step 3.what: unknown status bit FLASHBAK; did you mean FLASHBACK?"; steps
// count from 1. Whether a card exists is not checked, because an earlier step may add it.
CARDSIM_API Scenario ParseScenario(const std::string& text);
// Reads and parses a file of at most 1 MiB. Messages start with the file's name.
CARDSIM_API Scenario ReadScenario(const std::filesystem::path& path);

// Callbacks of `PlayScenario`, both required and called on its thread. An exception thrown by one
// of them stops playing and propagates to the caller.
struct CARDSIM_API PlayObserver {
  // Called after each step with the time since the start, as written in the scenario, and with
  // `say` or the description of the change.
  std::function<void(std::uint64_t atMs, const std::string& text)> onStep;
  // Called before each step, and about twenty times a second while waiting. Returns true to stop
  // playing.
  std::function<bool()> shouldStop;
};

constexpr double kMinSpeed = 0.1;
constexpr double kMaxSpeed = 1000000;

// Plays the scenario on `file`, `speed` times as fast as written, from kMinSpeed to kMaxSpeed.
// Blocks the calling thread until the end. Returns the number of steps applied, which is less than
// the total only if the observer stopped playing. Throws `std::runtime_error` with a one-line
// message: before the first wait if the file cannot be used, and at a failed step, whose number is
// in the message. Changes already applied remain.
CARDSIM_API std::size_t PlayScenario(const Scenario& scenario, StateFile& file, double speed,
                                     const PlayObserver& observer);

}  // namespace CardSim
