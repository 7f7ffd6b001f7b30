// An adapter's status and its reasons, from the card's three status masks.

#include <gmock/gmock.h>

#include <map>

#include "tests/host/HostNumbers.h"
#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

namespace Property = PI::Property;

// The cards of these tests are attached, so ATTACHED is the last reason.
struct BitCase {
  const char* mask;
  unsigned int bit;
  const char* status;
  const char* reasons;
};

void PrintTo(const BitCase& bitCase, std::ostream* stream) {
  *stream << bitCase.mask << " bit " << bitCase.bit;
}

#define BIT(mask, bit, reason, event, status) {"current_" #mask, bit, #status, #reason " ATTACHED"},
constexpr BitCase BIT_CASES[] = {
    HOST_STATUS_BITS(BIT)
    // mask, bit, status, reasons
    {"current_errors", 20, "FAILED", "ATTACHED"},
    {"current_errors", 31, "FAILED", "ATTACHED"},
    {"current_errors", 32, "FAILED", "ATTACHED"},
    {"current_errors", 63, "FAILED", "ATTACHED"},
    {"current_warnings", 9, "OK", "ATTACHED"},  // ignored
    {"current_warnings", 30, "WARNING", "ATTACHED"},
    {"current_warnings", 41, "WARNING", "ATTACHED"},
    {"current_warnings", 63, "WARNING", "ATTACHED"},
    {"current_info", 0, "OK", "ATTACHED"},  // ignored
    {"current_info", 1, "OK", "UNACTIVATED_FIRMWARE ATTACHED"},
    {"current_info", 2, "OK", "ATTACHED"},
    {"current_info", 63, "OK", "ATTACHED"},
};
#undef BIT

class ScanStatusBit : public testing::TestWithParam<BitCase> {};

TEST_P(ScanStatusBit, DeterminesStatusAndReason) {
  ScannedCard card;
  card.Set(GetParam().mask, std::to_string(std::uint64_t{1} << GetParam().bit));
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::STATUS), GetParam().status);
  EXPECT_EQ(card.Adapter(Property::ADDITIONAL_STATUS), GetParam().reasons);
  EXPECT_EQ(card.Drive(Property::STATUS),
            GetParam().status == std::string("FAILED") ? "FAILED" : "AVAILABLE");
}

INSTANTIATE_TEST_SUITE_P(Bits, ScanStatusBit, testing::ValuesIn(BIT_CASES), [](const auto& each) {
  return std::string(each.param.mask) + "_" + std::to_string(each.param.bit);
});

struct MaskCase {
  const char* name;
  // The masks; null if the attribute is absent.
  const char* errors;
  const char* warnings;
  const char* info;
  const char* status;
  const char* reasons;
};

TEST(ScanStatus, ListsReasonsOfErrorsOrWarningsThenOfInformation) {
  const MaskCase cases[] = {
      // name, errors, warnings, info, status, reasons
      {"none", "0", "0", "0", "OK", "ATTACHED"},
      {"no masks", nullptr, nullptr, nullptr, "OK", "ATTACHED"},
      {"two errors", "0x101", "0", "0", "FAILED", "INTERNAL_ERROR FLASHBACK ATTACHED"},
      {"errors hide warnings", "0x100", "0x1", "0", "FAILED", "FLASHBACK ATTACHED"},
      {"unnamed errors hide warnings", "0x100000", "0x1", "0", "FAILED", "ATTACHED"},
      {"errors and information", "0x100", "0x1", "0x2", "FAILED",
       "FLASHBACK UNACTIVATED_FIRMWARE ATTACHED"},
      {"warnings and information", "0", "0x1001", "0x2", "WARNING",
       "TEMPERATURE_ABOVE_WARN RESERVES_DEPLETED UNACTIVATED_FIRMWARE ATTACHED"},
      {"warnings without an error mask", nullptr, "0x1", "0", "WARNING",
       "TEMPERATURE_ABOVE_WARN ATTACHED"},
      {"ignored bits alone", "0", "0x200", "0x1", "OK", "ATTACHED"},
      {"ignored bits among others", "0", "0x201", "0x3", "WARNING",
       "TEMPERATURE_ABOVE_WARN UNACTIVATED_FIRMWARE ATTACHED"},
      {"all errors", "0xFFFFFFFFFFFFFFFF", "0", "0", "FAILED",
       "INTERNAL_ERROR INCOMPATIBLE_PCI_BANDWIDTH PARTIAL_WRITE_THROTTLING "
       "COMPLETE_WRITE_THROTTLING TEMPERATURE_NEAR_ERROR TEMPERATURE_ABOVE_ERROR "
       "INTERNAL_VOLTAGE_OUT_OF_RANGE AUXILIARY_VOLTAGE_OUT_OF_RANGE FLASHBACK "
       "NONCORRECTABLE_PCI_ERRORS ATTACHED"},
      {"all warnings", "0", "0xFFFFFFFFFFFFFFFF", "0xFFFFFFFFFFFFFFFF", "WARNING",
       "TEMPERATURE_ABOVE_WARN NEAR_WEARING_OUT NONOPTIMAL_PCI_BANDWIDTH CORRECTABLE_PCI_ERRORS "
       "NO_POWERLOSS_PROTECTION POWER_WRITE_REGULATION TEMPERATURE_WRITE_REGULATION "
       "LIFESPAN_WRITE_REGULATION MINIMAL LEB_MAP_MISSING UPDATE_IN_PROGRESS RESERVES_DEPLETED "
       "UNACTIVATED_FIRMWARE ATTACHED"},
  };
  for (const MaskCase& each : cases) {
    SCOPED_TRACE(each.name);
    ScannedCard card;
    const auto setMask = [&](const char* mask, const char* value) {
      value == nullptr ? card.Without(mask) : card.Set(mask, value);
    };
    setMask("current_errors", each.errors);
    setMask("current_warnings", each.warnings);
    setMask("current_info", each.info);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Adapter(Property::STATUS), each.status);
    EXPECT_EQ(card.Adapter(Property::ADDITIONAL_STATUS), each.reasons);
  }
}

