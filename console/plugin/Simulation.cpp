#include "console/plugin/Simulation.h"

#include <fmt/format.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>
#include <vector>

#include "base/TrustedPath.h"
#include "console/base/Failure.h"
#include "console/base/StopSignals.h"
#include "console/base/Subprocess.h"
#include "console/base/TrustedCode.h"
#include "console/plugin/PluginLibrary.h"

namespace Console {
namespace {

using Words = std::vector<std::string>;

Failure SimulationFailure(const std::string& why, ExitCode code = ExitCode::Failed) {
  return Failure(
      code, "SIMULATION_FAILED", "cannot simulate cards", why,
      {"Create cards: cardsim new; cardsim add 0x1003", "Or pass their file: --simulate=FILE"});
}

std::filesystem::path CreateTemporaryDirectory() {
  const std::filesystem::path parent =
      std::filesystem::absolute(std::filesystem::temp_directory_path());
  std::string name = (parent / "corvane-host-XXXXXX").string();
  const std::string trustError = Base::ResolveTrusted(name).m_TrustError;
  if (!trustError.empty()) throw SimulationFailure(trustError);
  if (mkdtemp(name.data()) == nullptr) throw SimulationFailure(std::strerror(errno));
  return name;
}

// Returns the first line of the simulator's errors, without the program's name.
std::string ErrorText(const std::string& text) {
  const std::string prefix = "cardsim: ";
  const std::string line = text.substr(0, text.find('\n'));
  return line.rfind(prefix, 0) == 0 ? line.substr(prefix.size()) : line;
}

// Replaces this process with the program. The program's standard error goes to this process's
// standard output; its standard output is discarded.
int ExecProgram(const std::filesystem::path& program, const Words& words) {
  dup2(STDOUT_FILENO, STDERR_FILENO);
  Base::RedirectToNull(STDOUT_FILENO);
  std::vector<char*> arguments;
  std::string name = program.string();
  Words copies = words;
  arguments.push_back(name.data());
  for (std::string& word : copies) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  execv(name.c_str(), arguments.data());
  const std::string why = name + ": " + std::strerror(errno);
  const bool isReported = write(STDERR_FILENO, why.data(), why.size()) >= 0;
  // Any code other than 0 is a failure to the parent, which reports the text.
  return isReported ? EXIT_FAILURE : EXIT_FAILURE + 1;
}

std::string FailureReason(const SubprocessResult& result) {
  if (result.m_End == SubprocessEnd::TimedOut) return "the simulator is not responding";
  if (result.m_End == SubprocessEnd::Killed) {
    return fmt::format("the simulator crashed ({})", strsignal(result.m_Number));
  }
  return ErrorText(result.m_Output);
}

void WriteSysfs(const std::string& file, const std::filesystem::path& directory,
                const TimeLimits& limits) {
  const std::filesystem::path program = ProgramDirectory() / "cardsim";
  if (!std::filesystem::exists(program)) {
    throw SimulationFailure(fmt::format("program not found: {}", program.string()));
  }
  const std::string trustError = TrustErrorOfCode(program);
  if (!trustError.empty()) {
    throw Failure(ExitCode::PluginUnusable, "SIMULATION_FAILED", "cannot simulate cards",
                  trustError, TrustAdvice(program));
  }
  Words arguments;
  if (!file.empty()) arguments = {"--state", file};
  arguments.insert(arguments.end(), {"sysfs", directory.string()});
  const SubprocessResult result = RunInSubprocess([&] { return ExecProgram(program, arguments); },
                                                  limits.ForCall().Remaining());
  if (result.m_End == SubprocessEnd::Stopped) throw Stopped();
  ThrowIfStopped();
  if (result.m_End == SubprocessEnd::Exited && result.m_Number == EXIT_SUCCESS) return;
  const bool isTimeout = result.m_End == SubprocessEnd::TimedOut;
  throw SimulationFailure(FailureReason(result), isTimeout ? ExitCode::TimedOut : ExitCode::Failed);
}

// Waits until the parent process terminates or closes the pipe, then removes the directory. Runs in
// a separate session and closes all other descriptors, so that no reader of an inherited pipe waits
// for this process.
[[noreturn]] void RunRemover(const std::filesystem::path& directory, int pipeEnd) noexcept {
  setsid();
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) signal(number, SIG_IGN);
  dup2(pipeEnd, STDIN_FILENO);
  close_range(STDIN_FILENO + 1, ~0U, 0);
  if (chdir("/") != 0) _exit(EXIT_FAILURE);
  char ignored = 0;
  while (read(STDIN_FILENO, &ignored, 1) < 0 && errno == EINTR) continue;
  std::error_code error;
  std::filesystem::remove_all(directory, error);
  _exit(EXIT_SUCCESS);
}

}  // namespace

Simulation::Simulation(const std::string& file, const TimeLimits& limits)
    : m_Directory(CreateTemporaryDirectory()) {
  try {
    StartRemover();
    const std::string state = file.empty() ? file : std::filesystem::absolute(file).string();
    const std::filesystem::path sysfs = m_Directory / "sys";
    WriteSysfs(state, sysfs, limits);
    if (!state.empty()) setenv("CARDSIM_STATE", state.c_str(), 1);
    setenv("CORVANE_SYSFS", sysfs.c_str(), 1);
  } catch (...) {
    Remove();
    throw;
  }
}

Simulation::~Simulation() {
  Remove();
}

// Errors are ignored: without the remover, the directory remains only if this process is killed.
void Simulation::StartRemover() {
  Base::Pipe pipe = Base::MakePipe();
  if (!pipe.m_Read.IsOpen()) return;
  m_Remover = fork();
  if (m_Remover == 0) RunRemover(m_Directory, pipe.m_Read.Get());
  m_RemoverPipe = std::move(pipe.m_Write);
}

// Errors are ignored: a leftover directory is harmless, and the errors can no longer be reported.
void Simulation::Remove() noexcept {
  std::error_code ignored;
  std::filesystem::remove_all(m_Directory, ignored);
  m_RemoverPipe.Close();
  if (m_Remover < 0) return;
  while (waitpid(m_Remover, nullptr, 0) < 0 && errno == EINTR) continue;
}

}  // namespace Console
