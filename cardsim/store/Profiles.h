// Card profiles: the attributes of one kind of card, without those that depend on its slot.
//
// A profile is a JSON object whose members are named as in the state file. The profiles of
// cardsim/profiles are built into the library, so that they exist in every process; further ones
// are files in the profile directory, NAME.json each. All functions may be called by any thread.
// Without memory they throw `std::bad_alloc`.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cardsim/store/State.h"

namespace CardSim {

struct Profile {
  std::uint16_t deviceId = 0;
  Values values;
  std::vector<Volume> volumes;
};

// Parses a profile. `place` begins each message, such as the file's name. Throws
// `std::runtime_error` with one line, "PLACE: pci_bus: is set by the slot, not by the profile".
Profile ParseProfile(const std::string& text, const std::string& place);

// The names of the built-in profiles, then those of the files in the profile directory, sorted.
// Files are listed and not read. Throws `std::runtime_error` if the directory that CARDSIM_PROFILES
// names cannot be listed.
std::vector<std::string> ProfileNames();

// The profile of that name, or of that PCI device id, which is hexadecimal with or without 0x. A
// built-in profile comes first: its name in the directory is not read, and no file is read for its
// id. Throws `NoSuchThing` for another word; `std::runtime_error`, beginning with the file's name,
// for a file that is damaged or not trusted. For a device id, that is any file of the directory,
// because each may have it.
Profile FindProfile(const std::string& kind);

// The profile of that device id, from the same places. An id that none has gives the profile
// flash-365g with this id. Throws as `FindProfile`, but never `NoSuchThing`.
Profile ProfileOfDevice(std::uint16_t deviceId);

// Adds a card to `state` in the first free slot. Name, device path and PCI address are its own, and
// its serial number was never used before in this file. The result points into `state`. Throws
// `std::runtime_error` with `state` unchanged when no slot is free.
const Card& AddCard(State& state, const Profile& profile);

}  // namespace CardSim
