// Values of cards that cannot be read: what the plug-in reports for such a card is from an earlier
// reading.
#pragma once

#include <string>

#include "console/model/Model.h"

namespace Console {

// Returns the card of the object if the card cannot be read; otherwise null. The pointer belongs to
// `model`.
const Object* UnreadableCardOf(const Model& model, const Object& object);

// Whether the value of this property is from before the card became unreadable and may have changed
// since. The status is current, and what identifies the card and its place does not change.
bool IsStale(const Model& model, const Object& object, const std::string& property);

// Describes why the card cannot be read: "the card is not responding". The text is printable.
std::string UnreadableText(const Object& card);

}  // namespace Console
