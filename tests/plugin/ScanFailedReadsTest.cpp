// Attributes that a card has but that cannot be read. The scan ignores the failure: it uses the
// value that the library returns, 0 or an empty string, and traces nothing.

#include <gmock/gmock.h>

#include <ostream>

#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace Property = PI::Property;

constexpr const char* NONE = nullptr;  // the attribute is absent

enum class Of { Adapter, Drive };

struct Setting {
  const char* attribute;
  const char* value;
};

struct FailedRead {
  const char* function;
  unsigned int times;
  std::vector<Setting> card;
  Of object;
  PI::_PROPERTY_ID property;
  const char* shown;
};

std::ostream& operator<<(std::ostream& out, const FailedRead& read) {
  return out << read.function;
}

const FailedRead FAILED_READS[] = {
    // Identity and location.
    {"vsl_serial_number", 1, {}, Of::Adapter, Property::SERIAL_NUMBER, ""},
    {"vsl_board_name", 1, {}, Of::Adapter, Property::PRODUCT, ""},
    {"vsl_pci_device_id", 1, {}, Of::Adapter, Property::DRIVER_NAME, ""},
    {"vsl_pci_domain", 1, {{"pci_domain", "2"}}, Of::Adapter, Property::PCI_SEGMENT, "0"},
    {"vsl_pci_bus", 1, {{"pci_bus", "59"}}, Of::Adapter, Property::PCI_BUS, "0"},
    {"vsl_pci_device", 1, {{"pci_device", "4"}}, Of::Adapter, Property::PCI_DEVICE, "0"},
    {"vsl_pci_function", 1, {{"pci_function", "1"}}, Of::Adapter, Property::PCI_FUNCTION, "0"},
    {"vsl_pci_slot_num", 1, {{"pci_slot_num", "7"}}, Of::Adapter, Property::PCI_SLOT, "0"},
    // Versions.
    {"vsl_driver_version", 1, {}, Of::Adapter, Property::DRIVER_VERSION, "absent"},
    {"vsl_fw_current_major_ver", 1, {}, Of::Adapter, Property::FIRMWARE_VERSION, "0.3.11 (10957)"},
    {"vsl_fw_current_minor_ver", 1, {}, Of::Adapter, Property::FIRMWARE_VERSION, "6.0.11 (10957)"},
    {"vsl_fw_current_micro_ver", 1, {}, Of::Adapter, Property::FIRMWARE_VERSION, "6.3.0 (10957)"},
    {"vsl_fw_current_revision", 1, {}, Of::Adapter, Property::FIRMWARE_VERSION, "6.3.11 (0)"},
    {"vsl_fw_current_version",
     1,
     {{"fw_current_revision", NONE}},
     Of::Adapter,
     Property::FIRMWARE_VERSION,
     "absent"},
    // Power and temperature.
    {"vsl_external_power_requirement",
     1,
     {{"external_power_requirement", "2"}},
     Of::Adapter,
     Property::EXTERNAL_POWER_REQUIREMENT,
     "NONE"},
    {"vsl_external_power_connected",
     1,
     {{"external_power_requirement", "2"}, {"external_power_connected", "true"}},
     Of::Adapter,
     Property::EXTERNAL_POWER_CONNECTED,
     "false"},
    {"vsl_pcie_slot_power_watts", 1, {}, Of::Adapter, Property::SLOT_POWER, "absent"},
    {"vsl_power_limit_watts", 1, {}, Of::Adapter, Property::POWER_LIMIT, "absent"},
    {"vsl_temp_internal_deg_c", 1, {}, Of::Adapter, Property::CHIP_TEMPERATURE, "0"},
    {"vsl_temp_internal_warn_deg_c",
     1,
     {},
     Of::Adapter,
     Property::HIGH_WARNING_TEMPERATURE,
     "absent"},
    {"vsl_temp_setpoint_high_deg_c",
     1,
     {},
     Of::Adapter,
     Property::HIGH_CRITICAL_TEMPERATURE,
     "absent"},
    // Status. State 0 means detached.
    {"vsl_iom_state", 1, {}, Of::Adapter, Property::ADDITIONAL_STATUS, "DETACHED"},
    {"vsl_minimal_mode_reason",
     1,
     {{"iom_state", "5"}, {"minimal_mode_reason", "1"}},
     Of::Adapter,
     Property::ADDITIONAL_STATUS,
     "MINIMAL_MODE"},
    {"vsl_write_throttling_state",
     1,
     {{"write_throttling_state", "1"}},
     Of::Adapter,
     Property::WRITE_THROTTLING,
     "NONE"},
    {"vsl_write_throttling_reason",
     1,
     {{"write_throttling_state", "1"}, {"write_throttling_reason", "6"}},
     Of::Adapter,
     Property::ADDITIONAL_STATUS,
     "ATTACHED"},
    // Age and reserve.
    {"vsl_origin_ts", 1, {}, Of::Adapter, Property::MANUFACTURE_DATE, "1970-01-01 00:00"},
    {"vsl_reserve_warning_threshold_percent",
     1,
     {},
     Of::Adapter,
     Property::RESERVE_WARNING_THRESHOLD,
     "0"},
    {"vsl_factory_size_bytes", 1, {}, Of::Adapter, Property::MEMORY_SIZE, "0"},
    // The drive.
    {"vsl_product_name", 1, {}, Of::Drive, Property::PRODUCT, ""},
    {"vsl_sector_size_bytes", 1, {}, Of::Drive, Property::BLOCK_SIZE, "0"},
    {"vsl_size_bytes",
     1,
     {{"iom_format_max_size_bytes", NONE}},
     Of::Drive,
     Property::CONFIGURABLE_SIZE,
     "0"},
    {"vsl_iom_format_size_bytes", 1, {}, Of::Drive, Property::FORMATTED_SIZE, "0"},
    {"vsl_iom_format_size_pct", 1, {}, Of::Drive, Property::FORMATTED_PERCENTAGE, "0"},
    {"vsl_iom_format_max_size_bytes", 2, {}, Of::Drive, Property::CONFIGURABLE_SIZE, "0"},
};

