// createIf and releaseIf, and the object layout for hosts that know only the binary interface.

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstring>

#include "Corvane/Src/Corvane.h"
#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL;

class EntryPoints : public testing::Test {
 protected:
  static const void* Global() { return g_p_IPLUGINAPI_IMPL; }

  // Sets up the kit and the directories, but does not create a plug-in.
  SimulatedHost m_Host;
};

TEST_F(EntryPoints, CreateReturnsThePluginAndPublishesIt) {
  EXPECT_EQ(Global(), nullptr);
  IPLUGINAPI* plugin = nullptr;
  EXPECT_EQ(createIf(&plugin), 0U);
  ASSERT_NE(plugin, nullptr);
  EXPECT_EQ(Global(), plugin);
  EXPECT_EQ(plugin->m_InterfaceVersion, 2U);
  EXPECT_EQ(plugin->m_ModuleID, 304U);
  EXPECT_TRUE(plugin->m_HostNotify.empty());
  releaseIf(&plugin);
}

TEST_F(EntryPoints, CreateDoesNotCallACard) {
  m_Host.AddCard();
  m_Host.ClearCalls();
  ASSERT_EQ(m_Host.Create(), 0U);
  EXPECT_THAT(m_Host.Calls(), testing::IsEmpty());
}

TEST_F(EntryPoints, CreateDoesNotInitializeLocksAndEvents) {
  ASSERT_EQ(m_Host.Create(), 0U);
  ASSERT_EQ(HostKit::Locks().size(), 2U);
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_FALSE(lock.initialized);
  ASSERT_EQ(HostKit::Events().size(), 3U);
  for (const HostKit::EventView& event : HostKit::Events()) EXPECT_FALSE(event.initialized);
}

TEST_F(EntryPoints, CreateOverwritesThePointer) {
  int unrelated = 0;
  IPLUGINAPI* plugin = nullptr;
  const void* garbage = &unrelated;
  std::memcpy(&plugin, &garbage, sizeof plugin);
  ASSERT_EQ(createIf(&plugin), 0U);
  EXPECT_EQ(Global(), plugin);
  releaseIf(&plugin);
}

TEST_F(EntryPoints, TheNewestPluginIsPublished) {
  IPLUGINAPI* first = nullptr;
  IPLUGINAPI* second = nullptr;
  ASSERT_EQ(createIf(&first), 0U);
  ASSERT_EQ(createIf(&second), 0U);
  EXPECT_NE(first, second);
  EXPECT_EQ(Global(), second);
  releaseIf(&second);
  releaseIf(&first);
}

TEST_F(EntryPoints, ReleaseDestroysThePluginAndClearsThePublishedPointer) {
  IPLUGINAPI* plugin = nullptr;
  ASSERT_EQ(createIf(&plugin), 0U);
  releaseIf(&plugin);
  EXPECT_EQ(plugin, nullptr);
  EXPECT_EQ(Global(), nullptr);
  EXPECT_THAT(HostKit::Locks(), testing::IsEmpty());
  EXPECT_THAT(HostKit::Events(), testing::IsEmpty());
}

TEST_F(EntryPoints, ReleaseOfNullOnlyClearsThePublishedPointer) {
  IPLUGINAPI* plugin = nullptr;
  ASSERT_EQ(createIf(&plugin), 0U);
  IPLUGINAPI* nothing = nullptr;
  releaseIf(&nothing);
  EXPECT_EQ(nothing, nullptr);
  EXPECT_EQ(Global(), nullptr);
  EXPECT_EQ(plugin->Execute(static_cast<PI::_COMMAND>(0), 0, nullptr), Number::ERR_INVALID_COMMAND);
  releaseIf(&plugin);
}

TEST_F(EntryPoints, ReleaseNeitherCallsACardNorWaits) {
  m_Host.AddCard();
  ASSERT_EQ(m_Host.Initialize(), 0U);
  ASSERT_EQ(m_Host.DeInitialize(), 0U);
  m_Host.ClearCalls();
  const unsigned long begin = MBX::Misc::now();
  m_Host.Release();
  EXPECT_EQ(MBX::Misc::now(), begin);
  EXPECT_THAT(m_Host.Calls(), testing::IsEmpty());
}

TEST_F(EntryPoints, HaveCLinkage) {
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "createIf"), reinterpret_cast<void*>(&createIf));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "releaseIf"), reinterpret_cast<void*>(&releaseIf));
}

// Returns an entry of the plug-in's virtual table.
void* Slot(const IPLUGINAPI* plugin, std::size_t index) {
  void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(plugin), sizeof table);
  return table[index];
}

using ExecuteSlot = unsigned int (*)(IPLUGINAPI*, std::uint32_t, unsigned long, void*);
using DestructorSlot = void (*)(IPLUGINAPI*);

TEST_F(EntryPoints, TheFirstSlotExecutes) {
  m_Host.AddCard();
  ASSERT_EQ(m_Host.Initialize(), 0U);
  const auto execute = reinterpret_cast<ExecuteSlot>(Slot(m_Host.Plugin(), 0));
  EXPECT_EQ(execute(m_Host.Plugin(), 0, 0, nullptr), Number::ERR_INVALID_COMMAND);
  std::vector<PI::CObject> objects;
  EXPECT_EQ(execute(m_Host.Plugin(), 4, 0, &objects), 0U);
  EXPECT_EQ(objects.size(), 3U);
}

TEST_F(EntryPoints, TheSecondSlotDestroysInPlace) {
  IPLUGINAPI* plugin = nullptr;
  ASSERT_EQ(createIf(&plugin), 0U);
  reinterpret_cast<DestructorSlot>(Slot(plugin, 1))(plugin);
  EXPECT_THAT(HostKit::Locks(), testing::IsEmpty());
  // The test still owns the memory. If the destructor had freed it, this would be a double free.
  ::operator delete(static_cast<void*>(plugin));
  plugin = nullptr;
  releaseIf(&plugin);
}

TEST_F(EntryPoints, TheThirdSlotDestroysAndFrees) {
  IPLUGINAPI* plugin = nullptr;
  ASSERT_EQ(createIf(&plugin), 0U);
  reinterpret_cast<DestructorSlot>(Slot(plugin, 2))(plugin);
  EXPECT_THAT(HostKit::Locks(), testing::IsEmpty());
  plugin = nullptr;
  releaseIf(&plugin);
}

TEST_F(EntryPoints, VersionAndModuleFollowTheVtablePointer) {
  ASSERT_EQ(m_Host.Create(), 0U);
  std::uint32_t words[4] = {};
  std::memcpy(words, static_cast<const void*>(m_Host.Plugin()), sizeof words);
  EXPECT_EQ(words[2], 2U);
  EXPECT_EQ(words[3], 304U);
}

}  // namespace
}  // namespace CorvaneTest
