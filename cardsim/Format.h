// What a format does to a card.
#pragma once

#include "cardsim/Ledger.h"

namespace CardSim {

// Gives the card the size and the sector size of the plan; what the plan leaves open stays.
void ApplyFormat(Card& card, const JobPlan& plan);

}  // namespace CardSim
