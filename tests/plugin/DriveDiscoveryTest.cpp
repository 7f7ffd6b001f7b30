// The drive record of a scan: names, sizes, and the limits of a format.

#include <gmock/gmock.h>

#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace Property = PI::Property;

constexpr const char* NONE = nullptr;  // the attribute is absent
constexpr std::uint64_t MIB = 1048576;

void SetOrRemove(ScannedCard& card, const char* attribute, const char* value) {
  value == NONE ? card.Without(attribute) : card.Set(attribute, value);
}

void SetMiB(ScannedCard& card, const char* attribute, std::uint64_t mebibytes) {
  card.Set(attribute, std::to_string(mebibytes * MIB));
}

// Names.

TEST(DriveName, IsTheProductOrTheBoardName) {
  const struct {
    const char* product;
    const char* board;
    const char* shownProduct;
    const char* shownName;
  } cases[] = {
      // product, board, product shown, name
      {"Product", "Board", "Product", "Product (0)"},
      {NONE, "Board", "Board", "Board (0)"},
      {"\"\"", "Board", "", " (0)"},
      {NONE, NONE, "", " (0)"},
      {"100% %s", "Board", "100% %s", "100% %s (0)"},
      {"A MOLT Product", "Board", "A MOLT Product", "A MOLT Product (0)"},
  };
  for (const auto& each : cases) {
    ScannedCard card;
    SetOrRemove(card, "product_name", each.product);
    SetOrRemove(card, "board_name", each.board);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Drive(Property::PRODUCT), each.shownProduct);
    EXPECT_EQ(card.Drive(Property::NAME), each.shownName);
    EXPECT_EQ(card.Drive(Property::VENDOR), "SanDisk");
  }
}

TEST(DriveName, ShowsTheCapacityClassOfAMolt) {
  const struct {
    std::uint64_t mebibytes;
    const char* name;
  } cases[] = {
      // factory size, name
      {0, "MOLT EP PX600 5.2TB (0)"},       {1048575, "MOLT EP PX600 5.2TB (0)"},
      {1048576, "MOLT EP PX600 1.3TB (0)"}, {2097151, "MOLT EP PX600 1.3TB (0)"},
      {2097152, "MOLT EP PX600 2.6TB (0)"}, {3145727, "MOLT EP PX600 2.6TB (0)"},
      {3145728, "MOLT EP PX600 5.2TB (0)"}, {4194304, "MOLT EP PX600 5.2TB (0)"},
      {5242880, "MOLT EP PX600 5.2TB (0)"}, {16777216, "MOLT EP PX600 5.2TB (0)"},
  };
  for (const auto& each : cases) {
    ScannedCard card(0x3001);
    SetMiB(card, "factory_size_bytes", each.mebibytes);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Drive(Property::NAME), each.name) << each.mebibytes;
  }
}

TEST(DriveName, ShowsTheLargestClassOfAMoltWithoutAFactorySize) {
  ScannedCard card(0x3002);
  card.Without("factory_size_bytes");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Drive(Property::NAME), "MOLT EP PX600 5.2TB (0)");
  EXPECT_EQ(card.Drive(Property::PRODUCT), "Flash Adapter G4");
}

TEST(DriveName, ShowsTheSameClassesForABoardNamedMolt) {
  ScannedCard card(0x1003);
  card.Set("board_name", "My MOLT");
  SetMiB(card, "factory_size_bytes", 1048576);
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Drive(Property::NAME), "My MOLT 1.3TB (0)");
}

// Sizes.

struct SizeCase {
  PI::_PROPERTY_ID property;
  const char* attribute;
  const char* value;
  const char* shown;
};

constexpr SizeCase SIZE_CASES[] = {
    // property, attribute, value, shown
    {Property::BLOCK_SIZE, "sector_size_bytes", "4096", "4096"},
    {Property::BLOCK_SIZE, "sector_size_bytes", "0", "0"},
    {Property::BLOCK_SIZE, "sector_size_bytes", NONE, "0"},
    {Property::PHYSICAL_SIZE, "factory_size_bytes", "1048575", "0"},
    {Property::PHYSICAL_SIZE, "factory_size_bytes", "2097151", "1"},
    {Property::PHYSICAL_SIZE, "factory_size_bytes", NONE, "0"},
    {Property::FORMATTED_SIZE, "iom_format_size_bytes", "1048575", "0"},
    {Property::FORMATTED_SIZE, "iom_format_size_bytes", "2097151", "1"},
    {Property::FORMATTED_SIZE, "iom_format_size_bytes", NONE, "0"},
    {Property::FORMATTED_PERCENTAGE, "iom_format_size_pct", "0", "0"},
    {Property::FORMATTED_PERCENTAGE, "iom_format_size_pct", "42", "42"},
    {Property::FORMATTED_PERCENTAGE, "iom_format_size_pct", "255", "255"},
};

