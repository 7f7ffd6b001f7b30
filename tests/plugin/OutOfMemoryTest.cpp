// createIf without enough memory for the plug-in.

#include <gmock/gmock.h>

#include <atomic>
#include <new>

#include "Corvane/Src/Corvane.h"
#include "hostkit/Inspect.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"

namespace {

std::atomic<bool> g_FailAllocations{false};

}  // namespace

// Replaces the standard library's function, which is the only way to run out of memory on demand.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (g_FailAllocations) return nullptr;
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL;

class OutOfMemory : public testing::Test {
 protected:
  static const void* Global() { return g_p_IPLUGINAPI_IMPL; }

  // Sets up the kit and the directories, but does not create a plug-in.
  SimulatedHost m_Host;
};

unsigned int CreateOutOfMemory(IPLUGINAPI** instance) {
  g_FailAllocations = true;
  const unsigned int result = createIf(instance);
  g_FailAllocations = false;
  return result;
}

TEST_F(OutOfMemory, CreateFailsAndStoresNull) {
  int unrelated = 0;
  IPLUGINAPI* plugin = nullptr;
  const void* garbage = &unrelated;
  std::memcpy(&plugin, &garbage, sizeof plugin);
  EXPECT_EQ(CreateOutOfMemory(&plugin), Number::ERR_MEMORY_ERROR);
  EXPECT_EQ(plugin, nullptr);
  EXPECT_EQ(Global(), nullptr);
  EXPECT_THAT(HostKit::Locks(), testing::IsEmpty());
}

TEST_F(OutOfMemory, CreateKeepsAnEarlierPluginPublished) {
  IPLUGINAPI* first = nullptr;
  ASSERT_EQ(createIf(&first), 0U);
  IPLUGINAPI* second = first;
  EXPECT_EQ(CreateOutOfMemory(&second), Number::ERR_MEMORY_ERROR);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(Global(), first);
  releaseIf(&first);
}

TEST_F(OutOfMemory, CreateSucceedsOnceMemoryIsAvailable) {
  IPLUGINAPI* plugin = nullptr;
  ASSERT_EQ(CreateOutOfMemory(&plugin), Number::ERR_MEMORY_ERROR);
  EXPECT_EQ(createIf(&plugin), 0U);
  EXPECT_EQ(Global(), plugin);
  releaseIf(&plugin);
}

}  // namespace
}  // namespace CorvaneTest
