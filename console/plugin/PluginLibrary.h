// A plug-in library that is loaded into this process, and its instance.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "host/PluginInterface.h"

namespace Console {

// Returns the default plug-in: ../lib/libCorvane.so, relative to the program's directory.
std::filesystem::path DefaultPluginFile();

// Returns the directory that contains this program.
std::filesystem::path ProgramDirectory();

// Returns the function with that name in the plug-in that was loaded last, or in a library that it
// uses. Returns null if there is none. Thread-safe.
void* FindInPlugin(const char* name);

// Returns how many plug-ins this process has loaded. Thread-safe.
std::uint64_t PluginLoads();

// A loaded plug-in library with its two entry points; unloaded when destroyed.
class PluginLibrary {
 public:
  // Throws `Failure` if the file is missing, is not a library or lacks an entry point, or if it or
  // a library that it needs is not trusted.
  explicit PluginLibrary(const std::filesystem::path& file);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  using Create = unsigned int (*)(IPLUGINAPI**);
  using Release = void (*)(IPLUGINAPI**);

  const std::string m_File;

 private:
  friend class PluginInstance;
  void* EntryPoint(const char* name) const;

  void* m_Handle;
  Create m_Create = nullptr;
  Release m_Release = nullptr;
};

// The plug-in's instance, released when destroyed. The library must outlive the instance.
class PluginInstance {
 public:
  // Throws `Failure` if the instance cannot be created or has an unsupported interface version.
  explicit PluginInstance(PluginLibrary& library);
  ~PluginInstance();
  PluginInstance(const PluginInstance&) = delete;
  PluginInstance& operator=(const PluginInstance&) = delete;

  IPLUGINAPI& operator*() const { return *m_pPlugin; }
  IPLUGINAPI* operator->() const { return m_pPlugin; }

 private:
  PluginLibrary& m_Library;
  IPLUGINAPI* m_pPlugin = nullptr;
};

}  // namespace Console
