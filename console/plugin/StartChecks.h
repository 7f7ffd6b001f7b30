// Whether there are enough file descriptors for a plug-in.
#pragma once

namespace Console {

// A plug-in that cannot open a file finds no card, which is not what people should be told. Throws
// `Failure` unless many more files can be opened than a plug-in needs.
void RequireDescriptors();

// When a plug-in has found no card: throws `Failure` when that may be because the system's list of
// cards cannot be read.
void RequireReadableBus();

}  // namespace Console