class DriveSize : public testing::TestWithParam<SizeCase> {};

TEST_P(DriveSize, IsShown) {
  ScannedCard card;
  SetOrRemove(card, GetParam().attribute, GetParam().value);
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Drive(GetParam().property), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DriveSize, testing::ValuesIn(SIZE_CASES), [](const auto& each) {
  return std::string(each.param.attribute) + "_" + std::to_string(each.index);
});

TEST(DrivePercentage, IsComputedWhenTheCardDoesNotReportIt) {
  const struct {
    std::uint64_t formatted;
    std::uint64_t size;
    std::uint64_t largest;
    const char* percent;
  } cases[] = {
      // formatted, size and largest size in MiB, percent
      {800, 1000, 1000, "80"},   {800, 1000, 2000, "80"},
      {2, 3, 3, "66"},           {1, 1000, 1000, "0"},
      {1000, 1000, 1000, "100"}, {1500, 1000, 2000, "150"},
      {800, 0, 1000, "0"},       {0, 0, 0, "0"},
  };
  for (const auto& each : cases) {
    ScannedCard card;
    card.Without("iom_format_size_pct");
    SetMiB(card, "iom_format_size_bytes", each.formatted);
    SetMiB(card, "size_bytes", each.size);
    SetMiB(card, "iom_format_max_size_bytes", each.largest);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Drive(Property::FORMATTED_PERCENTAGE), each.percent);
  }
}

// The sizes are rounded down to whole MiB before the division.
TEST(DrivePercentage, IsComputedFromWholeMiB) {
  ScannedCard card;
  card.Without("iom_format_size_pct");
  card.Set("iom_format_size_bytes", "2097151").Set("size_bytes", "2097152");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Drive(Property::FORMATTED_PERCENTAGE), "50");
}

TEST(DrivePercentage, IsZeroWithoutSizes) {
  ScannedCard card;
  card.Without("iom_format_size_pct").Without("size_bytes");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Drive(Property::FORMATTED_PERCENTAGE), "0");
}

// The largest size that a format can request: 10 MiB is the card's size, 20 the maximum size
// of a format, and 30 the maximum in over-format mode.
struct LargestCase {
  const char* name;
  bool hasSize;
  bool hasMaximum;
  const char* disallowed;
  bool hasMode;
  const char* shown;
  int modesSet;
};

TEST(DriveConfigurableSize, IsTheLargestSizeThatAFormatCanRequest) {
  const LargestCase cases[] = {
      // name, size, maximum size, over-formatting disallowed, size mode, shown, modes set
      {"everything", true, true, "false", true, "30", 1},
      {"over-formatting not reported", true, true, NONE, true, "30", 1},
      {"over-formatting disallowed", true, true, "true", true, "20", 0},
      {"no size mode", true, true, "false", false, "20", 0},
      {"no maximum size", true, false, "false", true, "10", 1},
      {"no maximum size, disallowed", true, false, "true", true, "10", 0},
      {"no size", false, true, "true", true, "20", 0},
      {"neither size", false, false, "true", true, "0", 0},
  };
  for (const LargestCase& each : cases) {
    SCOPED_TRACE(each.name);
    ScannedCard card;
    SetMiB(card, "size_bytes", 10);
    SetMiB(card, "iom_format_max_size_bytes", 20);
    SetMiB(card, "overformat_size_bytes", 30);
    if (!each.hasSize) card.Without("size_bytes");
    if (!each.hasMaximum) card.Without("iom_format_max_size_bytes");
    SetOrRemove(card, "iom_format_disallow_overformat", each.disallowed);
    SetOrRemove(card, "iom_format_size_mode", each.hasMode ? "true" : NONE);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Drive(Property::CONFIGURABLE_SIZE), each.shown);
    EXPECT_EQ(Count(card.Host().Calls(), "vsl_iom_format_set_size_mode format#1 11"),
              each.modesSet);
  }
}

TEST(DriveConfigurableSize, IsUnchangedWhenTheModeIsRejected) {
  ScannedCard card;
  SetMiB(card, "iom_format_max_size_bytes", 20);
  SetMiB(card, "overformat_size_bytes", 30);
  CardSim::FailCall("vsl_iom_format_set_size_mode", 1, 12, "no");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Drive(Property::CONFIGURABLE_SIZE), "20");
  EXPECT_EQ(Count(card.Host().Calls(), "vsl_iom_format_max_size_bytes format#1"), 2);
}

// Runs a format without parameters, which uses the smallest sector size, and returns the call that
// sets it.
std::string SectorSizeCall(ScannedCard& card) {
  card.Host().ClearCalls();
  card.Host().Run(card.Host().DriveId(0), PI::OP_FORMAT_DEVICE);
  const Lines calls = StartingWith(card.Host().Calls(), "vsl_iom_format_set_sector_size_bytes");
  return calls.size() == 1 ? calls[0] : "not set exactly once";
}

