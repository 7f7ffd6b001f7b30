// The modules that are loaded now.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "host/Toolkit.h"

namespace HostKit {

// Made by the first module that announces itself and never destroyed: modules are loaded and
// unloaded in any order.
class Modules {
 public:
  static Modules& Get();

  // Gives the module the mask that holds now.
  void Add(MBX::Misc::CModuleInfo& module);
  void Remove(MBX::Misc::CModuleInfo& module);
  void SetTraceMask(std::uint32_t mask);

 private:
  Modules();

  std::mutex m_Mutex;
  std::vector<MBX::Misc::CModuleInfo*> m_Loaded;
  std::uint32_t m_TraceMask;
};

}  // namespace HostKit
