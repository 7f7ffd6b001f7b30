// The state of the cards according to the event log, and the events that are missing from the log.
//
// A plug-in reports only changes that occur after its start. Earlier changes, while no plug-in was
// running or after the service had been killed, are found by comparing the state in the log with
// the first observation. Changes that were reversed in between are lost, and the added events have
// the time of the observation.
//
// These functions use neither the database nor the clock. They are thread-safe.
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

// The format of a drive; empty: unknown.
struct DriveFormat {
  std::optional<std::int64_t> m_SizeBytes;
  std::optional<std::int64_t> m_SectorSizeBytes;
};

// A drive, as observed or as reconstructed from the log. Only the format is stored.
struct DriveState {
  std::uint64_t m_ObjectID = 0;
  std::string m_Name;
  DriveFormat m_Format;
};

// The state of a card, as observed or as reconstructed from the log.
struct CardState {
  bool m_IsPresent = false;
  // Whether the card was added and its reasons have not been observed since. These reasons have no
  // events.
  bool m_IsNew = false;
  std::uint64_t m_ObjectID = 0;
  std::string m_Name;
  std::set<std::uint32_t> m_Reasons;  // only reasons that have an event
  std::vector<DriveState> m_Drives;   // in the plug-in's order
};

// States by serial number. Excludes cards without a serial number, and all but the first card with
// the same serial number.
using CardStates = std::map<std::string, CardState>;

CardStates StatesOf(const Console::Model& model);

// Applies a logged event to the states.
void ApplyEvent(const HostKit::LoggedEvent& event, CardStates& logged);

// When each absent reason was first observed to be absent, in milliseconds since the epoch: by
// serial number and reason.
using Absences = std::map<std::string, std::map<std::uint32_t, std::uint64_t>>;

// Applies changes that produce no event, such as the end of one of several reasons. Earlier events
// of the observed plug-in process must have been applied. New reasons are not added, because their
// events will follow, except those of a new card. A reason other than attached or detached ends
// only after it has been absent for a minute.
void ApplyObservation(const CardStates& observed, std::uint64_t timeMs, CardStates& logged,
                      Absences& absences);

// An event, with the serial number and type that identify its object across runs.
struct StateEvent {
  PI::CEvent m_Event;
  std::string m_SerialNumber;
  std::uint32_t m_ObjectType = 0;
};

// Returns the events for the changes from `before` to `now`, all with the time `timeMs`. The
// plug-in would have reported the same events for the same changes. Numbers, severities and reasons
// come from the host's message tables.
std::vector<StateEvent> EventsBetween(const CardStates& before, const CardStates& now,
                                      std::uint64_t timeMs);

}  // namespace Service
