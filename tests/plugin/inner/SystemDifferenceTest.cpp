// The comparison of a scan with the stored records, without a plug-in, a card or a lock.

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "Corvane/Src/SystemDifference.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::CFusionIOAdapter;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
using NAMESPACE_Corvane::Compare;
using NAMESPACE_Corvane::SystemDifference;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr unsigned long NOW = 1767225600000;  // 2026-01-01 00:00, in milliseconds

// Card 1 has adapter 11, named A1, and drive 21, named D1, and so on.
CFusionIOAdapter Adapter(std::uint32_t card) {
  CFusionIOAdapter adapter;
  adapter.m_ID = 10 + card;
  adapter.m_CardIndex = card;
  adapter.m_GlobalNumber = 30 + card;
  adapter.m_Name = "A" + std::to_string(card);
  adapter.m_SerialNumber = "S" + std::to_string(card);
  return adapter;
}
CFusionIOPhysicalDrive Drive(std::uint32_t card) {
  CFusionIOPhysicalDrive drive;
  drive.m_ID = 20 + card;
  drive.m_CardIndex = card;
  drive.m_GlobalNumber = 30 + card;
  drive.m_Name = "D" + std::to_string(card);
  drive.m_SerialNumber = "S" + std::to_string(card);
  return drive;
}

struct Records {
  std::vector<CFusionIOAdapter> adapters;
  std::vector<CFusionIOPhysicalDrive> drives;
};

Records Cards(const std::vector<std::uint32_t>& cards) {
  Records records;
  for (const std::uint32_t card : cards) {
    records.adapters.push_back(Adapter(card));
    records.drives.push_back(Drive(card));
  }
  return records;
}

SystemDifference CompareRecords(const Records& stored, const Records& scanned) {
  std::vector<CFusionIOPhysicalDrive> drives = scanned.drives;
  return Compare(stored.adapters, stored.drives, scanned.adapters, drives, NOW);
}

// Renders "+A1" for added, "~A1" for changed and "-A1" for removed records.
std::vector<std::string> Changes(const SystemDifference& difference) {
  std::vector<std::string> texts;
  for (const auto& each : difference.m_AddedAdapters) texts.push_back("+" + each.m_Name);
  for (const auto& each : difference.m_ChangedAdapters) texts.push_back("~" + each.m_Before.m_Name);
  for (const auto& each : difference.m_RemovedAdapters) texts.push_back("-" + each.m_Name);
  for (const auto& each : difference.m_AddedDrives) texts.push_back("+" + each.m_Name);
  for (const auto& each : difference.m_ChangedDrives) texts.push_back("~" + each.m_Name);
  return texts;
}

// Renders each event's name, severity and object, such as "CTRL_PNPADD/2 of 11".
std::vector<std::string> Events(const SystemDifference& difference) {
  std::vector<std::string> texts;
  for (const PI::CEvent& event : difference.m_Events) {
    texts.push_back(NameOrNumber(HostKit::Family::Event, event.m_EventID) + "/" +
                    std::to_string(event.m_Severity) + " of " + std::to_string(event.m_ObjectID));
  }
  return texts;
}

struct Case {
  const char* name;
  std::function<void(Records& stored, Records& scanned)> change;  // starts from cards 1 and 2
  std::vector<std::string> records;
  std::vector<std::string> events;
};

void PrintTo(const Case& value, std::ostream* out) {
  *out << value.name;
}

class EachDifference : public testing::TestWithParam<Case> {};

TEST_P(EachDifference, YieldsTheExpectedRecordsAndEvents) {
  Records stored = Cards({1, 2});
  Records scanned = stored;
  GetParam().change(stored, scanned);
  const SystemDifference difference = CompareRecords(stored, scanned);
  EXPECT_EQ(Changes(difference), GetParam().records);
  EXPECT_EQ(Events(difference), GetParam().events);
  EXPECT_EQ(difference.Any(), !GetParam().records.empty());
}

// Sets histories that contain the masks twice, so that this scan accepts the masks.
void FillHistories(CFusionIOAdapter& adapter, std::uint64_t errors, std::uint64_t warnings,
                   std::uint64_t info) {
  adapter.m_FlagHistoryIndex.m_Value = 2;
  adapter.m_ErrorHistory.m_Value = {errors, errors, 0};
  adapter.m_WarningHistory.m_Value = {warnings, warnings, 0};
  adapter.m_InfoHistory.m_Value = {info, info, 0};
}
void SetMasks(CFusionIOAdapter& adapter, std::uint64_t errors, std::uint64_t warnings,
              std::uint64_t info) {
  adapter.m_ErrorFlags = errors;
  adapter.m_WarningFlags = warnings;
  adapter.m_InfoFlags = info;
}

