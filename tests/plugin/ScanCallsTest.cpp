// The calls that a scan makes for a card, in order.

#include <gmock/gmock.h>

#include <algorithm>

#include "host/vsl_abstraction.h"
#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

using testing::Each;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Builds the list of expected calls.
class Calls {
 public:
  Calls& Call(const std::string& line) {
    m_Lines.push_back("vsl_" + line);
    return *this;
  }
  // Attributes that are present: queried and read.
  Calls& Read(const std::string& handle, const Lines& names) {
    for (const std::string& name : names) {
      Call("has_" + name + " " + handle).Call(name + " " + handle);
    }
    return *this;
  }
  // Attributes that are only queried.
  Calls& Query(const std::string& handle, const Lines& names) {
    for (const std::string& name : names) Call("has_" + name + " " + handle);
    return *this;
  }
  Calls& ReadFormat(const Lines& names) {
    for (const std::string& name : names) {
      Call("iom_format_has_" + name + " format#1").Call("iom_format_" + name + " format#1");
    }
    return *this;
  }
  Calls& QueryFormat(const Lines& names) {
    for (const std::string& name : names) Call("iom_format_has_" + name + " format#1");
    return *this;
  }
  // A status mask: five samples.
  Calls& Sample(const std::string& name) {
    Call("has_" + name + " card#1");
    for (int i = 0; i < 5; ++i) Call(name + " card#1");
    return *this;
  }
  // The calls from library initialization to opening the card.
  Calls& Start() {
    Call("init").Call("fini").Call("init").Call("iom_iterate null");
    Query("iterated#1", {"serial_number"}).Read("iterated#1", {"device_path"});
    Call("iom_iterate iterated#1").Call("iom_create_by_name /dev/fct0");
    return Call("open card#1");
  }

  const Lines& All() const { return m_Lines; }

 private:
  Lines m_Lines;
};

// This card has every optional attribute, so the scan makes the most calls.
TEST(ScanCalls, ReadEveryAttribute) {
  ScannedCard card(0x1003);
  const ScanLog log = LogFirstScan(card.Host());
  Calls expected;
  expected.Start();
  expected.Read("card#1", {"pci_bus", "pci_device", "pci_function", "pci_domain"});
  expected.Call("pci_device_id card#1").Read("card#1", {"board_name", "pci_slot_num"});
  expected.Call("has_beacon_state card#1").Call("set_beacon_state card#1 0");
  expected.Read("card#1", {"serial_number"});
  expected.Query("card#1", {"fw_current_major_ver", "fw_current_minor_ver", "fw_current_micro_ver",
                            "fw_current_revision"});
  expected.Call("fw_current_revision card#1").Call("fw_current_micro_ver card#1");
  expected.Call("fw_current_minor_ver card#1").Call("fw_current_major_ver card#1");
  expected.Read("card#1", {"external_power_requirement", "external_power_connected",
                           "pcie_slot_power_watts"});
  expected.Call("adapter_create card#1").Read("adapter#1", {"power_limit_watts"});
  expected.Call("destroy adapter#1");
  expected.Read("card#1", {"temp_internal_warn_deg_c", "temp_setpoint_high_deg_c", "driver_version",
                           "temp_internal_deg_c"});
  expected.Sample("current_errors").Sample("current_warnings").Sample("current_info");
  expected.Read("card#1", {"iom_state", "write_throttling_state", "factory_size_bytes",
                           "first_use_ts", "origin_ts", "reserve_warning_threshold_percent",
                           "sector_size_bytes", "size_bytes"});
  expected.Call("iom_format_create card#1");
  expected.ReadFormat({"disallow_overformat", "min_sector_size_bytes", "max_sector_size_bytes",
                       "sector_size_multiplier", "power_of_two_sector_size", "size_bytes",
                       "size_pct", "max_size_bytes"});
  expected.QueryFormat({"size_mode"}).Call("iom_format_set_size_mode format#1 11");
  expected.ReadFormat({"max_size_bytes"}).Call("destroy format#1");
  expected.Read("card#1", {"product_name"}).Call("close card#1").Call("destroy card#1");
  EXPECT_THAT(log.calls, ElementsAreArray(expected.All()));
  EXPECT_THAT(log.handles, IsEmpty());
  EXPECT_THAT(log.misuse, IsEmpty());
}

// Removes every attribute except the two that a card must have.
void RemoveOptionalAttributes(ScannedCard& card) {
  Lines names;
#define CORVANE_NAME(type, name) names.push_back(#name);
#define CORVANE_FORMAT_NAME(type, name) names.push_back("iom_format_" #name);
  VSL_CARD_ATTRIBUTES(CORVANE_NAME)
  VSL_FORMAT_ATTRIBUTES(CORVANE_FORMAT_NAME)
#undef CORVANE_FORMAT_NAME
#undef CORVANE_NAME
  for (const std::string& name : names) {
    if (name != "serial_number" && name != "device_path") card.Without(name);
  }
  card.Without("iom_format_size_mode");
}