// Masks that change while they are sampled. The hook runs before the call, so the given sample,
// counted from 1, is the first to have the new value.
class StatusFlicker : public testing::Test {
 protected:
  void ChangeAt(const std::string& mask, unsigned int sample, const std::string& value) {
    m_Changes.push_back({"vsl_" + mask, sample, mask, value});
    CardSim::SetHook([this](const CardSim::Call& call) {
      const unsigned int count = ++m_Calls[call.function];
      for (const Change& change : m_Changes) {
        if (change.function != call.function || change.sample != count) continue;
        m_Card.Set(change.mask, change.value);
      }
    });
  }

  std::string Status() {
    return m_Card.Adapter(Property::STATUS) + ": " + m_Card.Adapter(Property::ADDITIONAL_STATUS);
  }

  struct Change {
    std::string function;
    unsigned int sample;
    std::string mask;
    std::string value;
  };
  std::vector<Change> m_Changes;
  std::map<std::string, unsigned int> m_Calls;
  ScannedCard m_Card;
};

TEST_F(StatusFlicker, KeepsThePreviousValueIfOneSampleDiffers) {
  m_Card.Set("current_errors", "0x1");
  ChangeAt("current_errors", 3, "0x3");
  ChangeAt("current_errors", 4, "0x1");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Status(), "OK: ATTACHED");
}

TEST_F(StatusFlicker, KeepsThePreviousValueIfTheFirstSampleDiffers) {
  m_Card.Set("current_warnings", "0x1");
  ChangeAt("current_warnings", 2, "0x2");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Status(), "OK: ATTACHED");
}

TEST_F(StatusFlicker, KeepsThePreviousValueIfTheLastSampleDiffers) {
  m_Card.Set("current_info", "0x2");
  ChangeAt("current_info", 5, "0x0");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Status(), "OK: ATTACHED");
}

TEST_F(StatusFlicker, IsIgnoredBeforeTheFirstSample) {
  m_Card.Set("current_errors", "0x1");
  ChangeAt("current_errors", 1, "0x100");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Status(), "FAILED: FLASHBACK ATTACHED");
}

TEST_F(StatusFlicker, OnlyAffectsItsOwnMask) {
  m_Card.Set("current_errors", "0x1").Set("current_warnings", "0x1").Set("current_info", "0x2");
  ChangeAt("current_errors", 5, "0x2");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Status(), "WARNING: TEMPERATURE_ABOVE_WARN UNACTIVATED_FIRMWARE ATTACHED");
}

TEST_F(StatusFlicker, IsDisregardedInIgnoredBits) {
  m_Card.Set("current_warnings", "0x1").Set("current_info", "0x2");
  ChangeAt("current_warnings", 3, "0x201");
  ChangeAt("current_info", 3, "0x3");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Status(), "WARNING: TEMPERATURE_ABOVE_WARN UNACTIVATED_FIRMWARE ATTACHED");
}

TEST_F(StatusFlicker, IsDetectedInErrorBitsThatOtherMasksIgnore) {
  m_Card.Set("current_errors", "0x2");
  ChangeAt("current_errors", 3, "0x202");
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Status(), "OK: ATTACHED");
}

TEST(ScanSamples, AreTakenAMillisecondApart) {
  ScannedCard card;
  std::vector<unsigned long> times;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function.rfind("vsl_current_", 0) == 0) times.push_back(MBX::Misc::now());
  });
  ASSERT_EQ(card.Scan(), 0U);
  ASSERT_EQ(times.size(), 15U);
  for (unsigned long& each : times) each -= 1767225601000;  // the time of the second vsl_init
  EXPECT_THAT(times, ElementsAre(0, 1, 2, 3, 4, 4, 5, 6, 7, 8, 8, 9, 10, 11, 12));
}

TEST(ScanSamples, AreNotTakenForAMissingMask) {
  ScannedCard card;
  card.Without("current_warnings");
  EXPECT_EQ(ElapsedMs([&] { ASSERT_EQ(card.Scan(), 0U); }), 1008U);
  EXPECT_THAT(StartingWith(card.Host().Calls(), "vsl_current_warnings"), IsEmpty());
  EXPECT_EQ(Count(card.Host().Calls(), "vsl_current_info card#1"), 5);
}

}  // namespace
}  // namespace CorvaneTest
