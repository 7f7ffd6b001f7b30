// The currently loaded modules.
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
  // Returns the list of this process, always the same object.
  static Modules& Get();

  // Adds a module and sets its mask. The module must stay at its address until `Remove`.
  void Add(MBX::Misc::CModuleInfo& module);
  // Removes a module that was added; it is not used afterwards.
  void Remove(MBX::Misc::CModuleInfo& module);
  // Sets the mask (one bit per trace level) of all modules, including those added later. A line
  // that another thread is writing may still follow the old mask.
  void SetTraceMask(std::uint32_t mask);

 private:
  Modules();

  Base::Mutex m_Mutex;
  std::vector<MBX::Misc::CModuleInfo*> m_Loaded HOST_GUARDED_BY(m_Mutex);
  std::uint32_t m_TraceMask HOST_GUARDED_BY(m_Mutex);
};

}  // namespace HostKit
