#include "tests/support/MemoryShortage.h"

#include <cstdlib>
#include <new>

namespace {

using CorvaneTest::Shortage;

// The number of allocations of this thread that still succeed; negative if all do.
thread_local int g_Left = -1;
thread_local bool g_HasFailed = false;
thread_local Shortage g_Kind = Shortage::OneFails;

bool ShouldFail() {
  if (g_Left < 0) return false;
  if (g_Left > 0) {
    --g_Left;
    return false;
  }
  if (g_HasFailed && g_Kind == Shortage::OneFails) return false;
  g_HasFailed = true;
  return true;
}

}  // namespace

void* operator new(std::size_t size) {
  if (ShouldFail()) throw std::bad_alloc();
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace CorvaneTest {

void BeginShortage(int successes, Shortage kind) {
  g_HasFailed = false;
  g_Kind = kind;
  g_Left = successes;
}

bool EndShortage() {
  g_Left = -1;
  return g_HasFailed;
}

}  // namespace CorvaneTest
