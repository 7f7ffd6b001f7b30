// The exact strings with which the plug-in looks up cards on the host and requests adapter numbers.
// The host kit accepts the ids in either case; another host may compare the strings exactly.

#include <gmock/gmock.h>

#include "tests/plugin/ScanView.h"
#include "tests/support/HostCallSeam.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;

constexpr const char* ALL_IDENTITIES =
    "GetLocation 1 of 1AED1000 1AED1003 1AED1005 1AED1006 1AED1007 1AED1008 1AED2001 1AED3001 "
    "1AED3002";
constexpr const char* FIRST_FAMILY =
    " of 1AED1000 1AED1003 1AED1005 1AED1006 1AED1007 1AED1008 1AED2001";
constexpr const char* SECOND_FAMILY = " of 1AED3001 1AED3002";

class HostLookups : public testing::Test {
 protected:
  std::string Add(std::uint16_t deviceId, const char* bus, const char* device,
                  const char* function) {
    const std::string card = m_Host.AddCard(deviceId);
    m_Host.Cards().Set(card, "pci_bus", bus);
    m_Host.Cards().Set(card, "pci_device", device);
    m_Host.Cards().Set(card, "pci_function", function);
    return card;
  }

  SimulatedHost m_Host;
  HostCallWatch m_Watch;
};

// A card that reports its PCI segment (its domain) is not looked up individually.
TEST_F(HostLookups, ListEveryAcceptedDeviceAtStartup) {
  m_Host.Cards().Set(Add(0x1003, "59", "2", "1"), "pci_domain", "7");
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Watch.m_Calls,
              ElementsAre(ALL_IDENTITIES, "GenerateUniqueAdapterNumber for localhost 7 59 2 1"));
}

// Two families: the second card is the first of its family but the second control device.
TEST_F(HostLookups, UseFamilyAndPositionForACardWithoutASegment) {
  m_Host.Cards().MakeAbsent(Add(0x1003, "59", "2", "1"), "pci_domain");
  m_Host.Cards().MakeAbsent(Add(0x3002, "60", "3", "4"), "pci_domain");
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Watch.m_Calls,
              ElementsAre(ALL_IDENTITIES, std::string("GetLocation 1") + FIRST_FAMILY,
                          "GenerateUniqueAdapterNumber for localhost 0 59 2 1",
                          std::string("GetLocation 2") + SECOND_FAMILY,
                          "GenerateUniqueAdapterNumber for localhost 0 60 3 4"));
}

// The segment of a card of an unknown family remains unknown: all ones, truncated to 32 bits.
TEST_F(HostLookups, SkipTheSegmentLookupForACardOfAnUnknownFamily) {
  m_Host.Cards().Set(Add(0x1003, "59", "2", "1"), "pci_domain", "7");
  m_Host.Cards().MakeAbsent(Add(0x4000, "60", "3", "4"), "pci_domain");
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Watch.m_Calls,
              ElementsAre(ALL_IDENTITIES, "GenerateUniqueAdapterNumber for localhost 7 59 2 1",
                          "GenerateUniqueAdapterNumber for localhost 4294967295 60 3 4"));
}

TEST_F(HostLookups, CreateTheEntryOfTheHostFirst) {
  PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs.clear();
  m_Host.Cards().Set(Add(0x1003, "59", "2", "1"), "pci_domain", "7");
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_EQ(m_Watch.m_Calls.back(), "GenerateUniqueAdapterNumber for localhost 7 59 2 1");
}

}  // namespace
}  // namespace CorvaneTest
