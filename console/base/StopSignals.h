// Ctrl-C and its like: asked once, the program ends in good order; asked twice, at once.
#pragma once

#include <chrono>

namespace Console {

// Takes over SIGINT, SIGTERM and SIGHUP, and ignores SIGPIPE. Unless `secondEnds`, only the first
// signal counts. Throws `Failure`. Call before any thread starts.
void CatchStopSignals(bool secondEnds = true);

// Throws `Stopped` when a signal came.
void CheckStop();

// Whether a signal came. May be called from any thread.
bool StopRequested();

// Waits until a signal comes or the time is over; true for the first.
bool WaitForStop(std::chrono::milliseconds atMost);

// What else may end a wait; -1 for nothing.
struct WaitSet {
  int m_Readable = -1;  // something can be read, or has ended
  int m_Reader = -1;    // whoever reads what is written to it has gone
};

// Waits until `fd` can be read or has ended, one of the other things has happened, a signal comes
// or the time is over; true only for the first.
bool WaitReadable(int fd, std::chrono::milliseconds atMost, const WaitSet& also = {});

// Whether the reader of the pipe or terminal behind `fd` has gone.
bool HasLostReader(int fd);

}  // namespace Console
