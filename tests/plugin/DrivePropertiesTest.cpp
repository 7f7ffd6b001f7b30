// The properties of a physical drive: thirteen rows from the last scan, read without calling the
// card.

#include <gmock/gmock.h>

#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

namespace Property = PI::Property;

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

const Settings TYPICAL = {
    {"product_name", "Flash Product"},
    {"pci_domain", "2"},
    {"pci_bus", "59"},
    {"pci_device", "4"},
    {"pci_function", "1"},
    {"factory_size_bytes", "1073741824000"},
    {"size_bytes", "1063004405760"},
    {"sector_size_bytes", "4096"},
    {"iom_format_disallow_overformat", "true"},
    {"iom_format_size_bytes", "536870912000"},
    {"iom_format_max_size_bytes", "1073741824000"},
    {"iom_format_size_pct", "50"},
};

// In the order in which the host reads them.
const std::vector<std::string> ALL_ROWS = {
    R"~(NAME = "Flash Product (0)" (sort 23298))~",
    "PORT_NUMBER = 0 (sort 23305, visible 4)",
    "DEVICE_NUMBER = 0 (sort 23284)",
    R"(UNIQUE_ID = "PCI:Segment=2&Bus=59&Device=4&Function=1&ID=0" (visible 0))",
    R"(VENDOR = "SanDisk" (sort 23331))",
    R"(PRODUCT = "Flash Product" (sort 23308))",
    "TYPE = PCI_EXPRESS of [PCI_EXPRESS] (sort 23329)",
    "PHYSICAL_SIZE = 1024000 (sort 23304, unit 21002)",
    "CONFIGURABLE_SIZE = 1024000 (sort 23281, unit 21002)",
    "STATUS = AVAILABLE of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator 24183)",
    "FORMATTED_SIZE = 512000 (sort 23290, unit 21002)",
    "FORMATTED_PERCENTAGE = 50 (sort 23289, unit 21010)",
    "BLOCK_SIZE = 4096 (sort 23278, unit 21025)",
};

// The numeric fields of a row: property, value type (1 string, 3 choice, 4 number), choices.
struct RowNumbers {
  std::uint32_t property;
  std::uint32_t valueType;
  std::vector<int> choices;
};

const RowNumbers ALL_NUMBERS[] = {
    {30007, 1, {}},      {30122, 4, {}},
    {30125, 4, {}},      {30137, 1, {}},
    {30003, 1, {}},      {30063, 1, {}},
    {30056, 3, {40200}}, {30059, 4, {}},
    {30060, 4, {}},      {30017, 3, {40099, 40180, 40095}},
    {30461, 4, {}},      {30462, 4, {}},
    {30460, 4, {}},
};

class DriveProperties : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Host.ClearRecords();
  }

  OneCard m_Host{TYPICAL};
};

TEST_F(DriveProperties, AreListedInTheOrderOfTheTable) {
  EXPECT_THAT(m_Host.Rows(OneCard::DRIVE), ElementsAreArray(ALL_ROWS));
}

TEST_F(DriveProperties, HaveTheExpectedNumbers) {
  const std::vector<PI::CProperty> properties = m_Host.Properties(OneCard::DRIVE);
  ASSERT_EQ(properties.size(), std::size(ALL_NUMBERS));
  for (std::size_t i = 0; i < properties.size(); ++i) {
    SCOPED_TRACE(ALL_ROWS[i]);
    EXPECT_EQ(properties[i].m_PropertyID, ALL_NUMBERS[i].property);
    EXPECT_EQ(properties[i].m_NameID, ALL_NUMBERS[i].property);
    EXPECT_EQ(properties[i].m_ValueType, ALL_NUMBERS[i].valueType);
    EXPECT_EQ(properties[i].m_Value.m_Choice.m_Allowed, ALL_NUMBERS[i].choices);
    EXPECT_FALSE(properties[i].m_Writable);
  }
}

TEST_F(DriveProperties, AreTheSameInSingleReads) {
  for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
    EXPECT_EQ(m_Host.Row(OneCard::DRIVE, ALL_NUMBERS[i].property), ALL_ROWS[i]);
  }
}

TEST_F(DriveProperties, ExcludeThoseOfOtherObjects) {
  for (const std::uint32_t property :
       {0U, 2U, Number::Property::POLL_INTERVAL, Number::Property::SERIAL_NUMBER,
        Number::Property::MEMORY_SIZE, Number::Property::ACTIVITY, Number::Property::RANGE_PARAM,
        Number::Property::CHOICE_PARAM, Number::Property::ADAPTER_NUMBER,
        Number::Property::CHIP_TEMPERATURE, Number::Property::SIZE,
        std::uint32_t{PI::ShortName::ID}, 4294967295U}) {
    EXPECT_EQ(m_Host.Row(OneCard::DRIVE, property), "result ERR_GENERAL") << property;
  }
}

TEST_F(DriveProperties, ReplaceThePreviousContentsOfTheList) {
  std::vector<PI::CProperty> list(20, PI::CProperty(Property::VERSION, true));
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTIES, OneCard::DRIVE, &list), 0U);
  EXPECT_THAT(RenderAll(list), ElementsAreArray(ALL_ROWS));
}

