// Simulated cards instead of the machine's.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "console/plugin/TimeLimits.h"

namespace Console {

// Points the card library at a file of simulated cards, and the PCI lookup at a sysfs tree made for
// them in a temporary folder, which is removed when this object is destroyed, and by another
// process when this one is killed. Make it before any thread starts.
class Simulation {
 public:
  // An empty `file` stands for the simulator's default. Throws `Failure` when it cannot be read.
  Simulation(const std::string& file, const TimeLimits& limits);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

 private:
  void StartRemover();
  void Remove() noexcept;

  std::filesystem::path m_Folder;
  pid_t m_Remover = -1;
  Base::Descriptor m_RemoverPipe;  // closing it starts the removal
};

}  // namespace Console
