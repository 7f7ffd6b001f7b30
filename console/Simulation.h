// Simulated cards instead of the machine's.
#pragma once

#include <filesystem>
#include <string>

namespace Console {

// Points the card library at a file of simulated cards, and the PCI look-up at a sysfs tree made
// for them in a temporary folder, which is removed when this object is destroyed.
class Simulation {
 public:
  // An empty `file` stands for the simulator's default. Throws `Failure` when it cannot be read.
  explicit Simulation(const std::string& file);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

 private:
  std::filesystem::path m_Folder;
};

}  // namespace Console
