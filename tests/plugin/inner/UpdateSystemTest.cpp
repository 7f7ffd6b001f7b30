// Storing a scan in which adapters and drives are not paired. No scan of cards produces that, so
// the test builds the scan itself.

#include <gmock/gmock.h>

#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

PRIVATE_MEMBER(UpdateSystemMember, UpdateSystem,
               unsigned int (Plugin::*)(StoredAdapters& adapters, StoredDrives& drives));

using NAMESPACE_Corvane::CFusionIOAdapter;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t NEW_ADAPTER = 900;

// A plug-in with one card, S100, and no worker.
class UpdateSystem : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Scanned = Adapters();
    m_ScannedDrives = Drives();
    m_Host.ClearRecords();
  }

  unsigned int Update() {
    return (ThePlugin().*PointerTo(UpdateSystemMember()))(m_Scanned, m_ScannedDrives);
  }

  // Adds an adapter at the second position.
  void AddAdapter(const char* serialNumber) {
    CFusionIOAdapter adapter = m_Scanned.at(0);
    adapter.m_ID = NEW_ADAPTER;
    adapter.m_CardIndex = 1;
    adapter.m_GlobalNumber = 77;
    adapter.m_Name = "New adapter";
    adapter.m_SerialNumber = serialNumber;
    m_Scanned.push_back(adapter);
  }
  void AddDrive(std::uint32_t cardIndex, const char* serialNumber, const char* name) {
    CFusionIOPhysicalDrive drive = m_ScannedDrives.at(0);
    drive.m_ID = 901 + m_ScannedDrives.size();
    drive.m_CardIndex = cardIndex;
    drive.m_GlobalNumber = 78;
    drive.m_SerialNumber = serialNumber;
    drive.m_Name = name;
    m_ScannedDrives.push_back(drive);
  }

  // Renders the event and object of each collected event.
  std::vector<std::string> Events() {
    std::vector<std::string> texts;
    for (const PI::CEvent& event : m_Host.CollectEvents()) {
      texts.push_back(NameOrNumber(HostKit::Family::Event, event.m_EventID) + " of " +
                      std::to_string(event.m_ObjectID & 0xFFFF));
    }
    return texts;
  }
  Cells InsertedDriveLines() {
    Cells lines;
    for (const std::string& line : m_Host.Traces(128)) {
      if (line.rfind("PD (", 0) == 0 && line.find("inserted") != std::string::npos) {
        lines.push_back(line);
      }
    }
    return lines;
  }
  static Cells SerialNumbers() { return Column(DRIVE_ROWS, "pd_serial_number"); }

  OneCard m_Host{PlainCard()};
  const ScopedDatabase m_Database;
  StoredAdapters m_Scanned;
  StoredDrives m_ScannedDrives;
};

// The drive at the adapter's own position belongs to another card. The two drives after it belong
// to the added card, and the first of them is used.
TEST_F(UpdateSystem, AddsTheFirstDriveWithTheAdaptersSerialNumber) {
  AddAdapter("NEW");
  AddDrive(1, "OTHER", "At its position");
  AddDrive(2, "NEW", "By its number");
  AddDrive(3, "NEW", "Second match");
  EXPECT_EQ(Update(), 0U);
  EXPECT_THAT(InsertedDriveLines(), ElementsAre("PD (By its number) inserted to db."));
  EXPECT_THAT(SerialNumbers(), ElementsAre("S100", "NEW"));
  EXPECT_THAT(Events(), ElementsAre("CTRL_PNPADD of 900"));
}

TEST_F(UpdateSystem, AssignsTheAdaptersNumberOnlyToTheAddedDrive) {
  AddAdapter("NEW");
  AddDrive(1, "OTHER", "At its position");
  AddDrive(2, "NEW", "By its number");
  EXPECT_EQ(Update(), 0U);
  std::vector<std::uint32_t> numbers;
  for (const CFusionIOPhysicalDrive& drive : Drives()) numbers.push_back(drive.m_GlobalNumber);
  EXPECT_THAT(numbers, ElementsAre(Drives().at(0).m_GlobalNumber, 78, 77));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_adapter_number"), ElementsAre(NumberOf(59, 2, 1), "77"));
}

// The drive is stored without an event.
TEST_F(UpdateSystem, DoesNotAddADriveOfAnotherSerialNumber) {
  AddAdapter("NEW");
  AddDrive(1, "OTHER", "At its position");
  EXPECT_EQ(Update(), 0U);
  EXPECT_THAT(Events(), ElementsAre("CTRL_PNPADD of 900"));
  EXPECT_THAT(InsertedDriveLines(), IsEmpty());
  EXPECT_THAT(SerialNumbers(), ElementsAre("S100"));
  EXPECT_THAT(Counts(), ElementsAre("2", "1", "1"));
  ASSERT_EQ(Drives().size(), 2U);
  EXPECT_EQ(Drives()[1].m_SerialNumber, "OTHER");
  EXPECT_EQ(Drives()[1].m_GlobalNumber, 78U);
}

TEST_F(UpdateSystem, AddsAnAdapterEvenWithoutADrive) {
  AddAdapter("NEW");
  m_ScannedDrives.clear();
  EXPECT_EQ(Update(), 0U);
  EXPECT_THAT(Events(), ElementsAre("CTRL_PNPADD of 900"));
  EXPECT_THAT(Counts(), ElementsAre("2", "1", "1"));
  EXPECT_THAT(Drives(), IsEmpty());
}

TEST_F(UpdateSystem, MakesTheScannedAdaptersTheOnlyChildrenOfThePluginObject) {
  AddAdapter("NEW");
  PluginObject().m_Children = {7};
  EXPECT_EQ(Update(), 0U);
  EXPECT_THAT(PluginObject().m_Children, ElementsAre(OneCard::ADAPTER, NEW_ADAPTER));
}

// A drive that is added without an adapter does not count as a change.
TEST_F(UpdateSystem, DoesNotRaiseAnEventForANewDriveWithoutItsAdapter) {
  AddDrive(1, "OTHER", "Unpaired");
  EXPECT_EQ(Update(), Number::ERR_GENERAL);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
  EXPECT_EQ(Drives().size(), 2U);
}

// A change of the drive counts, but its event would name a missing adapter.
TEST_F(UpdateSystem, DoesNotRaiseAnEventForAChangedDriveWithoutItsAdapter) {
  ASSERT_EQ(Update(), Number::ERR_GENERAL);
  m_Scanned.clear();
  ASSERT_EQ(Update(), 0U);
  m_Host.CollectEvents();
  m_ScannedDrives.at(0).m_SectorSize += 512;
  EXPECT_EQ(Update(), 0U);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_EQ(Update(), Number::ERR_GENERAL);
}

// The adapter of the event is the one at the drive's position.
TEST_F(UpdateSystem, NamesTheAdapterAtTheDrivesPosition) {
  AddAdapter("NEW");
  AddDrive(1, "OTHER", "Its drive");
  ASSERT_EQ(Update(), 0U);
  m_Host.CollectEvents();
  m_Scanned.at(1).m_Name = "Renamed";
  m_ScannedDrives.at(1).m_FormattedSizeMiB += 1;
  EXPECT_EQ(Update(), 0U);
  const std::vector<PI::CEvent> events = m_Host.CollectEvents();
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].m_EventID, Number::PD_FORMAT_CHANGED);
  EXPECT_EQ(events[0].m_SourceName, "Its drive");
  EXPECT_EQ(events[0].m_PlaceHolders.at(0), "Renamed");
  EXPECT_EQ(events[0].m_PlaceHolders.at(1), "Its drive");
}

}  // namespace
}  // namespace CorvaneTest
