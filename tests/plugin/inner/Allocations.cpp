#include "tests/plugin/inner/Allocations.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace CorvaneTest {

namespace {

struct AllocationWatch {
  bool m_On = false;
  std::size_t m_Failing = 0;
  Shortage m_Shortage = Shortage::OneFails;
  std::size_t m_Count = 0;
  std::size_t m_LargestBytes = 0;
};

thread_local AllocationWatch g_Watch;

enum class Owner { Plugin, ForPlugin, Other };

// Whether the host's library allocates for the plug-in: it copies events and formats trace lines.
bool IsForPlugin(const char* symbol) {
  for (const char* type : {"_ZN2PI6CEvent", "_ZN3MBX14Output_Streams13CFormatStream"}) {
    if (std::strstr(symbol, type) != nullptr) return true;
  }
  return false;
}

Owner OwnerOf(const void* address) {
  Dl_info info;
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return Owner::Plugin;
  for (const char* library : {"libhostkit", "libvsl_abstraction", "libsqlite3"}) {
    if (std::strstr(info.dli_fname, library) == nullptr) continue;
    const bool isForPlugin = info.dli_sname != nullptr && IsForPlugin(info.dli_sname);
    return isForPlugin ? Owner::ForPlugin : Owner::Other;
  }
  return Owner::Plugin;
}

// Whether the calling thread is allocating for the plug-in, judged by its call stack.
bool IsPluginAllocation() {
  constexpr int kDepth = 48;
  void* frames[kDepth];
  const int depth = backtrace(frames, kDepth);
  bool isOther = false;
  for (int i = 0; i < depth; ++i) {
    const Owner owner = OwnerOf(frames[i]);
    if (owner == Owner::ForPlugin) return true;
    isOther |= owner == Owner::Other;
  }
  return !isOther;
}

bool ShouldFail() {
  if (g_Watch.m_Failing == 0 || g_Watch.m_Count < g_Watch.m_Failing) return false;
  return g_Watch.m_Count == g_Watch.m_Failing || g_Watch.m_Shortage == Shortage::AllFail;
}

void CountAllocation(std::size_t size) {
  if (!g_Watch.m_On) return;
  g_Watch.m_On = false;  // the stack walk's own allocations are not counted
  const bool counts = IsPluginAllocation();
  g_Watch.m_On = true;
  if (!counts) return;
  g_Watch.m_LargestBytes = std::max(g_Watch.m_LargestBytes, size);
  ++g_Watch.m_Count;
  if (ShouldFail()) throw std::bad_alloc();
}

}  // namespace

AllocationCounter::AllocationCounter(std::size_t failing, Shortage shortage) {
  g_Watch = {true, failing, shortage, 0, 0};
}

AllocationCounter::~AllocationCounter() {
  g_Watch.m_On = false;
}

std::size_t AllocationCounter::Count() const {
  return g_Watch.m_Count;
}

std::size_t AllocationCounter::LargestBytes() const {
  return g_Watch.m_LargestBytes;
}

}  // namespace CorvaneTest

// Replaces the standard library's function, which is the only way to run out of memory on demand.

void* operator new(std::size_t size) {
  CorvaneTest::CountAllocation(size);
  if (void* memory = std::malloc(std::max<std::size_t>(size, 1))) return memory;
  throw std::bad_alloc();
}

// The standard library's nothrow function might not call the function above.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
