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

Failure SubprocessFailure(const SubprocessResult& result, std::chrono::milliseconds timeout) {
  switch (result.m_End) {
    case SubprocessEnd::TimedOut:
      return Failure(ExitCode::TimedOut, "TIMED_OUT", "check",
                     fmt::format("timed out after {} ms", timeout.count()),
                     {"Pass a longer --timeout."});
    case SubprocessEnd::Stopped:
      return StopFailure(Stopped().what());
    case SubprocessEnd::Killed:
      return Failure(ExitCode::Failed, "CRASHED", "check",
                     fmt::format("the program crashed ({})", strsignal(result.m_Number)));
    case SubprocessEnd::Exited:
      break;
  }
  return Failure(ExitCode::Failed, "CRASHED", "check",
                 fmt::format("the program exited with code {}", result.m_Number));
}

// Whether the command finished: it wrote output and exited with one of the exit codes of `check`.
bool HasCompleteResult(const SubprocessResult& result) {
  return result.m_End == SubprocessEnd::Exited &&
         result.m_Number <= static_cast<int>(ExitCode::Unknown) && !result.m_Output.empty();
}

// Discards standard error by default: in monitoring systems that read both streams as one, output
// of a plug-in or its library would precede the result.
int RunForMonitoring(const Invocation& invocation) {
  if (!invocation.m_Options.m_Verbose && !invocation.m_Options.m_Trace)
    Base::RedirectToNull(STDERR_FILENO);
  return static_cast<int>(RunCommand(invocation));
}

}  // namespace

ExitCode RunIsolated(Invocation invocation) {
  try {
    const std::chrono::milliseconds timeout = CheckTimeout(invocation.m_Options);
    const SubprocessResult result =
        RunInSubprocess([&] { return RunForMonitoring(invocation); }, timeout);
    if (!HasCompleteResult(result)) throw SubprocessFailure(result, timeout);
    ResultStream(false).Write(result.m_Output);
    return static_cast<ExitCode>(result.m_Number);
  } catch (const Failure& failure) {
    invocation.m_Error.emplace(failure);
  }
  return RunCommand(invocation);
}

}  // namespace Console
