// Ctrl-C and its like: asked once, the program ends in good order; asked twice, at once.
#pragma once

#include <chrono>

namespace Console {

// Takes over SIGINT, SIGTERM and SIGHUP, and ignores SIGPIPE. Call before any thread starts.
void CatchStopSignals();

// Throws `Stopped` when a signal came.
void CheckStop();

// Waits until `fd` can be read, a signal comes or the time is over; true only for the first.
bool WaitReadable(int fd, std::chrono::milliseconds atMost);

}  // namespace Console
