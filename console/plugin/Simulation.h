// Simulated cards in place of the machine's cards.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "base/Descriptor.h"
#include "console/plugin/TimeLimits.h"

namespace Console {

// Sets environment variables that point the card library to a file of simulated cards, and the PCI
// lookup to a sysfs tree generated for these cards in a temporary directory. The directory is
// removed when this object is destroyed, or by a helper process if this process is killed.
// Construct at most one, before any other thread starts and before the card library is loaded.
class Simulation {
 public:
  // An empty `file` selects the simulator's default file. Throws `Failure` if the file cannot be
  // read, the directory cannot be created, or the simulator does not create the tree within the
  // time limit of a call. Throws `Stopped` on a stop signal. No directory remains after an
  // exception.
  Simulation(const std::string& file, const TimeLimits& limits);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

 private:
  // Starts the helper process that removes the directory after this process has terminated.
  void StartRemover();
  // Removes the directory, if possible, and waits for the helper process to exit.
  void Remove() noexcept;

  std::filesystem::path m_Directory;
  pid_t m_Remover = -1;
  Base::Descriptor m_RemoverPipe;  // closing it starts the removal
};

}  // namespace Console
