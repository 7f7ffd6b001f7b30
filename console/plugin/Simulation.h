// Simulated cards instead of the machine's.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "console/plugin/TimeLimits.h"

namespace Console {

// Points the card library at a file of simulated cards, and the PCI lookup at a sysfs tree made for
// them in a temporary folder, by setting environment variables. The folder is removed when this
// object is destroyed, and by another process when this one is killed. Construct it before any
// other thread starts and before the card library is loaded, and at most once.
class Simulation {
 public:
  // An empty `file` means the simulator's default. Throws `Failure` if the file cannot be read, the
  // folder cannot be created, or the simulator does not create the tree within the time limit of a
  // call; then no folder remains. A stop signal throws `Stopped`.
  Simulation(const std::string& file, const TimeLimits& limits);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

 private:
  // Starts the process that removes the folder after this one has died.
  void StartRemover();
  // Removes the folder and ends that process. A folder that cannot be removed is left.
  void Remove() noexcept;

  std::filesystem::path m_Folder;
  pid_t m_Remover = -1;
  Base::Descriptor m_RemoverPipe;  // closing it starts the removal
};

}  // namespace Console