class ScanFailedRead : public testing::TestWithParam<FailedRead> {
 protected:
  void SetAttribute() {
    for (const auto& [attribute, value] : GetParam().card) {
      value == NONE ? m_Card.Without(attribute) : m_Card.Set(attribute, value);
    }
  }
  std::string RenderedValue() {
    const PI::_PROPERTY_ID property = GetParam().property;
    return GetParam().object == Of::Adapter ? m_Card.Adapter(property) : m_Card.Drive(property);
  }

  ScannedCard m_Card;
};

TEST_P(ScanFailedRead, UsesTheValueThatTheLibraryReturns) {
  SetAttribute();
  CardSim::FailCall(GetParam().function, 1, 12, "unreadable", GetParam().times);
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(RenderedValue(), GetParam().shown);
  EXPECT_THAT(m_Card.Host().Traces(), Each(Not(HasSubstr("unreadable"))));
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_P(ScanFailedRead, ShowsAnotherValueIfTheReadSucceeds) {
  SetAttribute();
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_NE(RenderedValue(), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(Reads, ScanFailedRead, testing::ValuesIn(FAILED_READS),
                         [](const auto& test) { return std::string(test.param.function); });

// The smallest sector size is visible in the calls of a format without parameters.
TEST(ScanFailedReads, SetTheSmallestSectorSizeToZero) {
  ScannedCard card;
  CardSim::FailCall("vsl_iom_format_min_sector_size_bytes", 1, 12, "unreadable");
  ASSERT_EQ(card.Scan(), 0U);
  card.Host().ClearCalls();
  card.Host().Run(card.Host().DriveId(0), PI::OP_FORMAT_DEVICE);
  EXPECT_THAT(StartingWith(card.Host().Calls(), "vsl_iom_format_set_sector_size_bytes"),
              ElementsAre("vsl_iom_format_set_sector_size_bytes format#1 0"));
}

// The scan then sets the over-format mode, although the card does not allow it.
TEST(ScanFailedReads, AllowOverformatting) {
  ScannedCard card;
  card.Set("iom_format_disallow_overformat", "true");
  CardSim::FailCall("vsl_iom_format_disallow_overformat", 1, 12, "unreadable");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(Count(card.Host().Calls(), "vsl_iom_format_set_size_mode format#1 11"), 1);
}

TEST(ScanFailedReads, AreTracedAsZeroForTheThreeTracedAttributes) {
  ScannedCard card;
  for (const char* function :
       {"vsl_first_use_ts", "vsl_origin_ts", "vsl_reserve_warning_threshold_percent"}) {
    CardSim::FailCall(function, 1, 12, "unreadable");
  }
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_THAT(
      StartingWith(TracesWithLevel(card.Host()), "16 ScanSystem, "),
      ElementsAre("16 ScanSystem, vsl_has_first_use_ts = 0", "16 ScanSystem, vsl_has_origin_ts = 0",
                  "16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 0"));
}

}  // namespace
}  // namespace CorvaneTest