TEST(DriveSectorLimit, IsTheLimitOfTheCardOr512) {
  const std::pair<const char*, const char*> cases[] = {
      {"4096", "vsl_iom_format_set_sector_size_bytes format#1 4096"},
      {"0", "vsl_iom_format_set_sector_size_bytes format#1 0"},
      {NONE, "vsl_iom_format_set_sector_size_bytes format#1 512"},
  };
  for (const auto& [value, call] : cases) {
    ScannedCard card;
    SetOrRemove(card, "iom_format_min_sector_size_bytes", value);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(SectorSizeCall(card), call);
  }
}

TEST(DriveWithoutFormatHandle, IsListedWithoutLimits) {
  ScannedCard card;
  SetMiB(card, "size_bytes", 10);
  CardSim::FailCall("vsl_iom_format_create", 1, 12, "busy");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_THAT(TracesWithLevel(card.Host()),
              Contains("16 ScanSystem, vsl_iom_format_create = 12 (busy)"));
  EXPECT_THAT(StartingWith(card.Host().Calls(), "vsl_destroy format"), IsEmpty());
  EXPECT_EQ(card.Drive(Property::CONFIGURABLE_SIZE), "10");
  EXPECT_EQ(card.Drive(Property::FORMATTED_SIZE), "0");
  EXPECT_EQ(card.Drive(Property::FORMATTED_PERCENTAGE), "0");
  EXPECT_EQ(card.Drive(Property::NAME), "Flash Adapter G2 (0)");
  EXPECT_EQ(card.Drive(Property::STATUS), "AVAILABLE");
  EXPECT_EQ(SectorSizeCall(card), "vsl_iom_format_set_sector_size_bytes format#1 0");
}

// Returns how often a format to the maximum capacity sets the size mode, which it does only if
// over-formatting is allowed.
int ModesSetByLargestFormat(ScannedCard& card) {
  card.Host().ClearCalls();
  PI::CProperty formatting(Property::CHOICE_PARAM, true);
  formatting.m_NameID = Property::FORMATTING;
  formatting.SetValue(PI::Value::MAXIMUM_CAPACITY, {PI::Value::MAXIMUM_CAPACITY});
  PI::CProperty sectors(Property::RANGE_PARAM, true);
  sectors.m_NameID = Property::BLOCK_SIZE;
  sectors.SetValue(512, 512, 4096, 1);
  card.Host().Run(card.Host().DriveId(0), PI::OP_FORMAT_DEVICE, {formatting, sectors});
  return Count(card.Host().Calls(), "vsl_iom_format_set_size_mode format#1 11");
}

TEST(DriveOverformat, IsAllowedUnlessTheCardForbidsIt) {
  const std::pair<const char*, int> cases[] = {{"false", 1}, {"true", 0}, {NONE, 1}};
  for (const auto& [disallowed, modesSet] : cases) {
    ScannedCard card;
    SetOrRemove(card, "iom_format_disallow_overformat", disallowed);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(ModesSetByLargestFormat(card), modesSet);
  }
}

TEST(DriveOverformat, IsAllowedWhenTheLimitsAreUnknown) {
  ScannedCard card;
  card.Set("iom_format_disallow_overformat", "true");
  CardSim::FailCall("vsl_iom_format_create", 1, 12, "busy");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(ModesSetByLargestFormat(card), 1);
}

// The adapter and drive of one card.

TEST(DrivePair, SharesItsLocationWithTheAdapter) {
  ScannedCard card;
  card.Set("pci_domain", "1").Set("pci_bus", "2").Set("pci_device", "3").Set("pci_function", "4");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::UNIQUE_ID), "PCI:Segment=1&Bus=2&Device=3&Function=4");
  EXPECT_EQ(card.Drive(Property::UNIQUE_ID), "PCI:Segment=1&Bus=2&Device=3&Function=4&ID=0");
}

TEST(DrivePair, UsesTheDevicePathOfTheCard) {
  ScannedCard card;
  ASSERT_EQ(card.Scan(), 0U);
  const std::uint64_t drive = card.Host().DriveId(0);
  card.Host().ClearCalls();
  card.Host().Check(drive, PI::OP_MAKE_ONLINE);
  EXPECT_THAT(StartingWith(card.Host().Calls(), "vsl_iom_create_by_name"),
              ElementsAre("vsl_iom_create_by_name /dev/fct0"));
}

TEST(DrivePair, DoesNotLeakAHandle) {
  for (const char* failing : {"vsl_iom_format_create", "vsl_adapter_create", "vsl_close"}) {
    ScannedCard card;
    CardSim::FailCall(failing, 1, 12, "busy");
    EXPECT_THAT(LogFirstScan(card.Host()).handles, IsEmpty()) << failing;
  }
}

}  // namespace
}  // namespace CorvaneTest
