// Card profiles: the attributes of one kind of card, without those that depend on its slot.
//
// A profile is a JSON object whose members are named as in the state file. The profiles of
// cardsim/profiles are built into the library, so that they exist in every process; further
// profiles are files named NAME.json in the profile directory. All functions are thread-safe. They
// throw `std::bad_alloc` if memory runs out.
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

// Parses a profile. Throws `std::runtime_error` with one line that starts with `location`, such as
// the file's name: "LOCATION: pci_bus: is set by the slot, not by the profile".
Profile ParseProfile(const std::string& text, const std::string& location);

// Returns the names of the built-in profiles, then the sorted names of the files in the profile
// directory that do not have the name of a built-in one. The files are not read. Throws
// `std::runtime_error` if the directory that CARDSIM_PROFILES names cannot be listed.
std::vector<std::string> ProfileNames();

// Returns the profile with that name or PCI device ID, which is hexadecimal with or without 0x.
// Built-in profiles take precedence: their names and IDs are found without reading a file. Throws
// `UnknownName` if `kind` is neither a known name nor a device ID, and `std::runtime_error`,
// starting with the file's name, for a file that is damaged or not trusted. The search for a device
// ID reads the files in the directory, so any of them can cause this error.
Profile FindProfile(const std::string& kind);

// Returns the profile with that device ID, which is looked up as in `FindProfile`. If no profile
// has the ID, returns flash-365g with this ID. Throws like `FindProfile`, but never `UnknownName`.
Profile ProfileForDevice(std::uint16_t deviceId);

// Adds a card to `state` in the first free slot. The name, device path and PCI address are unique,
// and the serial number was never used before in this file. The result points into `state`. If no
// slot is free, throws `std::runtime_error` and leaves `state` unchanged.
const Card& AddCard(State& state, const Profile& profile);

}  // namespace CardSim