TEST(ScanCalls, QueryEveryMissingAttribute) {
  ScannedCard card(0x1003);
  RemoveOptionalAttributes(card);
  const ScanLog log = LogFirstScan(card.Host());
  Calls expected;
  expected.Start();
  expected.Query("card#1", {"pci_bus", "pci_device", "pci_function", "pci_domain"});
  expected.Call("pci_device_id card#1");
  expected.Query("card#1", {"board_name", "pci_slot_num", "beacon_state"});
  expected.Read("card#1", {"serial_number"});
  expected.Query("card#1", {"fw_current_major_ver", "fw_current_version",
                            "external_power_requirement", "pcie_slot_power_watts"});
  expected.Call("adapter_create card#1").Query("adapter#1", {"power_limit_watts"});
  expected.Call("destroy adapter#1");
  expected.Query(
      "card#1",
      {"temp_internal_warn_deg_c", "temp_setpoint_high_deg_c", "driver_version",
       "temp_internal_deg_c", "current_errors", "current_warnings", "current_info", "iom_state",
       "write_throttling_state", "factory_size_bytes", "first_use_ts", "origin_ts",
       "reserve_warning_threshold_percent", "sector_size_bytes", "size_bytes"});
  expected.Call("iom_format_create card#1");
  expected.QueryFormat({"disallow_overformat", "min_sector_size_bytes", "max_sector_size_bytes",
                        "sector_size_multiplier", "power_of_two_sector_size", "size_bytes",
                        "size_pct", "max_size_bytes", "size_mode"});
  expected.Call("destroy format#1").Query("card#1", {"product_name"});
  expected.Call("close card#1").Call("destroy card#1");
  EXPECT_THAT(log.calls, ElementsAreArray(expected.All()));
  EXPECT_THAT(log.handles, IsEmpty());
  EXPECT_THAT(log.misuse, IsEmpty());
}

// For a card of an unknown family, everything except the board name is read.
TEST(ScanCalls, OmitTheBoardNameWithoutAFamily) {
  ScannedCard card(0x1003);
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function == "vsl_open") card.Set("pci_device_id", "0x1001");
  });
  const Lines calls = LogFirstScan(card.Host()).calls;
  EXPECT_EQ(Count(calls, "vsl_pci_device_id card#1"), 1);
  EXPECT_EQ(Count(calls, "vsl_has_board_name card#1"), 0);
  EXPECT_EQ(Count(calls, "vsl_has_pci_slot_num card#1"), 1);
}

TEST(ScanCalls, ContinueWithoutTheFormatLimits) {
  ScannedCard card;
  CardSim::FailCall("vsl_iom_format_create", 1, 12, "busy");
  const ScanLog log = LogFirstScan(card.Host());
  const Lines tail(log.calls.end() - 5, log.calls.end());
  EXPECT_THAT(tail, testing::ElementsAre("vsl_iom_format_create card#1",
                                         "vsl_has_product_name card#1", "vsl_product_name card#1",
                                         "vsl_close card#1", "vsl_destroy card#1"));
  EXPECT_THAT(log.misuse, IsEmpty());
}

TEST(ScanCalls, ContinueWithoutThePcieAdapter) {
  ScannedCard card;
  CardSim::FailCall("vsl_adapter_create", 1, 12, "busy");
  const Lines calls = LogFirstScan(card.Host()).calls;
  const auto at = std::find(calls.begin(), calls.end(), "vsl_adapter_create card#1");
  ASSERT_NE(at, calls.end());
  EXPECT_EQ(*(at + 1), "vsl_has_temp_internal_warn_deg_c card#1");
}

// Failures to set the locate LED or the size mode, or to close the card, are ignored.
TEST(ScanCalls, ContinueAfterIgnoredFailures) {
  Lines normalCalls;
  {
    ScannedCard workingCard;
    normalCalls = LogFirstScan(workingCard.Host()).calls;
  }
  ScannedCard failingCard;
  CardSim::FailCall("vsl_set_beacon_state", 1, 12, "busy");
  CardSim::FailCall("vsl_iom_format_set_size_mode", 1, 12, "busy");
  CardSim::FailCall("vsl_close", 1, 12, "busy");
  EXPECT_THAT(LogFirstScan(failingCard.Host()).calls, ElementsAreArray(normalCalls));
}

TEST(ScanCalls, DoNotTraceIgnoredFailures) {
  ScannedCard card;
  CardSim::FailCall("vsl_set_beacon_state", 1, 12, "busy");
  CardSim::FailCall("vsl_iom_format_set_size_mode", 1, 12, "busy");
  CardSim::FailCall("vsl_close", 1, 12, "busy");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_THAT(StartingWith(TracesWithLevel(card.Host()), "16 "),
              testing::ElementsAre("16 ScanSystem, vsl_has_first_use_ts = 1355270400000",
                                   "16 ScanSystem, vsl_has_origin_ts = 1352937600000",
                                   "16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 10",
                                   "16 ScanSystem() ret = 0 m_PhysicalDrives=1"));
  EXPECT_THAT(card.Host().Traces(), Each(Not(HasSubstr("busy"))));
}

TEST(ScanCalls, FinishEachCardBeforeTheNext) {
  ScannedCard card;
  card.Host().AddCard(0x3001);
  const Lines calls = LogFirstScan(card.Host()).calls;
  EXPECT_THAT(
      StartingWith(calls, "vsl_iom_create_by_name"),
      testing::ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_iom_create_by_name /dev/fct1"));
  const auto second = std::find(calls.begin(), calls.end(), "vsl_iom_create_by_name /dev/fct1");
  EXPECT_EQ(*(second - 1), "vsl_destroy card#1");
}

}  // namespace
}  // namespace CorvaneTest
