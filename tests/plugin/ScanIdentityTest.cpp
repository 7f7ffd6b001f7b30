// The identity of a scanned card: its ids, its family, its location on the PCI bus.

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace Property = PI::Property;

constexpr const char* ALL_ONES = "18446744073709551615";

struct FamilyCase {
  std::uint16_t deviceId;
  const char* product;
  const char* driver;
  const char* name;       // for the host's number 1
  const char* driveName;  // of a card of 512 MiB
};

TEST(ScanFamily, DeterminesDriverAndModel) {
  const FamilyCase cases[] = {
      // device, product, driver, adapter's name, drive's name
      {0x1000, "Board", "iomemory_vsl", "SanDisk Board (1)", "Product (0)"},
      {0x1003, "Board", "iomemory_vsl", "SanDisk Board (1)", "Product (0)"},
      {0x1005, "Board", "iomemory_vsl", "SanDisk Board (1)", "Product (0)"},
      {0x1006, "Board", "iomemory_vsl", "SanDisk Board (1)", "Product (0)"},
      {0x1007, "Board", "iomemory_vsl", "SanDisk Board (1)", "Product (0)"},
      {0x1008, "Board", "iomemory_vsl", "SanDisk Board (1)", "Product (0)"},
      {0x2001, "Board", "iomemory_vsl", "SanDisk Board (1)", "Product (0)"},
      {0x3001, "Board", "iomemory_vsl4", "MOLT EP PX600 (1)", "MOLT EP PX600 5.2TB (0)"},
      {0x3002, "Board", "iomemory_vsl4", "MOLT EP PX600 (1)", "MOLT EP PX600 5.2TB (0)"},
  };
  for (const FamilyCase& each : cases) {
    SCOPED_TRACE(each.deviceId);
    ScannedCard card(each.deviceId);
    card.Set("board_name", "Board").Set("product_name", "Product");
    card.Set("factory_size_bytes", "536870912");
    ASSERT_EQ(card.Host().Start(), 0U);
    EXPECT_EQ(card.Adapter(Property::PRODUCT), each.product);
    EXPECT_EQ(card.Adapter(Property::DRIVER_NAME), each.driver);
    EXPECT_EQ(card.Adapter(Property::NAME), each.name);
    EXPECT_EQ(card.Drive(Property::NAME), each.driveName);
  }
}

// The plug-in starts because of the first card; the second one belongs to no known family.
class ScanWithoutAFamily : public testing::TestWithParam<std::uint16_t> {};

TEST_P(ScanWithoutAFamily, HasNeitherModelNorDriver) {
  ScannedCard card;
  SimulatedHost& host = card.Host();
  const std::string unlisted = host.AddCard(GetParam());
  host.Cards().Set(unlisted, "product_name", "Unlisted");
  ASSERT_EQ(host.Start(), 0U);
  const std::uint64_t adapter = host.AdapterId(1);
  EXPECT_EQ(ShownValue(host, adapter, Property::PRODUCT), "");
  EXPECT_EQ(ShownValue(host, adapter, Property::DRIVER_NAME), "");
  EXPECT_EQ(ShownValue(host, adapter, Property::NAME), "SanDisk  (2)");
  EXPECT_EQ(ShownValue(host, adapter, Property::STATUS), "OK");
  EXPECT_EQ(ShownValue(host, adapter, Property::UNIQUE_ID), "PCI:Bus=4&Device=0&Function=0");
  EXPECT_EQ(ShownValue(host, host.DriveId(1), Property::NAME), "Unlisted (0)");
}

TEST_P(ScanWithoutAFamily, KeepsAnUnknownSegment) {
  ScannedCard card;
  SimulatedHost& host = card.Host();
  host.Cards().MakeAbsent(host.AddCard(GetParam()), "pci_domain");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.AdapterId(1), Property::PCI_SEGMENT), ALL_ONES);
  EXPECT_EQ(ShownValue(host, host.AdapterId(1), Property::UNIQUE_ID),
            "PCI:Segment=18446744073709551615&Bus=4&Device=0&Function=0");
  EXPECT_EQ(ShownValue(host, host.DriveId(1), Property::UNIQUE_ID),
            "PCI:Segment=18446744073709551615&Bus=4&Device=0&Function=0&ID=0");
}

INSTANTIATE_TEST_SUITE_P(Device, ScanWithoutAFamily,
                         testing::Values(0x0000, 0x0FFF, 0x1001, 0x1002, 0x1004, 0x1009, 0x2000,
                                         0x2002, 0x3000, 0x3003, 0xFFFF));

// The location.

struct LocationCase {
  const char* domain;
  const char* bus;
  const char* device;
  const char* function;
  const char* location;
};

