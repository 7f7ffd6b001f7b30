// The files of the plug-in and its card library in this program's installation.
#pragma once

#include <filesystem>

namespace Console {

// The file name of the card vendor's library, which the simulator shares.
constexpr const char* kCardLibrary = "libvsl_abstraction.so";

struct PluginFiles {
  std::filesystem::path m_Plugin;
  // Loaded first, so that the plug-in uses it instead of the card vendor's library. If it is empty,
  // the plug-in finds its own.
  std::filesystem::path m_CardLibrary;
};

// Returns the directory that contains this program.
std::filesystem::path ProgramDirectory();

// Returns the default plug-in: libCorvane.so in the library directory of this program's
// installation.
std::filesystem::path DefaultPluginFile();

// Returns the card library that simulates cards. It is in a directory that no loader searches, so
// that it is never mistaken for the vendor's.
std::filesystem::path SimulatedCardLibrary();

}  // namespace Console
