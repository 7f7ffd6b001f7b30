// A part of this program in a process of its own, so that neither a hang nor a crash of a plug-in
// reaches the rest.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace Console {

enum class SubprocessEnd { Exited, Killed, TimedOut, Stopped };

struct SubprocessResult {
  SubprocessEnd m_End;
  int m_Number;          // the exit code, or the signal that ended it
  std::string m_Output;  // what it wrote to standard output
};

// Runs `work`, whose result is the exit code, with its standard output kept. A process that takes
// longer, or that is running when a signal asks this program to stop, is asked to end and, three
// seconds later, ended. Call after `CatchStopSignals` and before any thread starts. Throws
// `Failure` when there can be no process.
SubprocessResult RunInSubprocess(const std::function<int()>& work,
                                 std::chrono::milliseconds atMost);

}  // namespace Console
