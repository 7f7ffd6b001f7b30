// The data that an object keeps between scans: its ids, its links and its change count.

#include <memory>

#include "tests/plugin/Watch.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class RescanIdentity : public WorkerFixture {
 protected:
  // Change counts of all objects in the order of the tree: plug-in, adapters, drives.
  std::vector<std::uint64_t> Counts() {
    std::vector<std::uint64_t> counts;
    for (const PI::CObject& object : m_Host.Topology()) counts.push_back(object.m_ChangeCount);
    return counts;
  }
};

TEST_F(RescanIdentity, TheTreeKeepsItsObjectsAcrossChanges) {
  AddCards(2);
  StartWatch();
  const Lines before = Tree();
  WaitForScans(2);
  EXPECT_EQ(Tree(), before);
  Set("card0", "serial_number", "new one");
  Set("card0", "pci_bus", "77");
  Set("card1", "current_errors", "1");
  Set("card1", "sector_size_bytes", "4096");
  WaitForScans(4);
  EXPECT_EQ(Tree(), before);
}

TEST_F(RescanIdentity, EachAdapterIsListedOnceUnderThePlugin) {
  AddCards(2);
  StartWatch();
  for (int scan = 0; scan < 3; ++scan) {
    EXPECT_EQ(m_Host.ObjectOf(PLUGIN).m_Children, (std::vector<std::uint64_t>{FIRST, SECOND}));
    EXPECT_THAT(m_Host.ObjectOf(PLUGIN).m_Parents, IsEmpty());
    EXPECT_THAT(m_Host.ObjectOf(SECOND).m_Parents, ElementsAre(PLUGIN));
    EXPECT_THAT(m_Host.ObjectOf(SECOND).m_Children, ElementsAre(SECOND_DRIVE));
    EXPECT_THAT(m_Host.ObjectOf(SECOND_DRIVE).m_Parents, ElementsAre(SECOND));
    WaitForScans();
  }
}

TEST_F(RescanIdentity, AQuickPollDoesNotCountAsAChange) {
  AddCards(2);
  StartWatch();
  WaitForWakeUps(2);
  EXPECT_THAT(Counts(), ElementsAre(0U, 0U, 0U, 0U, 0U));
}

// Each scan counts as a change of the plug-in and of the adapters, but not of a drive.
TEST_F(RescanIdentity, AScanWithoutAChangeCountsForPluginAndAdapters) {
  AddCards(2);
  StartWatch();
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre(1U, 1U, 1U, 0U, 0U));
  WaitForScans(2);
  EXPECT_THAT(Counts(), ElementsAre(3U, 3U, 3U, 0U, 0U));
}

TEST_F(RescanIdentity, AScanWithAChangeCountsTheSame) {
  AddCards(2);
  StartWatch();
  Set("card1", "iom_state", "0");
  Set("card1", "sector_size_bytes", "4096");
  WaitForScans();
  EXPECT_THAT(Events(), SizeIs(2));
  EXPECT_THAT(Counts(), ElementsAre(1U, 1U, 1U, 0U, 0U));
}

TEST_F(RescanIdentity, AFailedScanCountsOnlyForThePlugin) {
  AddCards(2);
  StartWatch();
  WaitForWakeUps(2);
  CardSim::FailCall("vsl_open", 2, 62, "unavailable");
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre(1U, 0U, 0U, 0U, 0U));
}

TEST_F(RescanIdentity, ARemovedOrAddedCardCountsOnceMoreForThePlugin) {
  AddCards(3);
  StartWatch();
  Hide(1);
  Hide(2);
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre(3U, 1U, 0U));
  Show(2);
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre(5U, 2U, 1U, 0U, 0U));
  // One card is added and one removed in the same scan.
  Show(1);
  Hide(2);
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre(8U, 3U, 1U, 0U, 0U));
}

TEST_F(RescanIdentity, CountsRaisedByTheHostAreKept) {
  AddCards(1);
  StartWatch();
  for (const std::uint64_t object : {PLUGIN, FIRST, FIRST, FIRST_DRIVE, FIRST_DRIVE, FIRST_DRIVE}) {
    Value(object, PI::Property::NAME);  // reading one property counts
  }
  EXPECT_THAT(Counts(), ElementsAre(1U, 2U, 3U));
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre(2U, 3U, 3U));
  Set("card0", "sector_size_bytes", "4096");
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre(3U, 4U, 3U));
}

