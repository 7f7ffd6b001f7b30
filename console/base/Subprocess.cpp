#include "console/base/Subprocess.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/Descriptor.h"
#include "console/base/CallWithTimeout.h"
#include "console/base/Deadline.h"
#include "console/base/Failure.h"
#include "console/base/StopSignals.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

// A plug-in takes more than a second to start, and cannot be stopped cleanly before it has started.
constexpr std::chrono::seconds kGraceAfterTerm(3);
constexpr std::chrono::seconds kGraceAfterKill(2);

Failure StartFailure(int error) {
  return Failure(ExitCode::Failed, "NO_PROCESS", "cannot start a process", std::strerror(error));
}

// The child keeps `output` open until it exits, so the parent sees end of file at that moment.
// noexcept keeps an exception of the child from unwinding into the parent's code.
[[noreturn]] void RunChild(const std::function<int()>& work, int output, pid_t parent) noexcept {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) std::exit(EXIT_FAILURE);
  // A signal to the process group arrives twice: directly, and as the SIGTERM from the parent. The
  // second must not interrupt a clean exit. If the process hangs, the parent sends SIGKILL.
  InstallStopHandlers(false);
  dup2(output, STDOUT_FILENO);
  ExitProgram(work());
}

// Returns false at end of file or on an error.
bool ReadSome(int fd, std::string& into) {
  std::array<char, 4096> buffer = {};
  const ssize_t count = read(fd, buffer.data(), buffer.size());
  if (count < 0) return errno == EINTR || errno == EAGAIN;
  into.append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0;
}

// Reads until the process terminates, `timeout` expires or a stop signal arrives. Returns `Exited`
// for every termination, including one by a signal.
SubprocessEnd ReadAll(int fd, milliseconds timeout, std::string& into) {
  const Deadline deadline(timeout);
  while (true) {
    if (IsStopRequested()) return SubprocessEnd::Stopped;
    if (deadline.HasPassed()) return SubprocessEnd::TimedOut;
    if (WaitReadable(fd, deadline.Remaining()) && !ReadSome(fd, into)) return SubprocessEnd::Exited;
  }
}

// Returns whether the process terminates within `timeout`.
bool AwaitEnd(int fd, milliseconds timeout) {
  const Deadline deadline(timeout);
  std::string ignored;
  pollfd wait = {fd, POLLIN, 0};
  while (!deadline.HasPassed()) {
    const int count = poll(&wait, 1, static_cast<int>(deadline.Remaining().count()));
    if (count > 0 && !ReadSome(fd, ignored)) return true;
  }
  return false;
}

// Sends SIGTERM first, because a process that exits cleanly removes its temporary files. Returns
// false if the process hangs in the kernel, where even SIGKILL has no effect; it is abandoned.
bool Terminate(pid_t child, int fd) {
  kill(child, SIGTERM);
  if (AwaitEnd(fd, kGraceAfterTerm)) return true;
  kill(child, SIGKILL);
  return AwaitEnd(fd, kGraceAfterKill);
}

int Reap(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  return status;
}

}  // namespace

SubprocessResult RunInSubprocess(const std::function<int()>& work, milliseconds timeout) {
  Base::Pipe pipe = Base::MakePipe();
  if (!pipe.m_Read.IsOpen()) throw StartFailure(errno);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) RunChild(work, pipe.m_Write.Get(), parent);
  if (child < 0) throw StartFailure(errno);
  pipe.m_Write.Close();
  const int output = pipe.m_Read.Get();
  SubprocessResult ending = {};
  ending.m_End = ReadAll(output, timeout, ending.m_Output);
  const bool hasEnded = ending.m_End == SubprocessEnd::Exited || Terminate(child, output);
  const int status = hasEnded ? Reap(child) : 0;
  if (ending.m_End != SubprocessEnd::Exited) return ending;
  ending.m_End = WIFSIGNALED(status) ? SubprocessEnd::Killed : SubprocessEnd::Exited;
  ending.m_Number = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  return ending;
}

}  // namespace Console
