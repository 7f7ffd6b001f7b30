// The contents of the state file, as plain values.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cardsim/store/Attributes.h"
#include "cardsim/store/ProcessId.h"

namespace CardSim {

// Maximum time that a call hangs, in milliseconds: one day.
constexpr std::uint64_t kMaxHangMs = 24ULL * 60 * 60 * 1000;

// A storage unit of a card, which the card library calls a volume.
struct Volume {
  std::uint32_t state = 1;  // 0 offline, 1 online
  bool settable = true;     // the result of vsl_has_vsu_state
  bool refuses = false;     // a new state is rejected, although settable
};

// The job that keeps a card in its transitional state.
struct JobRecord {
  std::string kind;  // "attach", "detach", "format"
  ProcessId owner;
  std::uint64_t number = 0;  // of the job, unique in its process
  std::uint32_t previousState = 0;
};

// The code and message with which calls to a function fail.
struct PersistentFailure {
  std::uint64_t code = 0;
  std::string text;
};
using Failures = std::map<std::string, PersistentFailure>;  // by function

struct Card {
  std::uint64_t id = 0;  // never reused, so that a new card in the slot differs
  std::string name;
  Values values;
  std::vector<Volume> volumes;
  std::optional<JobRecord> job;
  Failures failures;  // of calls for this card only
  // How long calls for this card wait, in milliseconds, by function; 0: until cleared.
  std::map<std::string, std::uint64_t> hangs;
};

struct State {
  std::uint64_t nextId = 1;
  std::vector<Card> cards;
  Failures failures;  // of calls for all cards

  // Returns the card with that id, or null. Valid until a card is added or removed.
  const Card* FindById(std::uint64_t id) const {
    for (const Card& card : cards) {
      if (card.id == id) return &card;
    }
    return nullptr;
  }
  Card* FindById(std::uint64_t id) {
    return const_cast<Card*>(static_cast<const State&>(*this).FindById(id));
  }
};

}  // namespace CardSim
