// The modules that are loaded now.
#pragma once

#include <cstdint>
#include <vector>

#include "host/Toolkit.h"
#include "hostkit/toolkit/Mutex.h"

namespace HostKit {

// Created by the first module that registers and never destroyed: modules are loaded and unloaded
// in any order, by any thread.
class Modules {
 public:
  static Modules& Get();

  // Gives the module the current mask.
  void Add(MBX::Misc::CModuleInfo& module);
  void Remove(MBX::Misc::CModuleInfo& module);
  void SetTraceMask(std::uint32_t mask);

 private:
  Modules();

  Mutex m_Mutex;
  std::vector<MBX::Misc::CModuleInfo*> m_Loaded HOST_GUARDED_BY(m_Mutex);
  std::uint32_t m_TraceMask HOST_GUARDED_BY(m_Mutex);
};

}  // namespace HostKit
