// Ctrl-C and similar signals: the first ends the program cleanly, the second ends it immediately.
#pragma once

#include <chrono>

namespace Console {

// Takes over SIGINT, SIGTERM and SIGHUP, and ignores SIGPIPE. Unless `secondEnds`, only the first
// signal counts. Throws `Failure`. Call before any thread starts.
void InstallStopHandlers(bool secondEnds = true);

// Throws `Stopped` if a stop signal has arrived.
void ThrowIfStopped();

// Clears the stop request, when the wait that the signal was meant for has ended.
void ClearStopRequest();

// Whether a stop signal has arrived. May be called from any thread.
bool IsStopRequested();

// Readable once a stop signal has arrived, for a poll with others; -1 without handlers.
int StopDescriptor();

// Waits for a stop signal, at most `timeout`; true if one arrived.
bool WaitForStop(std::chrono::milliseconds timeout);

// Descriptors that also end a wait; -1: none.
struct WaitSet {
  int m_Readable = -1;  // something can be read, or has ended
  int m_Reader = -1;    // its reader has closed it
};

// Waits until `fd` is readable or at its end, one of `also` is, a stop signal arrives or the time
// is up; true only if `fd` is readable or at its end.
bool WaitReadable(int fd, std::chrono::milliseconds timeout, const WaitSet& also = {});

// Whether the reader of the pipe or terminal `fd` has closed it.
bool HasLostReader(int fd);

}  // namespace Console
