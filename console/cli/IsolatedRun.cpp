#include "console/cli/IsolatedRun.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstring>

#include "base/Descriptor.h"
#include "console/base/Duration.h"
#include "console/base/Output.h"
#include "console/base/Subprocess.h"

namespace Console {
namespace {

std::chrono::milliseconds CheckTimeout(const Options& options) {
  // Shorter than one minute, after which monitoring systems give up.
  constexpr std::chrono::seconds kDefault(30);
  return ParseDuration("--timeout", options.m_Timeout).value_or(kDefault);
}

Failure EndingFailure(const SubprocessResult& ending, std::chrono::milliseconds timeout) {
  switch (ending.m_End) {
    case SubprocessEnd::TimedOut:
      return Failure(ExitCode::TimedOut, "TIMED_OUT", "check",
                     fmt::format("timed out after {} ms", timeout.count()),
                     {"Pass a longer --timeout."});
    case SubprocessEnd::Stopped:
      return StopFailure(Stopped().what());
    case SubprocessEnd::Killed:
      return Failure(ExitCode::Failed, "CRASHED", "check",
                     fmt::format("the program crashed ({})", strsignal(ending.m_Number)));
    case SubprocessEnd::Exited:
      break;
  }
  return Failure(ExitCode::Failed, "CRASHED", "check",
                 fmt::format("the program exited with code {}", ending.m_Number));
}

// Whether the command finished: it wrote output and exited with a code of `check`.
bool HasCompleteResult(const SubprocessResult& ending) {
  return ending.m_End == SubprocessEnd::Exited &&
         ending.m_Number <= static_cast<int>(ExitCode::Unknown) && !ending.m_Output.empty();
}

// Discards standard error by default: in monitoring systems that read both streams as one, output
// of a plug-in or its library would precede the result.
int RunForMonitoring(const Invocation& invocation) {
  if (!invocation.m_Options.m_Verbose && !invocation.m_Options.m_Trace)
    Base::Discard(STDERR_FILENO);
  return static_cast<int>(RunCommand(invocation));
}

}  // namespace

ExitCode RunIsolated(Invocation invocation) {
  try {
    const std::chrono::milliseconds timeout = CheckTimeout(invocation.m_Options);
    const SubprocessResult ending =
        RunInSubprocess([&] { return RunForMonitoring(invocation); }, timeout);
    if (!HasCompleteResult(ending)) throw EndingFailure(ending, timeout);
    ResultStream(false).Write(ending.m_Output);
    return static_cast<ExitCode>(ending.m_Number);
  } catch (const Failure& failure) {
    invocation.m_Error.emplace(failure);
  }
  return RunCommand(invocation);
}

}  // namespace Console