const Case CASES[] = {
    {"NoChange", [](Records&, Records&) {}, {}, {}},
    {"Histories",
     [](Records&, Records& scanned) { FillHistories(scanned.adapters[0], 1, 1, 1); },
     {},
     {}},
    {"Temperature",
     [](Records&, Records& scanned) { scanned.adapters[0].m_Temperature = 50; },
     {"~A1"},
     {}},
    {"SectorSize",
     [](Records&, Records& scanned) { scanned.drives[1].m_SectorSize = 4096; },
     {"~D2"},
     {"PD_FORMAT_CHANGED/2 of 22"}},
    {"FormattedSize",
     [](Records&, Records& scanned) { scanned.drives[1].m_FormattedSizeMiB = 7; },
     {"~D2"},
     {"PD_FORMAT_CHANGED/2 of 22"}},
    {"AnotherFieldOfADrive",
     [](Records&, Records& scanned) { scanned.drives[1].m_Product = "other"; },
     {"~D2"},
     {}},
    {"CardAdded",
     [](Records&, Records& scanned) {
       scanned.adapters.push_back(Adapter(3));
       scanned.drives.push_back(Drive(3));
     },
     {"+A3", "+D3"},
     {"CTRL_PNPADD/2 of 13"}},
    {"CardRemoved",
     [](Records&, Records& scanned) {
       scanned.adapters.erase(scanned.adapters.begin());
       scanned.drives.erase(scanned.drives.begin());
     },
     {"-A1"},
     {"CTRL_PNPREMOVE/3 of 11"}},
    {"AllRemoved",
     [](Records&, Records& scanned) { scanned = Records(); },
     {"-A1", "-A2"},
     {"CTRL_PNPREMOVE/3 of 11", "CTRL_PNPREMOVE/3 of 12"}},
    {"AdapterAddedWithoutItsDrive",
     [](Records&, Records& scanned) { scanned.adapters.push_back(Adapter(3)); },
     {"+A3"},
     {"CTRL_PNPADD/2 of 13"}},
    {"DriveAddedWithoutItsAdapter",
     [](Records&, Records& scanned) { scanned.drives.push_back(Drive(3)); },
     {},
     {}},
    {"DriveChangedWithoutItsAdapter",
     [](Records& stored, Records& scanned) {
       stored.adapters.pop_back();
       scanned.adapters.pop_back();
       scanned.drives[1].m_SectorSize = 4096;
     },
     {"~D2"},
     {}},
    {"MaskSeenOnce",
     [](Records&, Records& scanned) { SetMasks(scanned.adapters[0], 1, 0, 0); },
     {"~A1"},
     {}},
    {"ErrorsSettled",
     [](Records& stored, Records& scanned) {
       FillHistories(stored.adapters[0], 0x201, 0, 0);
       SetMasks(scanned.adapters[0], 0x201, 0, 0);
     },
     {"~A1"},
     {"CTRL_INTERNAL_ERROR/4 of 11", "CTRL_NONCORRECTABLE_PCI_ERRORS/4 of 11"}},
    {"WarningsSettled",
     [](Records& stored, Records& scanned) {
       FillHistories(stored.adapters[0], 0, 0x1001, 0);
       SetMasks(scanned.adapters[0], 0, 0x1001, 0);
     },
     {"~A1"},
     {"CTRL_TEMPERATURE_ABOVE_WARN/3 of 11", "CTRL_RESERVES_DEPLETED/3 of 11"}},
    {"WarningsWithTheInformation",
     [](Records& stored, Records& scanned) {
       FillHistories(stored.adapters[0], 0, 3, 2);
       SetMasks(scanned.adapters[0], 0, 3, 2);
     },
     {"~A1"},
     {"CTRL_TEMPERATURE_ABOVE_WARN/3 of 11", "CTRL_NEAR_WEARING_OUT/3 of 11",
      "CTRL_WRITE_REG_POWER/2 of 11", "CTRL_UNACTIVATED_FIRMWARE/2 of 11"}},
    {"Information",
     [](Records& stored, Records& scanned) {
       FillHistories(stored.adapters[0], 0, 0, 2);
       SetMasks(scanned.adapters[0], 0, 0, 2);
     },
     {"~A1"},
     {}},
    {"BackToNormal",
     [](Records& stored, Records& scanned) {
       SetMasks(stored.adapters[0], 1, 0, 0);
       FillHistories(stored.adapters[0], 0, 0, 0);
       SetMasks(scanned.adapters[0], 0, 0, 0);
     },
     {"~A1"},
     {"CTRL_NORMAL/2 of 11"}},
    {"OneOfTwoBitsCleared",
     [](Records& stored, Records& scanned) {
       SetMasks(stored.adapters[0], 1, 2, 0);
       FillHistories(stored.adapters[0], 0, 2, 0);
       SetMasks(scanned.adapters[0], 0, 2, 0);
     },
     {"~A1"},
     {}},
    {"Attached",
     [](Records&, Records& scanned) {
       scanned.adapters[0].m_StatusReasons = {PI::Value::ATTACHED};
     },
     {"~A1"},
     {"CTRL_ATTACHED/2 of 11"}},
    {"Detached",
     [](Records& stored, Records& scanned) {
       stored.adapters[0].m_StatusReasons = {PI::Value::ATTACHED};
       scanned.adapters[0].m_StatusReasons = {PI::Value::INTERNAL_ERROR, PI::Value::DETACHED};
     },
     {"~A1"},
     {"CTRL_DETACHED/4 of 11"}},
    {"StillAttached",
     [](Records& stored, Records& scanned) {
       stored.adapters[0].m_StatusReasons = {PI::Value::ATTACHED};
       scanned.adapters[0].m_StatusReasons = {PI::Value::INCOMPATIBLE_PCI_BANDWIDTH,
                                              PI::Value::ATTACHED};
     },
     {"~A1"},
     {}},
    {"Everything",
     [](Records& stored, Records& scanned) {
       FillHistories(stored.adapters[1], 1, 0, 0);
       SetMasks(scanned.adapters[1], 1, 0, 0);
       scanned.adapters[1].m_StatusReasons = {PI::Value::DETACHED};
       scanned.adapters[0] = Adapter(3);
       scanned.drives[0] = Drive(3);
       scanned.drives[1].m_SectorSize = 4096;
     },
     {"+A3", "~A2", "-A1", "+D3", "~D2"},
     {"CTRL_PNPADD/2 of 13", "CTRL_INTERNAL_ERROR/4 of 12", "CTRL_DETACHED/4 of 12",
      "CTRL_PNPREMOVE/3 of 11", "PD_FORMAT_CHANGED/2 of 22"}},
};

