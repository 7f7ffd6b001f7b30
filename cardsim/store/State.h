// What the state file holds, as plain values.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cardsim/store/Attributes.h"
#include "cardsim/store/ProcessId.h"

namespace CardSim {

// A storage unit of a card.
struct Volume {
  std::uint32_t state = 1;  // 0 offline, 1 online
  bool settable = true;     // what vsl_has_vsu_state says
  bool refuses = false;     // a new state is refused all the same
};

// The job that holds a card in its transitional state.
struct JobMark {
  std::string kind;  // "attach", "detach", "format"
  ProcessId owner;
  std::uint64_t number = 0;  // tells the owner's jobs apart
  std::uint32_t previousState = 0;
};

struct Card {
  std::uint64_t id = 0;  // never given twice, so that a successor in the slot is another card
  std::string name;
  Values values;
  std::vector<Volume> volumes;
  std::optional<JobMark> job;
};

// Every call of a function fails so.
struct StandingFailure {
  std::uint64_t code = 0;
  std::string text;
};

struct State {
  std::uint64_t nextId = 1;
  std::vector<Card> cards;
  std::map<std::string, StandingFailure> failures;

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
