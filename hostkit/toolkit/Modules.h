// The modules that are loaded now.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Mutex.h"
#include "host/Toolkit.h"

namespace HostKit {

// Created by the first module that registers and never destroyed: modules are loaded and unloaded
// in any order, by any thread.
class Modules {
 public:
  // The list of this process; the same object at every call.
  static Modules& Get();

  // Adds a module, which keeps its place until `Remove`, and gives it the current mask.
  void Add(MBX::Misc::CModuleInfo& module);
  // Removes a module that was added. Afterwards this class does not use it any more.
  void Remove(MBX::Misc::CModuleInfo& module);
  // Gives the mask, one bit per trace level, to all modules, and to those that are added later. A
  // line that another thread is writing may still follow the old mask.
  void SetTraceMask(std::uint32_t mask);

 private:
  Modules();

  Base::Mutex m_Mutex;
  std::vector<MBX::Misc::CModuleInfo*> m_Loaded HOST_GUARDED_BY(m_Mutex);
  std::uint32_t m_TraceMask HOST_GUARDED_BY(m_Mutex);
};

}  // namespace HostKit