TEST(ScanLocation, IsShownAsNumbersAndAsAString) {
  const LocationCase cases[] = {
      // domain, bus, device, function, location
      {"0", "0", "0", "0", "PCI:Bus=0&Device=0&Function=0"},
      {"0", "59", "31", "7", "PCI:Bus=59&Device=31&Function=7"},
      {"1", "59", "31", "7", "PCI:Segment=1&Bus=59&Device=31&Function=7"},
      {"65535", "255", "255", "255", "PCI:Segment=65535&Bus=255&Device=255&Function=255"},
  };
  for (const LocationCase& each : cases) {
    ScannedCard card;
    card.Set("pci_domain", each.domain).Set("pci_bus", each.bus);
    card.Set("pci_device", each.device).Set("pci_function", each.function);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Adapter(Property::PCI_SEGMENT), each.domain);
    EXPECT_EQ(card.Adapter(Property::PCI_BUS), each.bus);
    EXPECT_EQ(card.Adapter(Property::PCI_DEVICE), each.device);
    EXPECT_EQ(card.Adapter(Property::PCI_FUNCTION), each.function);
    EXPECT_EQ(card.Adapter(Property::UNIQUE_ID), each.location);
    EXPECT_EQ(card.Drive(Property::UNIQUE_ID), std::string(each.location) + "&ID=0");
  }
}

TEST(ScanLocation, IsZeroWithoutTheCardsAttributes) {
  ScannedCard card;
  card.Without("pci_bus").Without("pci_device").Without("pci_function");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::UNIQUE_ID), "PCI:Bus=0&Device=0&Function=0");
}

// The segment from the host's list, for a card without a segment. The fields before `shown` are the
// list entry.
struct SegmentCase {
  const char* name;
  const char* segment;
  const char* bus;
  const char* device;
  const char* function;
  const char* shown;
  const char* location;
};

TEST(ScanSegment, ComesFromTheHostsListIfTheOtherNumbersMatch) {
  const SegmentCase cases[] = {
      // name, listed segment, bus, device and function, segment shown, location
      {"match", "2", "9", "1", "4", "2", "PCI:Segment=2&Bus=9&Device=1&Function=4"},
      {"match, largest segment", "65535", "9", "1", "4", "65535",
       "PCI:Segment=65535&Bus=9&Device=1&Function=4"},
      {"match, segment 0", "0", "9", "1", "4", "0", "PCI:Bus=9&Device=1&Function=4"},
      {"other bus", "2", "8", "1", "4", "0", "PCI:Bus=9&Device=1&Function=4"},
      {"other device", "2", "9", "0", "4", "0", "PCI:Bus=9&Device=1&Function=4"},
      {"other function", "2", "9", "1", "3", "0", "PCI:Bus=9&Device=1&Function=4"},
  };
  for (const SegmentCase& each : cases) {
    SCOPED_TRACE(each.name);
    ScannedCard card;
    card.Set("pci_domain", each.segment).Set("pci_bus", each.bus);
    card.Set("pci_device", each.device).Set("pci_function", each.function);
    card.Host().RefreshPciBus();
    card.Without("pci_domain").Set("pci_bus", "9").Set("pci_device", "1").Set("pci_function", "4");
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Adapter(Property::PCI_SEGMENT), each.shown);
    EXPECT_EQ(card.Adapter(Property::UNIQUE_ID), each.location);
  }
}

TEST(ScanSegment, ComesFromTheCardIfPresent) {
  ScannedCard card;
  card.Set("pci_domain", "7");
  card.Host().RefreshPciBus();
  card.Set("pci_domain", "0");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::PCI_SEGMENT), "0");
}

// Adds the segment to the host's list of PCI devices, then removes the card's attribute.
void HideSegment(SimulatedHost& host, const std::string& card, const std::string& segment) {
  host.Cards().Set(card, "pci_domain", segment);
  host.RefreshPciBus();
  host.Cards().MakeAbsent(card, "pci_domain");
}

TEST(ScanSegment, IsLookedUpByThePositionOfTheCard) {
  ScannedCard card;
  SimulatedHost& host = card.Host();
  const std::string second = host.AddCard(0x2001);
  host.Cards().Set(card.Name(), "pci_domain", "1");
  HideSegment(host, second, "2");
  host.Cards().MakeAbsent(card.Name(), "pci_domain");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.AdapterId(0), Property::PCI_SEGMENT), "1");
  EXPECT_EQ(ShownValue(host, host.AdapterId(1), Property::PCI_SEGMENT), "2");
}

// The second card is looked up as the second of its family, which has only one.
TEST(ScanSegment, IsLookedUpWithinTheFamily) {
  ScannedCard card(0x1003);
  SimulatedHost& host = card.Host();
  HideSegment(host, host.AddCard(0x3001), "2");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(ShownValue(host, host.AdapterId(1), Property::PCI_SEGMENT), "0");
  EXPECT_EQ(ShownValue(host, host.AdapterId(1), Property::UNIQUE_ID),
            "PCI:Bus=4&Device=0&Function=0");
}

TEST(ScanSegment, IsFoundForTheSecondFamily) {
  ScannedCard card(0x3002);
  HideSegment(card.Host(), card.Name(), "3");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::PCI_SEGMENT), "3");
}

// The global number that the host assigns to each adapter.

