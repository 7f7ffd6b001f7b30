// The note that the cards of a service are simulated.
#pragma once

#include "console/base/Output.h"

namespace Console {

void NoteSimulatedService(Diagnostics& diagnostics);

// Whether the note was added.
bool HasSimulatedService(const Diagnostics& diagnostics);

}  // namespace Console
