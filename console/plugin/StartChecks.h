// Whether there are enough file descriptors for a plug-in.
#pragma once

namespace Console {

// A plug-in that cannot open files finds no cards, which would be a misleading result. Throws
// `Failure` unless many more files can be opened than a plug-in needs.
void RequireDescriptors();

// When a plug-in has found no card: throws `Failure` when that may be because the system's list of
// cards cannot be read.
void RequireReadableBus();

}  // namespace Console