INSTANTIATE_TEST_SUITE_P(Cases, EachDifference, testing::ValuesIn(CASES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(SystemDifference, SetsTimeAndStoredNameInEventsOfAnAdapter) {
  const Records stored = Cards({1});
  Records scanned = stored;
  scanned.adapters[0].m_Name = "renamed";
  scanned.adapters[0].m_StatusReasons = {PI::Value::DETACHED};
  const SystemDifference difference = CompareRecords(stored, scanned);
  ASSERT_THAT(difference.m_Events, SizeIs(1));
  const PI::CEvent& event = difference.m_Events[0];
  EXPECT_EQ(event.m_Time, NOW);
  EXPECT_EQ(event.m_SourceName, "A1");
  EXPECT_EQ(event.m_PlaceHolders.at(0), "A1");
}

TEST(SystemDifference, SetsTheScannedAdapterNameInEventsOfADrive) {
  const Records stored = Cards({1});
  Records scanned = stored;
  scanned.adapters[0].m_Name = "renamed";
  scanned.drives[0].m_Name = "renamed too";
  scanned.drives[0].m_SectorSize = 4096;
  const SystemDifference difference = CompareRecords(stored, scanned);
  ASSERT_THAT(difference.m_Events, SizeIs(1));
  const PI::CEvent& event = difference.m_Events[0];
  EXPECT_EQ(event.m_Time, NOW);
  EXPECT_EQ(event.m_SourceName, "D1");
  EXPECT_EQ(event.m_PlaceHolders.at(0), "renamed");
  EXPECT_EQ(event.m_PlaceHolders.at(1), "D1");
}

// The new masks are only added to the histories of `m_Before`. `m_After` keeps the stored masks,
// because the new ones are not debounced yet.
TEST(SystemDifference, RecordsUnsettledMasksOnlyInTheHistories) {
  Records stored = Cards({1});
  CFusionIOAdapter& before = stored.adapters[0];
  before.m_ChangeCount = 5;
  SetMasks(before, 1, 2, 4);
  before.m_FlagHistoryIndex.m_Value = 1;
  Records scanned = stored;
  SetMasks(scanned.adapters[0], 8, 16, 32);
  const SystemDifference difference = CompareRecords(stored, scanned);
  ASSERT_THAT(difference.m_ChangedAdapters, SizeIs(1));
  const CFusionIOAdapter& old = difference.m_ChangedAdapters[0].m_Before;
  EXPECT_THAT(old.m_ErrorHistory.m_Value, ElementsAre(0, 8, 0));
  EXPECT_THAT(old.m_WarningHistory.m_Value, ElementsAre(0, 16, 0));
  EXPECT_THAT(old.m_InfoHistory.m_Value, ElementsAre(0, 32, 0));
  EXPECT_EQ(old.m_FlagHistoryIndex.m_Value, 2U);
  EXPECT_EQ(old.m_ErrorFlags, 1U);
  EXPECT_EQ(old.m_ChangeCount, 6U);
  const CFusionIOAdapter& now = difference.m_ChangedAdapters[0].m_After;
  EXPECT_EQ(now.m_ErrorFlags, 1U);
  EXPECT_EQ(now.m_WarningFlags, 2U);
  EXPECT_EQ(now.m_InfoFlags, 4U);
  EXPECT_EQ(now.m_ChangeCount, 5U);
}

TEST(SystemDifference, ReusesTheSlotsOfTheHistoriesInTurn) {
  Records stored = Cards({1});
  stored.adapters[0].m_FlagHistoryIndex.m_Value = 2;
  Records scanned = stored;
  SetMasks(scanned.adapters[0], 1, 0, 0);
  const SystemDifference difference = CompareRecords(stored, scanned);
  ASSERT_THAT(difference.m_ChangedAdapters, SizeIs(1));
  EXPECT_THAT(difference.m_ChangedAdapters[0].m_Before.m_ErrorHistory.m_Value,
              ElementsAre(0, 0, 1));
  EXPECT_EQ(difference.m_ChangedAdapters[0].m_Before.m_FlagHistoryIndex.m_Value, 0U);
}

// Two equal masks out of three are not enough, whichever one differs. The scan's mask is the third.
TEST(SystemDifference, KeepsTheStoredMaskUntilThreeAreEqual) {
  for (const std::size_t different : {0U, 1U, 2U}) {
    Records stored = Cards({1});
    CFusionIOAdapter& adapter = stored.adapters[0];
    FillHistories(adapter, 4, 4, 4);
    for (auto* history :
         {&adapter.m_ErrorHistory, &adapter.m_WarningHistory, &adapter.m_InfoHistory}) {
      history->m_Value[different] = 8;
    }
    Records scanned = stored;
    const std::uint64_t mask = different == 2 ? 8 : 4;
    SetMasks(scanned.adapters[0], mask, mask, mask);
    const SystemDifference difference = CompareRecords(stored, scanned);
    ASSERT_THAT(difference.m_ChangedAdapters, SizeIs(1));
    EXPECT_EQ(difference.m_ChangedAdapters[0].m_After.m_ErrorFlags, 0U) << different;
    EXPECT_EQ(difference.m_ChangedAdapters[0].m_After.m_WarningFlags, 0U) << different;
    EXPECT_EQ(difference.m_ChangedAdapters[0].m_After.m_InfoFlags, 0U) << different;
    EXPECT_THAT(difference.m_Events, IsEmpty());
  }
}

TEST(SystemDifference, AssignsTheAdaptersGlobalNumberToAnAddedDrive) {
  const Records stored = Cards({1});
  Records scanned = Cards({1, 2});
  scanned.drives[1].m_GlobalNumber = 99;
  const SystemDifference difference = CompareRecords(stored, scanned);
  ASSERT_THAT(difference.m_AddedDrives, SizeIs(1));
  EXPECT_EQ(difference.m_AddedDrives[0].m_GlobalNumber, 32U);
}

// The first drive with the serial number, at any position.
TEST(SystemDifference, FindsTheDriveOfAnAddedAdapterByItsSerialNumber) {
  const Records stored = Cards({1});
  Records scanned = Cards({1, 2, 3});
  scanned.adapters.pop_back();
  scanned.drives[1].m_SerialNumber = "S9";
  scanned.drives[2].m_SerialNumber = "S2";
  EXPECT_THAT(Changes(CompareRecords(stored, scanned)), ElementsAre("+A2", "+D3"));
}

// A drive that is assigned another adapter's number is compared with that number.
TEST(SystemDifference, ComparesADriveWithItsNewNumber) {
  const Records stored = Cards({1});
  Records scanned = Cards({1});
  scanned.adapters.push_back(Adapter(2));
  scanned.adapters[1].m_SerialNumber = "S1";
  EXPECT_THAT(Changes(CompareRecords(stored, scanned)), ElementsAre("+A2", "+D1", "~D1"));
}

}  // namespace
}  // namespace CorvaneTest
