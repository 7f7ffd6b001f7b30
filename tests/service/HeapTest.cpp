#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "service/Heap.h"
#include "tests/service/CollectorFixture.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZER_MALLOC true
#elif defined(__has_feature)
#define SANITIZER_MALLOC (__has_feature(address_sanitizer) || __has_feature(thread_sanitizer))
#else
#define SANITIZER_MALLOC false
#endif

namespace {

constexpr std::size_t kMiB = 1U << 20U;

std::size_t ResidentBytes() {
  std::size_t total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * static_cast<std::size_t>(getpagesize());
}

// Counts glibc's per-thread heaps: each reserves 64 MiB, aligned to 64 MiB, and makes the beginning
// writable.
int ThreadHeaps(pid_t process) {
  constexpr std::size_t kReserved = 64 * kMiB;
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  EXPECT_TRUE(maps.is_open());
  int count = 0;
  std::size_t heapEnd = 0;
  for (std::string line; std::getline(maps, line);) {
    std::istringstream fields(line);
    std::size_t begin = 0, end = 0;
    char dash = 0;
    std::string access;
    fields >> std::hex >> begin >> dash >> end >> access;
    if (access == "---p" && begin == heapEnd && end % kReserved == 0) ++count;
    heapEnd = access == "rw-p" && begin % kReserved == 0 ? end : 0;
  }
  return count;
}

TEST(Heap, ReturnsFreeMemory) {
  if (SANITIZER_MALLOC) GTEST_SKIP() << "the sanitizer replaces the allocator";
  const std::size_t before = ResidentBytes();
  std::vector<std::unique_ptr<char[]>> blocks;
  for (std::size_t size = 0; size < 64 * kMiB; size += 4096) {
    blocks.push_back(std::make_unique<char[]>(4096));
  }
  // The last block keeps the allocator from returning the memory by itself.
  blocks.erase(blocks.begin(), blocks.end() - 1);
  EXPECT_GT(ResidentBytes(), before + 32 * kMiB);
  Service::ReturnFreeMemory();
  EXPECT_LT(ResidentBytes(), before + 16 * kMiB);
}

class PluginProcessHeap : public CorvaneTest::CollectorFixture {};

TEST_F(PluginProcessHeap, IsSharedByAllThreads) {
  if (SANITIZER_MALLOC) GTEST_SKIP() << "the sanitizer replaces the allocator";
  m_Host.AddCard();
  Start(Settings());
  EXPECT_EQ(0, ThreadHeaps(AwaitObjects(3)->m_Plugin.m_Process));
}

}  // namespace
