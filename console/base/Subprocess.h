// A part of this program in a process of its own, to contain a hang or crash of a plug-in.
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

// Runs `work`, whose result is the exit code, and captures its standard output. When the time is up
// or a stop signal arrives, the process gets SIGTERM and, three seconds later, SIGKILL. Call after
// `InstallStopHandlers` and before any thread starts. Throws `Failure` if no process can be
// started.
SubprocessResult RunInSubprocess(const std::function<int()>& work,
                                 std::chrono::milliseconds timeout);

}  // namespace Console