TEST_F(DriveProperties, CannotBeWritten) {
  for (const RowNumbers& row : ALL_NUMBERS) {
    PI::CProperty property(static_cast<PI::_PROPERTY_ID>(row.property), true);
    property.SetValue(std::string("other"));
    EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, OneCard::DRIVE, &property),
              Number::ERR_INVALID_PROPERTY)
        << row.property;
  }
  PI::CProperty interval(Property::POLL_INTERVAL, true);
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, OneCard::DRIVE, &interval),
            Number::ERR_INVALID_PROPERTY);
  EXPECT_THAT(m_Host.Rows(OneCard::DRIVE), ElementsAreArray(ALL_ROWS));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

TEST_F(DriveProperties, AreReadWithoutTheCard) {
  m_Host.Properties(OneCard::DRIVE);
  for (const RowNumbers& row : ALL_NUMBERS) m_Host.Row(OneCard::DRIVE, row.property);
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

TEST_F(DriveProperties, AreReadFromTheRecordWhenTheCardHasBeenRemoved) {
  m_Host.Cards().RemoveCard(m_Host.Card());
  EXPECT_EQ(m_Host.Row(OneCard::DRIVE, Property::BLOCK_SIZE),
            "BLOCK_SIZE = 4096 (sort 23278, unit 21025)");
  EXPECT_THAT(m_Host.Rows(OneCard::DRIVE), ElementsAreArray(ALL_ROWS));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

TEST_F(DriveProperties, TraceEntryAndStatusInTheList) {
  m_Host.Properties(OneCard::DRIVE);
  EXPECT_THAT(m_Host.TracesWithLevel(),
              ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                          "4 GetProperties() Adapter = 1", "4 GetProperties() PhysicalDrives = 1",
                          "2 ENTER GetPhysicalDriveProperties()",
                          "2 GetPhysicalDriveProperties() set status property of disk to 40099"));
}

TEST_F(DriveProperties, TraceEntryAndStatusInASingleRead) {
  m_Host.Row(OneCard::DRIVE, Property::STATUS);
  EXPECT_THAT(m_Host.TracesWithLevel(),
              ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                          "4 GetProperty() Adapter = 1", "4 GetProperty() PhysicalDrives = 1",
                          "2 ENTER GetPhysicalDriveProperties()",
                          "2 GetPhysicalDriveProperties() set status property of disk to 40099"));
}

TEST_F(DriveProperties, TraceOnlyTheEntryForAnyOtherRow) {
  m_Host.Row(OneCard::DRIVE, Property::BLOCK_SIZE);
  EXPECT_THAT(m_Host.Traces(2), ElementsAre("ENTER GetPhysicalDriveProperties()"));
}

struct Case {
  const char* name;
  Settings settings;
  std::uint32_t property;
  const char* row;
};

void PrintTo(const Case& value, std::ostream* out) {
  *out << value.name;
}

class DriveRow : public testing::TestWithParam<Case> {};

TEST_P(DriveRow, IsTheSameInTheListAndInASingleRead) {
  OneCard host(TYPICAL);
  host.Set(GetParam().settings);
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Row(OneCard::DRIVE, GetParam().property), GetParam().row);
  EXPECT_EQ(host.RowInList(OneCard::DRIVE, GetParam().property), GetParam().row);
}

INSTANTIATE_TEST_SUITE_P(
    All, DriveRow,
    testing::Values(
        Case{"Warning",
             {{"current_warnings", "1"}},
             Property::STATUS,
             "STATUS = AVAILABLE of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator "
             "24183)"},
        Case{"Failed",
             {{"current_errors", "1"}},
             Property::STATUS,
             "STATUS = FAILED of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator 24177)"},
        Case{"LargestSectorOf31Bits",
             {{"sector_size_bytes", "2147483647"}},
             Property::BLOCK_SIZE,
             "BLOCK_SIZE = 2147483647 (sort 23278, unit 21025)"},
        // The sector size is sign-extended.
        Case{"SectorOf32Bits",
             {{"sector_size_bytes", "2147483648"}},
             Property::BLOCK_SIZE,
             "BLOCK_SIZE = 18446744071562067968 (sort 23278, unit 21025)"},
        Case{"NoSectorSize",
             {{"sector_size_bytes", nullptr}},
             Property::BLOCK_SIZE,
             "BLOCK_SIZE = 0 (sort 23278, unit 21025)"},
        Case{"NoFactorySize",
             {{"factory_size_bytes", nullptr}},
             Property::PHYSICAL_SIZE,
             "PHYSICAL_SIZE = 0 (sort 23304, unit 21002)"},
        Case{"NoFormattedSize",
             {{"iom_format_size_bytes", nullptr}},
             Property::FORMATTED_SIZE,
             "FORMATTED_SIZE = 0 (sort 23290, unit 21002)"},
        Case{"LargestPercentage",
             {{"iom_format_size_pct", "255"}},
             Property::FORMATTED_PERCENTAGE,
             "FORMATTED_PERCENTAGE = 255 (sort 23289, unit 21010)"},
        Case{"WithoutASegment",
             {{"pci_domain", "0"}},
             Property::UNIQUE_ID,
             R"(UNIQUE_ID = "PCI:Bus=59&Device=4&Function=1&ID=0" (visible 0))"}),
    [](const auto& test) { return test.param.name; });

TEST(DriveStatus, IsTracedWithItsNumberWhenFailed) {
  OneCard host(Settings{{"current_errors", "1"}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  host.Row(OneCard::DRIVE, Property::STATUS);
  EXPECT_THAT(host.Traces(2),
              ElementsAre("ENTER GetPhysicalDriveProperties()",
                          "GetPhysicalDriveProperties() set status property of disk to 40095"));
}

}  // namespace
}  // namespace CorvaneTest
