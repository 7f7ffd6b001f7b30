// Checks for conditions under which a plug-in would wrongly find no cards.
#pragma once

namespace Console {

// Throws `Failure` if too few files can be opened for a plug-in. A plug-in that cannot open files
// finds no cards, which would be misleading.
void RequireFreeDescriptors();

// Call if a plug-in has found no card. Throws `Failure` if the system's list of PCI devices, in
// which the plug-in detects cards, cannot be read.
void RequireReadableBus();

}  // namespace Console
