// Loads a plug-in built with this SDK, starts it on a machine without cards and releases it.
// Usage: load PLUGIN
#include <dlfcn.h>

#include <cstdio>
#include <vector>

#include "host/PluginInterface.h"

namespace {

unsigned int Execute(IPLUGINAPI& plugin, unsigned int command, void* payload) {
  return plugin.Execute(static_cast<PI::_COMMAND>(command), 0, payload);
}

}  // namespace

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", argc == 2 ? dlerror() : "Usage: load PLUGIN");
    return 1;
  }
  using EntryPoint = unsigned int (*)(IPLUGINAPI**);
  const auto create = reinterpret_cast<EntryPoint>(dlsym(library, "createIf"));
  const auto release = reinterpret_cast<EntryPoint>(dlsym(library, "releaseIf"));
  if (create == nullptr || release == nullptr) {
    std::fprintf(stderr, "no entry points\n");
    return 1;
  }

  IPLUGINAPI* plugin = nullptr;
  std::printf("createIf: %u\n", create(&plugin));
  if (plugin == nullptr) return 1;
  std::printf("interface %u, module %u\n", plugin->m_InterfaceVersion, plugin->m_ModuleID);
  std::printf("host to notify: %s\n", plugin->m_HostNotify.m_OwnCall == nullptr ? "none" : "?");
  std::vector<PI::CAdapterID> adapters;
  std::printf("command 0: %u\n", Execute(*plugin, 0, nullptr));
  std::printf("command 1: %u\n", Execute(*plugin, 1, &adapters));
  std::printf("command 3: %u\n", Execute(*plugin, 3, nullptr));
  release(&plugin);
  std::printf("released: %s\n", plugin == nullptr ? "yes" : "no");
  return 0;
}
