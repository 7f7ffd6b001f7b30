// Believable cards, one kind for each PCI device id that is known.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cardsim/store/State.h"

namespace CardSim {

std::vector<std::string> ProfileNames();

// The PCI device id of a kind of card: a profile's name, or the id itself, always hexadecimal, with
// or without 0x. Throws `NoSuchThing`.
std::uint16_t DeviceIdOfKind(const std::string& kind);

// Adds a card of that device id to `state` in the first free slot: name, device path and PCI
// address are its own, and its serial number was never used before. A device id that is not known
// gives a card like the first kind under that id. Throws `std::runtime_error` when no slot is free.
const Card& AddCard(State& state, std::uint16_t deviceId);

}  // namespace CardSim
