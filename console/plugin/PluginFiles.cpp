#include "console/plugin/PluginFiles.h"

namespace Console {
namespace {

namespace fs = std::filesystem;

// Returns a file of the installation, given its path below the prefix.
fs::path InstalledFile(const fs::path& file) {
  return (ProgramDirectory() / ".." / file).lexically_normal();
}

}  // namespace

fs::path ProgramDirectory() {
  return fs::read_symlink("/proc/self/exe").parent_path();
}

fs::path DefaultPluginFile() {
  return InstalledFile(fs::path(CORVANE_LIBRARY_DIRECTORY) / "libCorvane.so");
}

fs::path SimulatedCardLibrary() {
  return InstalledFile(fs::path(CORVANE_SIMULATOR_DIRECTORY) / kCardLibrary);
}

}  // namespace Console
