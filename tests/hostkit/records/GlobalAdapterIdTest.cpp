#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <thread>

#include "host/PluginInterface.h"

namespace {

using Numbers = std::vector<std::int32_t>;

// Each test uses different host names, because numbers are kept until the process exits.
int AssignNumber(const std::string& host, std::uint32_t segment, std::uint32_t bus,
                 std::uint32_t device = 0, std::uint32_t function = 0) {
  PI::CGlobalAdapterID id;
  id.m_HostName = host;
  id.m_Segment = segment;
  id.m_Bus = bus;
  id.m_Device = device;
  id.m_Function = function;
  id.GenerateUniqueAdapterNumber();
  return id.GetGlobalAdapterNumber();
}

Numbers NumbersOf(const std::string& host) {
  return PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs[host];
}

TEST(GlobalAdapterId, IsUnnumberedByDefault) {
  const PI::CGlobalAdapterID id;
  EXPECT_EQ(id.GetGlobalAdapterNumber(), -1);
  EXPECT_EQ(id.m_GlobalNumber, -1);
  EXPECT_EQ(id.m_HostName, "");
  EXPECT_EQ(id.m_Segment + id.m_Bus + id.m_Device + id.m_Function + id.m_AdapterNumber, 0U);
}

TEST(GlobalAdapterId, NumbersEachAddressOnlyOnce) {
  const int first = AssignNumber("keeps", 0, 0x3b);
  EXPECT_GE(first, 1);
  EXPECT_EQ(AssignNumber("keeps", 0, 0x3b), first);
  EXPECT_EQ(AssignNumber("keeps", 0, 0x3b), first);
  EXPECT_EQ(NumbersOf("keeps"), Numbers{first});
}

TEST(GlobalAdapterId, DiffersIfAnyPartOfTheAddressDiffers) {
  const std::set<int> numbers = {AssignNumber("a", 0, 0),       AssignNumber("a", 1, 0),
                                 AssignNumber("a", 0, 1),       AssignNumber("a", 0, 0, 1),
                                 AssignNumber("a", 0, 0, 0, 1), AssignNumber("b", 0, 0)};
  EXPECT_EQ(numbers.size(), 6U);
  EXPECT_EQ(NumbersOf("a").size(), 5U);
  EXPECT_EQ(NumbersOf("b").size(), 1U);
}

TEST(GlobalAdapterId, UsesAHostEntryAddedByAPlugin) {
  PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs["made"];
  const int number = AssignNumber("made", 0, 1);
  EXPECT_EQ(NumbersOf("made"), Numbers{number});
}

TEST(GlobalAdapterId, DoesNotReuseANumberFromAnotherHost) {
  const int last = AssignNumber("before", 0, 1);
  PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs["elsewhere"] = {last + 1, last + 2};
  EXPECT_EQ(AssignNumber("after", 0, 1), last + 3);
}

TEST(GlobalAdapterId, IsTheSameInAllThreads) {
  const auto numberAll = [](Numbers& numbers) {
    for (std::uint32_t bus = 0; bus < 100; ++bus) {
      numbers.push_back(AssignNumber("threads", 0, bus));
    }
  };
  Numbers seen[4];
  std::vector<std::thread> threads;
  for (Numbers& numbers : seen) threads.emplace_back(numberAll, std::ref(numbers));
  for (std::thread& thread : threads) thread.join();

  for (const Numbers& numbers : seen) EXPECT_EQ(numbers, seen[0]);
  EXPECT_EQ(std::set<int>(seen[0].begin(), seen[0].end()).size(), 100U);
  Numbers listed = NumbersOf("threads");
  std::sort(listed.begin(), listed.end());
  std::sort(seen[0].begin(), seen[0].end());
  EXPECT_EQ(listed, seen[0]);
}

}  // namespace
