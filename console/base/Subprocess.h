// Runs part of this program in a separate process, to contain a plug-in that hangs or crashes.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace Console {

enum class SubprocessEnd { Exited, Killed, TimedOut, Stopped };

struct SubprocessResult {
  SubprocessEnd m_End;
  int m_Number;          // `Exited`: the exit code; `Killed`: the signal; otherwise 0
  std::string m_Output;  // the process's standard output
};

// Runs `work` in a child process and captures its standard output; the result of `work` is the exit
// code. On timeout or a stop signal, the process gets SIGTERM and, if it is still running three
// seconds later, SIGKILL.
// Call after `InstallStopHandlers` and before any thread starts. Throws `Failure` if the process
// cannot be started.
SubprocessResult RunInSubprocess(const std::function<int()>& work,
                                 std::chrono::milliseconds timeout);

}  // namespace Console
