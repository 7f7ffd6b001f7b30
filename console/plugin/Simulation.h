// Simulated cards instead of the machine's.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "console/plugin/TimeLimits.h"

namespace Console {

// Points the card library at a file of simulated cards, and the PCI lookup at a sysfs tree made for
// them in a temporary directory, by setting environment variables. The directory is removed when
// this object is destroyed, and by another process when this one is killed. Construct it before any
// other thread starts and before the card library is loaded, and at most once.
class Simulation {
 public:
  // An empty `file` means the simulator's default. Throws `Failure` if the file cannot be read, the
  // directory cannot be created, or the simulator does not create the tree within the time limit of
  // a call; then no directory remains. A stop signal throws `Stopped`.
  Simulation(const std::string& file, const TimeLimits& limits);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

 private:
  // Starts the process that removes the directory after this one has died.
  void StartRemover();
  // Removes the directory and ends that process. A directory that cannot be removed is left.
  void Remove() noexcept;

  std::filesystem::path m_Directory;
  pid_t m_Remover = -1;
  Base::Descriptor m_RemoverPipe;  // closing it starts the removal
};

}  // namespace Console
