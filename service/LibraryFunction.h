// Functions of the card library with which the plug-in is linked.
#pragma once

#include <atomic>
#include <cstdint>

#include "console/plugin/PluginLibrary.h"

namespace Service {

// A function that is looked up once for each loaded plug-in. Thread-safe.
template <class Function>
class LibraryFunction {
 public:
  explicit LibraryFunction(const char* name) : m_Name(name) {}

  Function Get() {
    const std::uint64_t load = Console::PluginLoads();
    if (m_Load.load(std::memory_order_acquire) != load) {
      m_Address.store(Console::FindInPlugin(m_Name), std::memory_order_relaxed);
      m_Load.store(load, std::memory_order_release);
    }
    return reinterpret_cast<Function>(m_Address.load(std::memory_order_relaxed));  // NOLINT
  }

 private:
  const char* const m_Name;
  std::atomic<std::uint64_t> m_Load{0};
  std::atomic<void*> m_Address{nullptr};
};

// The library's function with that name.
#define REAL(name)                                                          \
  ([] {                                                                     \
    static Service::LibraryFunction<decltype(&(name))> realFunction(#name); \
    return realFunction.Get();                                              \
  }())

}  // namespace Service
