#include "tests/service/state/StateFixture.h"

namespace {

using Service::ForgetResult;
using Service::KnownCard;
using StateTest::Card;
using StateTest::kMinute;
using StateTest::kStart;

class KnownCards : public StateTest::StoreTest {};

TEST_F(KnownCards, HavePositionsInTheOrderOfThePlugin) {
  EXPECT_EQ(Known(), "");
  Record(kStart, CardsOf({"S2", "S1"}));
  EXPECT_EQ(Known(), "a0 S2, a1 S1");
}

TEST_F(KnownCards, KeepTheirPositions) {
  Record(kStart, CardsOf({"S0", "S1", "S2"}));
  Record(kStart + 1, CardsOf({"S2", "S0"}));
  EXPECT_EQ(Known(), "a0 S0, a1 S1 missing, a2 S2");
  Restart();
  RestartService();
  Record(kStart + 2, CardsOf({"S3", "S2", "S0"}));
  EXPECT_EQ(Known(), "a0 S0, a1 S1 missing, a2 S2, a3 S3");
  Record(kStart + 3, CardsOf({"S3", "S2", "S1", "S0"}));
  EXPECT_EQ(Known(), "a0 S0, a1 S1, a2 S2, a3 S3");
}

TEST_F(KnownCards, AreOmittedWithoutAUniqueSerialNumber) {
  Record(kStart, CardsOf({"S0", "", "S0", "S1"}));
  EXPECT_EQ(Known(), "a0 S0, a1 S1");
}

TEST_F(KnownCards, AreMissingWhenThePluginFindsNoCards) {
  Record(kStart, CardsOf({"S0"}));
  Record(kStart + 1, {});
  EXPECT_EQ(Known(), "a0 S0 missing");
}

TEST_F(KnownCards, KeepTheirLastSlotAndSize) {
  Card card = CardOf("S0");
  card.m_Slot = 3;
  card.m_SizeMiB = 1000;
  Record(kStart, {card});
  card.m_Slot = std::nullopt;
  card.m_SizeMiB = 0;
  Record(kStart + 1, {card});
  Record(kStart + 2, {});
  const KnownCard known = m_Store.Cards().at(0);
  EXPECT_EQ(known.m_Slot, 3);
  EXPECT_EQ(known.m_SizeBytes, 1048576000);
  EXPECT_EQ(known.m_Name, "Card S0");
}

TEST_F(KnownCards, KeepTheirFirstAndLastSeenTimes) {
  Record(kStart, CardsOf({"S0"}));
  Record(kStart + kMinute, CardsOf({"S0"}));
  EXPECT_EQ(m_Store.Cards().at(0).m_LastSeen, kStart + kMinute);
  Record(kStart + kMinute + 50, CardsOf({"S0"}));
  Record(kStart + kMinute + 100, {});
  Record(kStart + 5 * kMinute, {});
  const KnownCard known = m_Store.Cards().at(0);
  EXPECT_EQ(known.m_FirstSeen, kStart);
  EXPECT_EQ(known.m_LastSeen, kStart + kMinute + 50);
}

TEST_F(KnownCards, KeepTheirLastSeenTimeAcrossARestart) {
  Record(kStart, CardsOf({"S0"}));
  RestartService();
  Record(kStart + 90 * kMinute, {});
  EXPECT_EQ(m_Store.Cards().at(0).m_LastSeen, kStart);
}

TEST_F(KnownCards, AreNotWrittenWhenNothingChanges) {
  Record(kStart, CardsOf({"S0"}));
  const auto before = std::filesystem::file_size(File().string() + "-wal");
  for (unsigned int i = 1; i < 6; ++i) Record(kStart + i * 10000U - 1, CardsOf({"S0"}));
  EXPECT_EQ(std::filesystem::file_size(File().string() + "-wal"), before);
}

TEST_F(KnownCards, CanBeForgottenWhileMissing) {
  Record(kStart, CardsOf({"S0", "S1"}));
  EXPECT_EQ(m_Store.Forget("S1"), ForgetResult::CardIsPresent);
  EXPECT_EQ(m_Store.Forget("S9"), ForgetResult::UnknownCard);
  Record(kStart + 1, CardsOf({"S1"}));
  EXPECT_EQ(m_Store.Forget("S0"), ForgetResult::Done);
  EXPECT_EQ(m_Store.Forget("S0"), ForgetResult::UnknownCard);
  EXPECT_EQ(Known(), "a1 S1");
}

TEST_F(KnownCards, CanBeForgottenIfTheCallerKnowsThatTheyAreMissing) {
  Record(kStart, CardsOf({"S0", "S1"}));
  EXPECT_EQ(m_Store.Forget("S0", true), ForgetResult::CardIsPresent);
  EXPECT_EQ(m_Store.Forget("S0", false), ForgetResult::Done);
  EXPECT_EQ(Known(), "a1 S1");
}

TEST_F(KnownCards, DoNotReuseThePositionOfAForgottenCard) {
  Record(kStart, CardsOf({"S0", "S1", "S2"}));
  Record(kStart + 1, CardsOf({"S2"}));
  m_Store.Forget("S0");
  Record(kStart + 2, CardsOf({"S2", "S3"}));
  EXPECT_EQ(Known(), "a1 S1 missing, a2 S2, a3 S3");
}

TEST_F(KnownCards, ReuseThePositionOfAForgottenCardIfItWasTheHighest) {
  Record(kStart, CardsOf({"S0", "S1"}));
  Record(kStart + 1, CardsOf({"S0"}));
  m_Store.Forget("S1");
  Record(kStart + 2, CardsOf({"S0", "S2"}));
  EXPECT_EQ(Known(), "a0 S0, a1 S2");
}

TEST_F(KnownCards, AreLimitedTo1024) {
  std::vector<std::string> serials;
  for (int i = 0; i < 1025; ++i) serials.push_back("S" + std::to_string(i));
  Record(kStart, CardsOf(serials));
  EXPECT_EQ(m_Store.Cards().size(), 1024U);
  EXPECT_EQ(m_Store.Cards().back().m_SerialNumber, "S1023");
}

TEST_F(KnownCards, AreRecordedByAHostWithoutAService) {
  m_Store.RecordCards(StateTest::Objects(CardsOf({"S1", "S0"})), kStart);
  EXPECT_EQ(Known(), "a0 S1, a1 S0");
  m_Store.RecordCards(StateTest::Objects(CardsOf({"S0", "S2"})), kStart + kMinute);
  EXPECT_EQ(Known(), "a0 S1 missing, a1 S0, a2 S2");
  EXPECT_EQ(m_Store.Cards().at(0).m_LastSeen, kStart);
  EXPECT_EQ(m_Store.Records().m_NextPosition, 3);
}

// The service has not logged the removal that a host without a service has seen.
TEST_F(KnownCards, AreStillComparedWithTheLogAfterAHostHasRecordedThem) {
  Record(kStart, CardsOf({"S0", "S1"}));
  m_Store.RecordCards(StateTest::Objects(CardsOf({"S0"})), kStart + kMinute);
  RestartService();
  const auto events = Record(kStart + 2 * kMinute, CardsOf({"S0"}));
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].m_EventID, static_cast<std::uint32_t>(PI::Event::CTRL_PNPREMOVE));
  EXPECT_EQ(events[0].m_SerialNumber, "S1");
}

