// The state of the objects as people and programs see it: the plug-in's report, combined with what
// is known about cards that are missing, unreadable, detached, being formatted, or beyond their
// limits.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "console/model/CardLayout.h"
#include "console/model/Model.h"

namespace Console {

// Statuses that the plug-in does not report.
inline constexpr const char* kMissing = "MISSING";
inline constexpr const char* kUnreadable = "UNREADABLE";
inline constexpr const char* kFormatting = "FORMATTING";
inline constexpr const char* kDetached = "DETACHED";

// Returns the values that this field of an object of this kind can have in addition to those that
// the plug-in declares.
std::vector<std::string> DerivedChoices(Kind kind, const std::string& field);

// Returns the rank of a status, worst first: 0 for MISSING. Unknown statuses rank between failures
// and healthy statuses.
std::size_t StatusRank(const Value& status);

// Whether a drive's status only repeats that of its card, which is detached or cannot be read.
bool RepeatsCard(const Object& object, const Value& status);

// Whether a card that can be read is detached and has a status that does not say so, because of
// another problem.
bool IsAlsoDetached(const Object& object);

// Sets the derived fields of an adapter. `drives` are its drives.
void DeriveAdapter(Object& adapter, const CardPlace& place,
                   const std::vector<const Object*>& drives, const CardTimes& times);

// Sets the state of the adapter's locate LED if it is known and the card can be read. Call after
// `DeriveAdapter`.
void DeriveLocateLed(Object& adapter, const std::vector<LocateLed>& leds);

// Sets the derived fields of a drive, after those of its adapter. `isFormatting`: whether a format
// of the card is known to be running.
void DeriveDrive(Object& drive, const Object& adapter, bool isFormatting);

}  // namespace Console
