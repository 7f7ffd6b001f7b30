#include "service/hooks/ProgramRun.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "base/Descriptor.h"
#include "console/base/AwaitExit.h"
#include "console/base/Deadline.h"

namespace Hooks {
namespace {

constexpr std::size_t kMaxOutput = 16384;

// Time limit for the exit of a killed process. One that hangs in the kernel is left running.
constexpr std::chrono::milliseconds kKillTimeout(3000);

// A file instead of a pipe, so that a program that does not read its input cannot block the
// service.
Base::Descriptor MakeInput(const std::string& text) {
  Base::Descriptor file(memfd_create("event", MFD_CLOEXEC));
  if (!file.IsOpen() || Base::WriteAll(file, text) != 0 || lseek(file.Get(), 0, SEEK_SET) != 0) {
    return Base::Descriptor();
  }
  return file;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// The file actions and attributes of a new process.
class SpawnSettings {
 public:
  SpawnSettings(int input, int output) {
    posix_spawn_file_actions_init(&m_Actions);
    posix_spawn_file_actions_adddup2(&m_Actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&m_Actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&m_Actions, output, STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(&m_Actions, "/");
    posix_spawnattr_init(&m_Attributes);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&m_Attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&m_Attributes, &signals);
    posix_spawnattr_setflags(
        &m_Attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&m_Actions);
    posix_spawnattr_destroy(&m_Attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  // Returns 0 or an errno value.
  int Spawn(const ProgramRun& run, pid_t& process) const {
    std::vector<std::string> arguments = {run.m_File.string()};
    std::vector<std::string> variables = run.m_Environment;
    return posix_spawn(&process, run.m_File.c_str(), &m_Actions, &m_Attributes,
                       Pointers(arguments).data(), Pointers(variables).data());
  }

 private:
  posix_spawn_file_actions_t m_Actions;
  posix_spawnattr_t m_Attributes;
};

// Reads available output and appends it to `output`; discards anything beyond the limit. Returns
// false at end of file or on a read error.
bool ReadOutput(int pipe, std::string& output) {
  char text[4096];
  const ssize_t count = read(pipe, text, sizeof text);
  if (count < 0) return errno == EINTR || errno == EAGAIN;
  const std::size_t room = kMaxOutput - output.size();
  output.append(text, std::min(static_cast<std::size_t>(count), room));
  return count > 0;
}

// Waits until the process exits, the timeout expires or `run.m_Stop` is readable. Returns an empty
// string if the process has exited, otherwise the reason for killing it.
std::string Await(int pidfd, int pipe, const ProgramRun& run, std::string& output) {
  const Console::Deadline deadline(run.m_Timeout);
  pollfd waits[] = {{pidfd, POLLIN, 0}, {run.m_Stop, POLLIN, 0}, {pipe, POLLIN, 0}};
  while (!deadline.HasPassed()) {
    if (poll(waits, 3, static_cast<int>(deadline.Remaining().count())) <= 0) continue;
    if (waits[2].revents != 0 && !ReadOutput(pipe, output)) waits[2].fd = -1;
    if (waits[0].revents != 0) return {};
    if (waits[1].revents != 0) return "killed because the service is stopping";
  }
  return fmt::format("killed after {} s", static_cast<double>(run.m_Timeout.count()) / 1000);
}

// Drains the pipe without waiting for end of file: a descendant that left the process group may
// still hold the write end open.
void ReadRest(int pipe, std::string& output) {
  fcntl(pipe, F_SETFL, O_NONBLOCK);
  pollfd wait = {pipe, POLLIN, 0};
  while (output.size() < kMaxOutput && poll(&wait, 1, 0) == 1 && ReadOutput(pipe, output)) {
  }
}

std::string FailureOf(int status) {
  if (WIFSIGNALED(status)) return fmt::format("killed by signal {}", WTERMSIG(status));
  if (WEXITSTATUS(status) != 0) return fmt::format("exit code {}", WEXITSTATUS(status));
  return {};
}

ProgramResult CannotStart(int error) {
  return {std::string("cannot be started: ") + std::strerror(error), {}};
}

}  // namespace

// The process group is killed before its leader is reaped, because the group ID could be reused
// after that.
ProgramResult Run(const ProgramRun& run) {
  const Base::Descriptor input = MakeInput(run.m_Input);
  Base::Pipe pipe = Base::MakePipe();
  if (!input.IsOpen() || !pipe.m_Read.IsOpen()) return CannotStart(errno);
  pid_t process = -1;
  const SpawnSettings settings(input.Get(), pipe.m_Write.Get());
  if (const int error = settings.Spawn(run, process)) return CannotStart(error);
  pipe.m_Write.Close();
  const Base::Descriptor pidfd(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
  ProgramResult result;
  // Without the pidfd, poll() cannot detect the exit; report that as a failure to start.
  result.m_Failure = pidfd.IsOpen() ? Await(pidfd.Get(), pipe.m_Read.Get(), run, result.m_Output)
                                    : CannotStart(errno).m_Failure;
  kill(-process, SIGKILL);
  const auto status = Console::AwaitExit(process, Console::Deadline(kKillTimeout));
  ReadRest(pipe.m_Read.Get(), result.m_Output);
  if (!status) result.m_Failure = "cannot be killed";
  if (result.m_Failure.empty()) result.m_Failure = FailureOf(*status);
  return result;
}

}  // namespace Hooks