// The card keeps its position in the list of control devices and therefore its ids.
TEST_F(RescanIdentity, CardsAfterARemovedOneKeepTheirIds) {
  AddCards(3);
  StartWatch();
  Hide(0);
  WaitForScans();
  EXPECT_EQ(m_Host.ObjectOf(PLUGIN).m_Children,
            (std::vector<std::uint64_t>{ObjectId(3), ObjectId(5)}));
  EXPECT_EQ(Value(ObjectId(3), PI::Property::SERIAL_NUMBER), "\"FA00000002\"");
  EXPECT_EQ(Value(ObjectId(4), PI::Property::UNIQUE_ID), "\"PCI:Bus=4&Device=0&Function=0&ID=0\"");
  EXPECT_EQ(Value(ObjectId(5), PI::Property::OS_DEVICE), "\"/dev/fct2\"");
  EXPECT_EQ(Value(ObjectId(6), PI::Property::UNIQUE_ID), "\"PCI:Bus=5&Device=0&Function=0&ID=0\"");
  m_Host.CollectEvents();
  WaitForScans(2);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(Notifications(), SizeIs(1));
}

TEST_F(RescanIdentity, NamesAreKept) {
  AddCards(1);
  m_Host.AddCard(0x3001);
  StartWatch();
  WaitForScans(2);
  EXPECT_THAT(Notifications(), IsEmpty());
  EXPECT_EQ(Value(FIRST, PI::Property::NAME), "\"SanDisk Flash Adapter 785GB (1)\"");
  EXPECT_EQ(Value(SECOND, PI::Property::NAME), "\"MOLT EP PX600 (2)\"");
}

struct UnstableMask {
  const char* name;
  const char* stored;
  const char* status;
  const char* reasons;
};

void PrintTo(const UnstableMask& mask, std::ostream* stream) {
  *stream << mask.name;
}

const UnstableMask UNSTABLE_MASKS[] = {
    {"current_errors", "1", "FAILED", "[INTERNAL_ERROR ATTACHED]"},
    {"current_warnings", "1", "WARNING", "[TEMPERATURE_ABOVE_WARN ATTACHED]"},
    {"current_info", "2", "OK", "[UNACTIVATED_FIRMWARE ATTACHED]"},
};

class EachUnstableMask : public RescanIdentity, public testing::WithParamInterface<UnstableMask> {};

TEST_P(EachUnstableMask, KeepsItsStoredValue) {
  AddCards(1);
  Set("card0", GetParam().name, GetParam().stored);
  StartWatch();
  int sample = 0;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function != std::string("vsl_") + GetParam().name) return;
    m_Host.Cards().Set("card0", GetParam().name, ++sample % 2 == 0 ? "0" : "4");
  });
  WaitForScans(3);
  EXPECT_EQ(Status(FIRST), GetParam().status);
  EXPECT_EQ(Reasons(FIRST), GetParam().reasons);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(Notifications(), IsEmpty());
}

// Five failed reads return 0 each, so the samples agree and the mask counts as clear.
TEST_P(EachUnstableMask, IsClearWhenItCannotBeRead) {
  AddCards(1);
  Set("card0", GetParam().name, GetParam().stored);
  StartWatch();
  WaitForWakeUps(2);
  ASSERT_EQ(Reasons(FIRST), GetParam().reasons);
  CardSim::FailCall(std::string("vsl_") + GetParam().name, 1, 62, "unreadable", 5);
  WaitForScans();
  EXPECT_EQ(Status(FIRST), "OK");
  EXPECT_EQ(Reasons(FIRST), "[ATTACHED]");
  EXPECT_THAT(RecordedLines(), Not(Contains(testing::HasSubstr("unreadable"))));
  WaitForScans();
  EXPECT_EQ(Reasons(FIRST), GetParam().reasons);
}

INSTANTIATE_TEST_SUITE_P(Masks, EachUnstableMask, testing::ValuesIn(UNSTABLE_MASKS),
                         [](const auto& test) { return std::string(test.param.name); });

// The locate LED is switched off only at startup.
TEST_F(RescanIdentity, ALocateLEDThatIsOnStaysOn) {
  AddCards(1);
  StartWatch();
  Set("card0", "beacon_state", "true");
  WaitForScans(2);
  EXPECT_THAT(m_Host.Calls(), Contains("vsl_has_beacon_state card#3"));
  EXPECT_THAT(m_Host.Calls(), Not(Contains(StartsWith("vsl_set_beacon_state"))));
  EXPECT_EQ(m_Host.Cards().Get("card0", "beacon_state"), "true");
}

TEST_F(RescanIdentity, TracesThatItIsNotTheFirstScan) {
  AddCards(2);
  StartWatch();
  WaitForScans();
  EXPECT_THAT(TimesOf("2 ENTER ScanSystem(0) PhyDrive=0"), SizeIs(1));
  EXPECT_THAT(TimesOf("2 LEAVE ScanSystem() -> 0"), SizeIs(1));
}

