// The effect of the card's state, its minimal mode and its write throttling on status, activity and
// reasons.

#include <gmock/gmock.h>

#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

using testing::IsEmpty;

namespace Property = PI::Property;

// Returns "status, activity: reasons".
std::string StatusLine(ScannedCard& card) {
  return card.Adapter(Property::STATUS) + ", " + card.Adapter(Property::ACTIVITY) + ": " +
         card.Adapter(Property::ADDITIONAL_STATUS);
}

struct StateCase {
  const char* state;        // null if the attribute is absent
  const char* healthy;      // expected without error or warning
  const char* withWarning;  // expected with a warning
  const char* withError;    // expected with an error
};

class ScanState : public testing::TestWithParam<StateCase> {
 protected:
  void SetUp() override {
    const char* state = GetParam().state;
    state == nullptr ? m_Card.Without("iom_state") : m_Card.Set("iom_state", state);
  }
  std::string DriveStatus() { return m_Card.Drive(Property::STATUS); }

  ScannedCard m_Card;
};

TEST_P(ScanState, DeterminesTheStatusOfAHealthyCard) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(StatusLine(m_Card), GetParam().healthy);
  const bool failed = std::string(GetParam().healthy).rfind("FAILED", 0) == 0;
  EXPECT_EQ(DriveStatus(), failed ? "FAILED" : "AVAILABLE");
}

TEST_P(ScanState, DeterminesTheStatusOfACardWithAWarning) {
  m_Card.Set("current_warnings", "0x2").Set("current_info", "0x2");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(StatusLine(m_Card), GetParam().withWarning);
}

TEST_P(ScanState, DeterminesTheStatusOfACardWithAnError) {
  m_Card.Set("current_errors", "0x100");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(StatusLine(m_Card), GetParam().withError);
  EXPECT_EQ(DriveStatus(), "FAILED");
}

TEST_P(ScanState, ReadsTheReasonOnlyInMinimalMode) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  const bool minimal = GetParam().state != nullptr && GetParam().state == std::string("5");
  EXPECT_EQ(Count(m_Card.Host().Calls(), "vsl_has_minimal_mode_reason card#1"), minimal ? 1 : 0);
}

#define WEAR "NEAR_WEARING_OUT UNACTIVATED_FIRMWARE"

constexpr StateCase STATE_CASES[] = {
    // state, healthy, with a warning, with an error
    {"0", "WARNING, IDLE: DETACHED", "WARNING, IDLE: " WEAR " DETACHED",
     "FAILED, IDLE: FLASHBACK DETACHED"},
    {"1", "WARNING, ATTACHING: absent", "WARNING, ATTACHING: " WEAR,
     "FAILED, ATTACHING: FLASHBACK"},
    {"2", "OK, IDLE: ATTACHED", "WARNING, IDLE: " WEAR " ATTACHED",
     "FAILED, IDLE: FLASHBACK ATTACHED"},
    {"3", "WARNING, DETACHING: absent", "WARNING, DETACHING: " WEAR,
     "FAILED, DETACHING: FLASHBACK"},
    {"4", "WARNING, BUSY: absent", "WARNING, BUSY: " WEAR, "FAILED, BUSY: FLASHBACK"},
    {"5", "FAILED, IDLE: MINIMAL_MODE", "FAILED, IDLE: " WEAR " MINIMAL_MODE",
     "FAILED, IDLE: FLASHBACK MINIMAL_MODE"},
    {"6", "FAILED, IDLE: absent", "FAILED, IDLE: " WEAR, "FAILED, IDLE: FLASHBACK"},
    {"7", "FAILED, IDLE: STOPPED", "FAILED, IDLE: " WEAR " STOPPED",
     "FAILED, IDLE: FLASHBACK STOPPED"},
    {"8", "FAILED, IDLE: absent", "FAILED, IDLE: " WEAR, "FAILED, IDLE: FLASHBACK"},
    {"4294967295", "FAILED, IDLE: absent", "FAILED, IDLE: " WEAR, "FAILED, IDLE: FLASHBACK"},
    {nullptr, "FAILED, IDLE: absent", "FAILED, IDLE: " WEAR, "FAILED, IDLE: FLASHBACK"},
};

#undef WEAR

INSTANTIATE_TEST_SUITE_P(States, ScanState, testing::ValuesIn(STATE_CASES), [](const auto& each) {
  return "State" + std::string(each.param.state == nullptr ? "None" : each.param.state);
});

// Minimal mode.

struct MinimalCase {
  const char* mask;  // null if the attribute is absent
  const char* reasons;
};

