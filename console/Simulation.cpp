#include "console/Simulation.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <boost/process.hpp>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "console/Failure.h"
#include "console/PluginLibrary.h"
#include "console/Stop.h"

namespace Console {
namespace {

namespace Process = boost::process;

Failure SimulationFailure(const std::string& why) {
  return Failure(
      ExitCode::Failed, "SIMULATION_FAILED", "simulating cards", why,
      {"Make cards with: cardsim new; cardsim add 0x1003", "Name their file: --simulate=FILE"});
}

std::filesystem::path MakeTemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "corvane-host-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw SimulationFailure(std::strerror(errno));
  return name;
}

// The simulator's own complaint without the name in front.
std::string FirstLine(Process::ipstream& stream) {
  const std::string prefix = "cardsim: ";
  std::string line;
  std::getline(stream, line);
  return line.rfind(prefix, 0) == 0 ? line.substr(prefix.size()) : line;
}

void WriteSysfs(const std::string& file, const std::filesystem::path& folder) {
  const std::filesystem::path program = ProgramFolder() / "cardsim";
  if (!std::filesystem::exists(program)) {
    throw SimulationFailure(fmt::format("there is no program {}", program.string()));
  }
  std::vector<std::string> arguments;
  if (!file.empty()) arguments = {"--state", file};
  arguments.insert(arguments.end(), {"sysfs", folder.string()});
  Process::ipstream complaints;
  Process::child child(program.string(), Process::args(arguments), Process::std_out > Process::null,
                       Process::std_err > complaints);
  const std::string complaint = FirstLine(complaints);
  child.wait();
  CheckStop();
  if (child.exit_code() != 0) throw SimulationFailure(complaint);
}

}  // namespace

Simulation::Simulation(const std::string& file) : m_Folder(MakeTemporaryFolder()) {
  try {
    const std::string state = file.empty() ? file : std::filesystem::absolute(file).string();
    const std::filesystem::path sysfs = m_Folder / "sys";
    WriteSysfs(state, sysfs);
    if (!state.empty()) setenv("CARDSIM_STATE", state.c_str(), 1);
    setenv("CORVANE_SYSFS", sysfs.c_str(), 1);
  } catch (...) {
    std::error_code ignored;
    std::filesystem::remove_all(m_Folder, ignored);
    throw;
  }
}

// A folder that cannot be removed harms nobody, and there is no one left to tell.
Simulation::~Simulation() {
  std::error_code ignored;
  std::filesystem::remove_all(m_Folder, ignored);
}

}  // namespace Console