// All calls of a scan for one card, between the wake-up and the comparison.
TEST_F(RescanIdentity, ARescanMakesTheCallsOfTheFirstScanExceptForTheLocateLED) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  m_Host.ClearCalls();
  Lines calls;
  m_OnLine = [&](const std::string& line) {
    if (line == "16 After ScanSystem() ret = 0") calls = CardSim::CallTexts();
  };
  PassMs(5100);
  const auto has = [](const std::string& name) { return "vsl_has_" + name + " card#1"; };
  Lines expected = {"vsl_iom_create_by_name /dev/fct0", "vsl_open card#1"};
  const auto read = [&](const Lines& names) {
    for (const std::string& name : names) {
      expected.push_back(has(name));
      expected.push_back("vsl_" + name + " card#1");
    }
  };
  const auto call = [&](const Lines& texts) {
    expected.insert(expected.end(), texts.begin(), texts.end());
  };
  read({"pci_bus", "pci_device", "pci_function", "pci_domain"});
  call({"vsl_pci_device_id card#1"});
  read({"board_name", "pci_slot_num"});
  call({has("beacon_state")});
  read({"serial_number"});
  call({has("fw_current_major_ver"), has("fw_current_minor_ver"), has("fw_current_micro_ver"),
        has("fw_current_revision"), "vsl_fw_current_revision card#1",
        "vsl_fw_current_micro_ver card#1", "vsl_fw_current_minor_ver card#1",
        "vsl_fw_current_major_ver card#1"});
  read({"external_power_requirement", "external_power_connected", "pcie_slot_power_watts"});
  call({"vsl_adapter_create card#1", "vsl_has_power_limit_watts adapter#1",
        "vsl_power_limit_watts adapter#1", "vsl_destroy adapter#1"});
  read({"temp_internal_warn_deg_c", "temp_setpoint_high_deg_c", "driver_version",
        "temp_internal_deg_c"});
  for (const std::string mask : {"current_errors", "current_warnings", "current_info"}) {
    call({has(mask)});
    call(Lines(5, "vsl_" + mask + " card#1"));
  }
  read({"iom_state", "write_throttling_state", "factory_size_bytes", "first_use_ts", "origin_ts",
        "reserve_warning_threshold_percent", "sector_size_bytes", "size_bytes"});
  call({"vsl_iom_format_create card#1"});
  const auto limit = [&](const std::string& name) {
    call({"vsl_iom_format_has_" + name + " format#1", "vsl_iom_format_" + name + " format#1"});
  };
  for (const char* name : {"disallow_overformat", "min_sector_size_bytes", "max_sector_size_bytes",
                           "sector_size_multiplier", "power_of_two_sector_size", "size_bytes",
                           "size_pct", "max_size_bytes"}) {
    limit(name);
  }
  call({"vsl_iom_format_has_size_mode format#1", "vsl_iom_format_set_size_mode format#1 11"});
  limit("max_size_bytes");
  call({"vsl_destroy format#1"});
  read({"product_name"});
  call({"vsl_close card#1", "vsl_destroy card#1"});
  EXPECT_THAT(calls, ElementsAreArray(expected));
}

// The scan uses the index of a card as a position in the list of adapters. After a removal, another
// adapter may be at that position, or none.
class JobAfterARemovedCard : public RescanIdentity {
 protected:
  void SetUp() override {
    AddCards(3);
    for (const char* card : {"card0", "card1", "card2"}) {
      Set(card, "iom_state", "0");
      Set(card, "attach_ms", "0");
    }
    StartWatch();
    Hide(0);
    WaitForScans();
  }
  void StartBlockedAttach(std::uint64_t adapter) {
    m_pHeld = std::make_unique<HeldCall>("vsl_op_wait_for_result");
    ASSERT_EQ(m_Host.Run(adapter, PI::OP_ATTACH), 0U);
    m_pHeld->WaitUntilReached();
  }
  void TearDown() override { m_pHeld.reset(); }

  std::unique_ptr<HeldCall> m_pHeld;
};

TEST_F(JobAfterARemovedCard, CorrectsTheCardWhoseIndexIsThePositionOfTheAdapter) {
  StartBlockedAttach(ObjectId(5));  // of card 2, now at position 1
  Set("card1", "iom_state", "2");
  WaitForScans();
  EXPECT_EQ(Activity(ObjectId(3)), "ATTACHING");
}

TEST_F(JobAfterARemovedCard, DoesNotCorrectBeyondTheEndOfTheList) {
  StartBlockedAttach(ObjectId(5));
  Set("card2", "iom_state", "2");
  WaitForScans();
  EXPECT_EQ(Activity(ObjectId(5)), "IDLE");
  EXPECT_EQ(Reasons(ObjectId(5)), "[ATTACHED]");
  // The quick poll uses the adapter's path, so it sees a change each time.
  WaitForWakeUps();
  EXPECT_THAT(TimesOf("16 After UpdateSystem() ret = 20000"), SizeIs(1));
}

}  // namespace
}  // namespace CorvaneTest