TEST(ScanMinimalMode, ListsItsReasonsFromTheLowestBitUp) {
  const MinimalCase cases[] = {
      // mask, reasons
      {"0x1", "FIRMWARE_OUT_OF_DATE"},
      {"0x2", "INSUFFICIENT_POWER"},
      {"0x4", "DUAL_PLANE_FAIL"},
      {"0x8", "FORCED"},
      {"0x10", "INTERNAL"},
      {"0x20", "CARD_LIMIT_EXCEEDED"},
      {"0x40", "UNSUPPORTED_OS"},
      {"0x80", "INSUFFICIENT_MEMORY"},
      {"0x100", "SMP_BOOTLOADER_MODE"},
      {"0x200", "MISSING_MIDPROM"},
      {"0x400", "UNSUPPORTED_NAND"},
      {"0x800", "DRIVER_OUT_OF_DATE"},
      {"0x1000", "HARDWARE_FAILURE"},
      {"0x2000", "GENERAL_CHANNEL_INIT_FAIL"},
      {"0x4000", "absent"},
      {"0x8000000000000000", "absent"},
      {"0", "MINIMAL_MODE"},
      {nullptr, "MINIMAL_MODE"},
      {"0x2009", "FIRMWARE_OUT_OF_DATE FORCED GENERAL_CHANNEL_INIT_FAIL"},
      {"0xFFFFFFFFFFFFFFFF",
       "FIRMWARE_OUT_OF_DATE INSUFFICIENT_POWER DUAL_PLANE_FAIL FORCED INTERNAL "
       "CARD_LIMIT_EXCEEDED UNSUPPORTED_OS INSUFFICIENT_MEMORY SMP_BOOTLOADER_MODE "
       "MISSING_MIDPROM UNSUPPORTED_NAND DRIVER_OUT_OF_DATE HARDWARE_FAILURE "
       "GENERAL_CHANNEL_INIT_FAIL"},
  };
  for (const MinimalCase& each : cases) {
    ScannedCard card;
    card.Set("iom_state", "5");
    each.mask == nullptr ? card.Without("minimal_mode_reason")
                         : card.Set("minimal_mode_reason", each.mask);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Adapter(Property::ADDITIONAL_STATUS), each.reasons);
    EXPECT_EQ(card.Adapter(Property::STATUS), "FAILED");
  }
}

// Write throttling.

struct ThrottlingCase {
  const char* state;   // null if the attribute is absent
  const char* reason;  // or null
  const char* shown;
  const char* reasons;
};

TEST(ScanThrottling, IsShownWithItsReasonAfterTheOthers) {
  const ThrottlingCase cases[] = {
      // state, reason, shown, reasons
      {"0", "1", "NONE", "ATTACHED"},
      {"1", "0", "PARTIAL", "ATTACHED"},
      {"1", "1", "PARTIAL", "ATTACHED THROT_BY_USER"},
      {"1", "2", "PARTIAL", "ATTACHED THROT_NO_METADATA_BLOCKS"},
      {"1", "3", "PARTIAL", "ATTACHED THROT_NO_MEMORY"},
      {"1", "4", "PARTIAL", "ATTACHED THROT_CHIP_FAILURE"},
      {"1", "5", "PARTIAL", "ATTACHED THROT_WEAROUT"},
      {"1", "6", "PARTIAL", "ATTACHED THROT_POWER"},
      {"1", "7", "PARTIAL", "ATTACHED THROT_INTERNAL"},
      {"1", "8", "PARTIAL", "ATTACHED THROT_POWER_LIMIT"},
      {"1", "9", "PARTIAL", "ATTACHED THROT_GROOMER_FAILURE"},
      {"1", "10", "PARTIAL", "ATTACHED"},
      {"1", "4294967295", "PARTIAL", "ATTACHED"},
      {"1", nullptr, "PARTIAL", "ATTACHED"},
      {"2", "0", "COMPLETE", "ATTACHED"},
      {"2", "1", "COMPLETE", "ATTACHED THROT_BY_USER"},
      {"2", "9", "COMPLETE", "ATTACHED THROT_GROOMER_FAILURE"},
      {"2", nullptr, "COMPLETE", "ATTACHED"},
      {"3", "1", "NONE", "ATTACHED"},
      {"10", "1", "NONE", "ATTACHED"},
      {"4294967295", "1", "NONE", "ATTACHED"},
      {nullptr, "1", "NONE", "ATTACHED"},
  };
  for (const ThrottlingCase& each : cases) {
    ScannedCard card;
    each.state == nullptr ? card.Without("write_throttling_state")
                          : card.Set("write_throttling_state", each.state);
    each.reason == nullptr ? card.Without("write_throttling_reason")
                           : card.Set("write_throttling_reason", each.reason);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Adapter(Property::WRITE_THROTTLING), each.shown);
    EXPECT_EQ(card.Adapter(Property::ADDITIONAL_STATUS), each.reasons);
    EXPECT_EQ(card.Adapter(Property::STATUS), "OK");
  }
}

TEST(ScanThrottling, DoesNotReadAReasonWhenOff) {
  for (const char* state : {"0", "3"}) {
    ScannedCard card;
    card.Set("write_throttling_state", state);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_THAT(StartingWith(card.Host().Calls(), "vsl_has_write_throttling_reason"), IsEmpty());
  }
}

TEST(ScanThrottling, ComesAfterErrorsInformationAndState) {
  ScannedCard card;
  card.Set("current_errors", "0x8").Set("current_info", "0x2").Set("iom_state", "7");
  card.Set("write_throttling_state", "2").Set("write_throttling_reason", "5");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::ADDITIONAL_STATUS),
            "COMPLETE_WRITE_THROTTLING UNACTIVATED_FIRMWARE STOPPED THROT_WEAROUT");
}

// Without a running job, the state is not corrected.
TEST(ScanWithoutJobs, DoesNotShowAttachedOrDetachedCardsAsBusy) {
  for (const auto& [state, activity] : {std::pair("2", "IDLE"), std::pair("0", "IDLE")}) {
    ScannedCard card;
    card.Set("iom_state", state);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Adapter(Property::ACTIVITY), activity);
  }
}

}  // namespace
}  // namespace CorvaneTest