// A database that is older than these tables may contain views with their names, and triggers on
// tables with their names.
TEST_F(KnownCards, IgnoreUnknownTriggersAndViews) {
  Record(kStart, CardsOf({"S0"}));
  Use(":memory:");
  OtherProgram other(File());
  other.Run(
      "CREATE TRIGGER stray AFTER UPDATE ON host_known_cards BEGIN DELETE FROM host_event_log; "
      "END; CREATE UNIQUE INDEX also_stray ON HOST_KNOWN_CARDS (is_present); "
      "DROP TABLE host_state; CREATE VIEW host_state AS SELECT 1");
  Use(File().string());
  Record(kStart + 2 * kMinute, CardsOf({"S0", "S1"}));
  EXPECT_EQ(other.Run("SELECT name FROM sqlite_schema WHERE name LIKE '%stray' OR type = 'view'"),
            "");
  EXPECT_EQ(other.Run("SELECT COUNT(*) FROM host_known_cards"), "2");
}

// Runs the statements in the same way as SQL that a forged card has injected.
TEST_F(KnownCards, CannotBeAccessedByPluginStatements) {
  Record(kStart, CardsOf({"S0"}));
  for (const char* table : {"host_known_cards", "host_state", "host_acknowledgments",
                            "host_history_minutes", "host_history_hours"}) {
    const std::string name = table;
    EXPECT_NE(FailureOf("DELETE FROM " + name), "") << name;
    EXPECT_NE(FailureOf("SELECT * FROM " + name), "") << name;
  }
  EXPECT_EQ(Known(), "a0 S0");
}

}  // namespace
