// What the event log says of the cards, and the events that are missing in it.
//
// A plug-in reports only what changes after its start. What changed before, while no plug-in ran or
// the service had been killed, is found by comparing what the log says with what the first
// observation shows. Changes that came and went in between are lost, and the events carry the
// observation's time.
//
// These functions use no database and no clock. From any thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/model/Model.h"
#include "host/PluginInterface.h"
#include "hostkit/EventLog.h"

namespace Service {

// The layout of a drive; empty: unknown.
struct DriveFormat {
  std::optional<std::int64_t> m_SizeBytes;
  std::optional<std::int64_t> m_SectorSizeBytes;
};

// A drive as observed.
struct DriveState {
  std::uint64_t m_ObjectID = 0;
  std::string m_Name;
  DriveFormat m_Format;
};

// A card's state as reconstructed from the log.
struct CardState {
  bool m_IsPresent = false;
  // It was added, and no observation has shown its reasons since. They have no events.
  bool m_IsNew = false;
  std::uint64_t m_ObjectID = 0;
  std::string m_Name;
  std::set<std::uint32_t> m_Reasons;  // those for which there is an event
  std::vector<DriveState> m_Drives;   // in the plug-in's order
};

// By serial number. Cards without one are left out, and all but the first of those with the same.
using CardStates = std::map<std::string, CardState>;

CardStates StatesOf(const Console::Model& model);

// Adds an event of the log to the states.
void ApplyEvent(const HostKit::LoggedEvent& event, CardStates& logged);

// When a reason of a card was first observed to be gone, in milliseconds since the epoch.
using Absences = std::map<std::string, std::map<std::uint32_t, std::uint64_t>>;

// Applies changes that produce no event, such as one of several reasons ending. The observation is
// of the same plug-in process, whose earlier events must have been applied. New reasons wait for
// their event; a reason ends only after a minute's absence.
void ApplyObservation(const CardStates& observed, std::uint64_t timeMs, CardStates& logged,
                      Absences& absences);

// An event with what identifies its object across runs.
struct StateEvent {
  PI::CEvent m_Event;
  std::string m_SerialNumber;
  std::uint32_t m_ObjectType = 0;
};

// The events that lead from `before` to `now`, all with the time `timeMs`. They are those that the
// plug-in would have reported for the same change. Numbers, severities and reasons come from the
// host's message tables.
std::vector<StateEvent> EventsBetween(const CardStates& before, const CardStates& now,
                                      std::uint64_t timeMs);

}  // namespace Service