TEST(ScanGlobalNumber, IsTheSameForALocationInEveryScan) {
  auto& numbers = PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs;
  const auto scan = [&] {
    ScannedCard card;
    card.Set("pci_domain", "4321");
    EXPECT_EQ(card.Scan(), 0U);
    return numbers["localhost"];
  };
  const std::vector<std::int32_t> first = scan();
  EXPECT_FALSE(first.empty());
  EXPECT_EQ(scan(), first);
}

TEST(ScanGlobalNumber, DiffersBetweenLocations) {
  auto& numbers = PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs;
  const std::size_t before = numbers["localhost"].size();
  ScannedCard card;
  card.Set("pci_domain", "4322");
  card.Host().Cards().Set(card.Host().AddCard(), "pci_domain", "4322");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(numbers["localhost"].size(), before + 2);
}

TEST(ScanGlobalNumber, IsAssignedWithoutAnEntryInTheHostsList) {
  auto& numbers = PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs;
  const auto kept = numbers;
  numbers.clear();
  ScannedCard card;
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(numbers.count("localhost"), 1U);
  EXPECT_EQ(numbers.size(), 1U);
  numbers = kept;
}

// Cards that a scan omits.

class ScanWithASkippedCard : public testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i < 3; ++i) m_Host.AddCard();
  }
  Lines CardIndexes() {
    Lines indexes;
    for (const PI::CObject& object : m_Host.Topology()) {
      if (object.m_ObjectType != PI::OBJECT_ADAPTER) continue;
      indexes.push_back(ShownValue(m_Host, object.m_ID, Property::ADAPTER_NUMBER));
    }
    return indexes;
  }

  SimulatedHost m_Host;
};

TEST_F(ScanWithASkippedCard, KeepsThePositionsOfTheOthers) {
  CardSim::FailCall("vsl_iom_create_by_name", 2, 9, "gone");
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(TracesWithLevel(m_Host),
              Contains("16 ScanSystem, vsl_iom_create_by_name = 9 (gone)"));
  EXPECT_THAT(CardIndexes(), ElementsAre("0", "2"));
  ASSERT_EQ(m_Host.m_AdapterIDs.size(), 2U);
  EXPECT_EQ(m_Host.m_AdapterIDs[1].m_AdapterNumber, 2U);
}

TEST_F(ScanWithASkippedCard, DoesNotUseAnIdOrAHandleForIt) {
  CardSim::FailCall("vsl_iom_create_by_name", 1, 9, "gone");
  const ScanLog log = LogFirstScan(m_Host);
  EXPECT_THAT(log.handles, IsEmpty());
  EXPECT_EQ(Count(log.calls, "vsl_destroy null"), 0);
  const auto failed =
      std::find(log.calls.begin(), log.calls.end(), "vsl_iom_create_by_name /dev/fct0");
  ASSERT_NE(failed, log.calls.end());
  EXPECT_EQ(*(failed + 1), "vsl_iom_create_by_name /dev/fct1");
  EXPECT_EQ(m_Host.AdapterId(0), 0x0130000000000001U);
  EXPECT_EQ(m_Host.DriveId(0), 0x0130000000000002U);
  EXPECT_EQ(m_Host.AdapterId(1), 0x0130000000000003U);
  EXPECT_EQ(m_Host.DriveId(1), 0x0130000000000004U);
}

TEST_F(ScanWithASkippedCard, TracesTheCompleteTextOfAFailure) {
  const std::string text(1039, 'x');
  CardSim::FailCall("vsl_iom_create_by_name", 1, 0xFFFFFFFFFFFFFFFF, text);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Host.Traces(16), Contains("ScanSystem, vsl_iom_create_by_name = " +
                                          std::string(ALL_ONES) + " (" + text + ")"));
}

TEST_F(ScanWithASkippedCard, OmitsACardThatDisappearsBeforeTheScan) {
  CardSim::SetHook([this](const CardSim::Call& call) {
    if (call.argument == "/dev/fct1") m_Host.Cards().RemoveCard("card1");
  });
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(CardIndexes(), ElementsAre("0", "2"));
}

TEST_F(ScanWithASkippedCard, LinksEachAdapterToItsDriveAndThePlugin) {
  CardSim::FailCall("vsl_iom_create_by_name", 2, 9, "gone");
  ASSERT_EQ(m_Host.Initialize(), 0U);
  Lines tree;
  for (const PI::CObject& object : m_Host.Topology()) tree.push_back(Render(object));
  EXPECT_THAT(tree,
              ElementsAre("object 0130000000000000 type 19006 parents children 0130000000000001 "
                          "0130000000000003",
                          "object 0130000000000001 type 19038 parents 0130000000000000 children "
                          "0130000000000002",
                          "object 0130000000000003 type 19038 parents 0130000000000000 children "
                          "0130000000000004",
                          "object 0130000000000002 type 19018 parents 0130000000000001 children",
                          "object 0130000000000004 type 19018 parents 0130000000000003 children"));
}

}  // namespace
}  // namespace CorvaneTest
