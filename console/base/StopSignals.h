// Ctrl-C and similar signals: the first stops the program cleanly, the second terminates it.
#pragma once

#include <chrono>

namespace Console {

// Installs handlers for SIGINT, SIGTERM and SIGHUP, ignores SIGPIPE and SIGXFSZ, and resets
// SIGCHLD. If `secondKills`, a second stop signal terminates the program; otherwise it has no
// further effect. Throws `Failure`. Call before any thread starts.
void InstallStopHandlers(bool secondKills = true);

// Sets the line that a second stop signal writes to standard error before it terminates the
// program; null: the default. `text` is a literal. Thread-safe.
void SetSecondSignalText(const char* text);

// Throws `Stopped` if a stop signal has arrived.
void ThrowIfStopped();

// Clears the stop request, so that the program can continue after an interrupted wait.
void ClearStopRequest();

// Whether a stop signal has arrived. Thread-safe.
bool IsStopRequested();

// Returns a descriptor for use in poll(), readable once a stop signal has arrived, or -1 if no
// handlers are installed.
int StopDescriptor();

// Waits up to `timeout` for a stop signal. Returns whether one has arrived.
bool WaitForStop(std::chrono::milliseconds timeout);

// Additional descriptors that end a wait; -1: none.
struct WaitSet {
  int m_Readable = -1;  // ends the wait when readable or at end of file
  int m_Reader = -1;    // ends the wait when the reader of this pipe or terminal has closed it
};

// Waits until `fd` is readable or at end of file, a descriptor of `extra` is ready, a stop signal
// arrives or `timeout` expires. Returns true if `fd` is readable or at end of file and no stop
// signal has arrived.
bool WaitReadable(int fd, std::chrono::milliseconds timeout, const WaitSet& extra = {});

// Whether the reader of the pipe or terminal `fd` has closed it.
bool HasLostReader(int fd);

}  // namespace Console
