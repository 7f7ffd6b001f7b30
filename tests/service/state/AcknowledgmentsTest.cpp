#include "tests/service/state/StateFixture.h"

namespace {

using Service::AcknowledgeResult;
using Service::Acknowledgment;
using StateTest::kHour;
using StateTest::kStart;

class Acknowledgments : public StateTest::StoreTest {
 protected:
  Acknowledgments() { Record(kStart, CardsOf({"S0", "S1"})); }

  AcknowledgeResult Acknowledge(const std::string& serial, const std::string& reason,
                                std::optional<std::uint64_t> until = std::nullopt) {
    return m_Store.Acknowledge({serial, reason, "anna", kStart, until, "fan ordered"}, false);
  }

  // Returns the acknowledgments in effect at `nowMs`: "S0 MISSING, S1 FLASHBACK".
  std::string ActiveAt(std::uint64_t nowMs) {
    std::string text;
    for (const Acknowledgment& each : m_Store.Acknowledgments(nowMs)) {
      text += (text.empty() ? "" : ", ") + each.m_SerialNumber + " " + each.m_Reason;
    }
    return text;
  }
};

TEST_F(Acknowledgments, KeepAllFieldsAcrossARestart) {
  EXPECT_EQ(Acknowledge("S0", "TEMPERATURE_ABOVE_WARN", kStart + kHour), AcknowledgeResult::Done);
  RestartService();
  const auto all = m_Store.Acknowledgments(kStart);
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].m_SerialNumber, "S0");
  EXPECT_EQ(all[0].m_Reason, "TEMPERATURE_ABOVE_WARN");
  EXPECT_EQ(all[0].m_User, "anna");
  EXPECT_EQ(all[0].m_Time, kStart);
  EXPECT_EQ(all[0].m_Until, kStart + kHour);
  EXPECT_EQ(all[0].m_Note, "fan ordered");
}

TEST_F(Acknowledgments, ExpireAtTheirExpiryTime) {
  Acknowledge("S0", "FLASHBACK", kStart + kHour);
  Acknowledge("S1", "MISSING");
  EXPECT_EQ(ActiveAt(kStart + kHour - 1), "S0 FLASHBACK, S1 MISSING");
  EXPECT_EQ(ActiveAt(kStart + kHour), "S1 MISSING");
  EXPECT_EQ(ActiveAt(kStart), "S0 FLASHBACK, S1 MISSING");  // after the clock was set back
}

TEST_F(Acknowledgments, NeverExpireAtTheMaximumExpiryTime) {
  Acknowledge("S0", "FLASHBACK", 18446744073709551615U);
  EXPECT_EQ(ActiveAt(9223372036854775806U), "S0 FLASHBACK");
}

TEST_F(Acknowledgments, RefuseMissingForACardThatIsPresent) {
  const auto acknowledge = [this](const char* serial, const char* reason) {
    return m_Store.Acknowledge({serial, reason, "anna", kStart, std::nullopt, ""});
  };
  EXPECT_EQ(acknowledge("S1", "MISSING"), AcknowledgeResult::NotMissing);
  EXPECT_EQ(acknowledge("S1", "DETACHED"), AcknowledgeResult::Done);
  Record(kStart + kHour, CardsOf({"S0"}));
  EXPECT_EQ(acknowledge("S1", "MISSING"), AcknowledgeResult::Done);
  EXPECT_EQ(ActiveAt(kStart + kHour), "S1 DETACHED, S1 MISSING");
}

TEST_F(Acknowledgments, ReplaceEarlierAcknowledgments) {
  Acknowledge("S0", "FLASHBACK", kStart + kHour);
  Acknowledge("S0", "FLASHBACK");
  EXPECT_EQ(ActiveAt(kStart + 2 * kHour), "S0 FLASHBACK");
}

TEST_F(Acknowledgments, AreRemoved) {
  Acknowledge("S0", "FLASHBACK");
  EXPECT_FALSE(m_Store.Unacknowledge("S0", "MISSING", kStart));
  EXPECT_TRUE(m_Store.Unacknowledge("S0", "FLASHBACK", kStart));
  EXPECT_FALSE(m_Store.Unacknowledge("S0", "FLASHBACK", kStart));
  EXPECT_EQ(ActiveAt(kStart), "");
}

TEST_F(Acknowledgments, CannotBeRemovedAfterTheyExpire) {
  Acknowledge("S0", "FLASHBACK", kStart + kHour);
  EXPECT_FALSE(m_Store.Unacknowledge("S0", "FLASHBACK", kStart + kHour));
}

TEST_F(Acknowledgments, RequireAKnownCardAndReason) {
  EXPECT_EQ(Acknowledge("S9", "FLASHBACK"), AcknowledgeResult::UnknownCard);
  for (const char* reason : {"", "NO_SUCH_REASON", "flashback", "WARNING", "40387"}) {
    EXPECT_EQ(Acknowledge("S0", reason), AcknowledgeResult::UnknownReason) << reason;
  }
  for (const char* reason : {"MISSING", "UNREADABLE", "DETACHED", "RESERVES_DEPLETED"}) {
    EXPECT_EQ(Acknowledge("S0", reason), AcknowledgeResult::Done) << reason;
  }
}

TEST_F(Acknowledgments, AreRemovedWithTheirCard) {
  Acknowledge("S0", "MISSING");
  Acknowledge("S1", "MISSING");
  Record(kStart + 1, {});
  m_Store.Forget("S0");
  Record(kStart + 2, CardsOf({"S0"}));
  EXPECT_EQ(ActiveAt(kStart), "S1 MISSING");
}

TEST_F(Acknowledgments, KeepStringsUnchanged) {
  const std::string unusual("a'b\"c; DROP TABLE host_state\xff\0d", 31);
  m_Store.Acknowledge({"S0", "MISSING", unusual, kStart, std::nullopt, unusual}, false);
  const auto all = m_Store.Acknowledgments(kStart);
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].m_User, unusual);
  EXPECT_EQ(all[0].m_Note, unusual);
}

}  // namespace
