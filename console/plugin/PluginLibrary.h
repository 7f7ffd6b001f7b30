// A plug-in library that is loaded into this process, and its instance.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "console/plugin/PluginFiles.h"
#include "host/PluginInterface.h"

namespace Console {

// Returns the function with that name in the plug-in that was loaded last, or in a library that it
// uses. Returns null if there is none. Thread-safe.
void* FindInPlugin(const char* name);

// Returns how many plug-ins this process has loaded. Thread-safe.
std::uint64_t PluginLoads();

struct CloseLibrary {
  void operator()(void* handle) const;
};
using LoadedLibrary = std::unique_ptr<void, CloseLibrary>;

// A loaded plug-in library with its two entry points, and its card library; unloaded when
// destroyed.
class PluginLibrary {
 public:
  // Throws `Failure` if a file or a library that it needs is missing, is not a library or is not
  // trusted, or if the plug-in lacks an entry point or is for another host.
  explicit PluginLibrary(const PluginFiles& files);
  ~PluginLibrary() = default;
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  using Create = unsigned int (*)(IPLUGINAPI**);
  using Release = void (*)(IPLUGINAPI**);

  const std::string m_File;

 private:
  friend class PluginInstance;
  void* EntryPoint(const char* name) const;

  const LoadedLibrary m_CardLibrary;
  const LoadedLibrary m_Plugin;
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
