// A plug-in's file in this process, and the one instance made from it.
#pragma once

#include <filesystem>
#include <string>

#include "host/PluginInterface.h"

namespace Console {

// The plug-in that belongs to this program: ../lib/libCorvane.so from the program's directory.
std::filesystem::path DefaultPluginFile();

// The directory in which this program lies.
std::filesystem::path ProgramDirectory();

// A loaded library with the two entry points; unloaded when destroyed.
class PluginLibrary {
 public:
  // Throws `Failure` if the file is missing, is not a library, or lacks an entry point.
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

// The instance, released when destroyed. The library must outlive it.
class PluginInstance {
 public:
  // Throws `Failure` if the plug-in cannot be created or has another interface version.
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
