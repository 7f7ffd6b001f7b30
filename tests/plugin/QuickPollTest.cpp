// The quick poll between two scans: its reads, the cards that it skips, and the changes that make
// it start a scan.

#include <memory>

#include "tests/plugin/Watch.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

// The calls of a quick poll for a card that has every attribute.
Lines CallsOfPoll(const std::string& path, const std::string& card) {
  Lines calls = {"vsl_iom_create_by_name " + path, "vsl_open " + card};
  for (const std::string mask : {"current_errors ", "current_warnings ", "current_info "}) {
    calls.push_back("vsl_has_" + mask + card);
    const Lines samples(5, "vsl_" + mask + card);
    calls.insert(calls.end(), samples.begin(), samples.end());
  }
  for (const std::string call :
       {"vsl_has_iom_state ", "vsl_iom_state ", "vsl_close ", "vsl_destroy "}) {
    calls.push_back(call + card);
  }
  return calls;
}

Lines operator+(Lines left, const Lines& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class QuickPoll : public WorkerFixture {
 protected:
  // Clears the record and waits for the next wake-up.
  void Poll() {
    ClearRecords();
    WaitForWakeUps();
  }
  // Waits for the next wake-up and returns whether it started a scan.
  bool NextPollStartsScan() {
    const std::size_t before = Scans();
    WaitForWakeUps();
    return Scans() == before + 1;
  }
  void ExpectNoLeaks() {
    EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
    EXPECT_THAT(CardSim::Misuse(), IsEmpty());
    ExpectNoLockHeld();
  }
};

TEST_F(QuickPoll, ReadsOnlyTheMasksAndTheState) {
  AddCards(1);
  StartWatch();
  Poll();
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(CallsOfPoll("/dev/fct0", "card#1")));
  ExpectNoLeaks();
}

TEST_F(QuickPoll, ReadsTheCardsInOrder) {
  AddCards(3);
  StartWatch();
  Poll();
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(CallsOfPoll("/dev/fct0", "card#1") +
                                               CallsOfPoll("/dev/fct1", "card#2") +
                                               CallsOfPoll("/dev/fct2", "card#3")));
  ExpectNoLeaks();
}

TEST_F(QuickPoll, DoesNotReadMissingAttributes) {
  AddCards(1);
  RemoveMasks("card0");
  m_Host.Cards().MakeAbsent("card0", "iom_state");
  StartWatch();
  Poll();
  EXPECT_THAT(m_Host.Calls(),
              ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                          "vsl_has_current_errors card#1", "vsl_has_current_warnings card#1",
                          "vsl_has_current_info card#1", "vsl_has_iom_state card#1",
                          "vsl_close card#1", "vsl_destroy card#1"));
  EXPECT_EQ(Scans(), 0U);
  ExpectNoLeaks();
}

TEST_F(QuickPoll, TracesItsWakeUpAndItsOneLock) {
  AddCards(2);
  StartWatch();
  Poll();
  EXPECT_THAT(RecordedLines(),
              ElementsAre("4 Worker() timeout event received", "8 Before m_DataLock.Wait(INFINITE)",
                          "8 After m_DataLock.Wait(INFINITE)", "8 Before m_DataLock.Release ()",
                          "8 After m_DataLock.Release ()", "2 Worker() before restart interval"));
}

TEST_F(QuickPoll, HoldsOnlyTheDataLock) {
  AddCards(1);
  StartWatch();
  std::vector<HostKit::LockView> locks;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function == "vsl_iom_state") locks = HostKit::Locks();
  });
  WaitForWakeUps();
  ASSERT_THAT(locks, SizeIs(2));
  EXPECT_EQ(locks[0].depth, 1U);
  EXPECT_EQ(locks[1].depth, 0U);
}

TEST_F(QuickPoll, ScansImmediatelyAfterAChangeWithoutReleasingTheObjects) {
  AddCards(1);
  StartWatch();
  Set("card0", "iom_state", "4");
  Poll();
  const Lines lines = RecordedLines();
  const Lines begin(lines.begin(), lines.begin() + 6);
  EXPECT_THAT(
      begin,
      ElementsAre("4 Worker() timeout event received", "8 Before m_DataLock.Wait(INFINITE)",
                  "8 After m_DataLock.Wait(INFINITE)", "8 Before m_EventsLock.Wait(INFINITE)",
                  "8 After m_EventsLock.Wait(INFINITE)", "16 Before ScanSystem()"));
  EXPECT_THAT(TimesOf("8 Before m_DataLock.Wait(INFINITE)"), SizeIs(1));
  const Lines calls = m_Host.Calls();
  const Lines poll(calls.begin(), calls.begin() + 24);
  EXPECT_THAT(poll, ElementsAreArray(CallsOfPoll("/dev/fct0", "card#1")));
  EXPECT_EQ(calls[24], "vsl_iom_create_by_name /dev/fct0");
}

// All cards are read completely, even if an earlier card has changed.
TEST_F(QuickPoll, ContinuesAfterTheFirstChange) {
  AddCards(3);
  StartWatch();
  Set("card0", "current_errors", "1");
  Set("card1", "iom_state", "4");
  Poll();
  ASSERT_EQ(Scans(), 1U);
  Lines calls = m_Host.Calls();
  calls.resize(3 * 24);
  EXPECT_THAT(calls, ElementsAreArray(CallsOfPoll("/dev/fct0", "card#1") +
                                      CallsOfPoll("/dev/fct1", "card#2") +
                                      CallsOfPoll("/dev/fct2", "card#3")));
}

struct Change {
  const char* name;
  const char* attribute;
  const char* value;
  bool startsScan;
};

void PrintTo(const Change& change, std::ostream* stream) {
  *stream << change.name;
}

const Change CHANGES[] = {
    {"Error", "current_errors", "1", true},
    {"UnnamedError", "current_errors", "0x400", true},
    {"Warning", "current_warnings", "1", true},
    {"UnnamedWarning", "current_warnings", "0x2000", true},
    {"AdjacentToIgnoredWarning", "current_warnings", "0x100", true},
    {"IgnoredWarning", "current_warnings", "0x200", false},
    {"Info", "current_info", "2", true},
    {"IgnoredInfo", "current_info", "1", false},
    {"StateDetached", "iom_state", "0", true},
    {"StateAttaching", "iom_state", "1", true},
    {"StateDetaching", "iom_state", "3", true},
    {"StateUnknown", "iom_state", "99", true},
    {"Temperature", "temp_internal_deg_c", "80", false},
    {"Serial", "serial_number", "other", false},
    {"FormattedSize", "iom_format_size_bytes", "1048576", false},
    {"Throttling", "write_throttling_state", "2", false},
    {"MinimalModeReason", "minimal_mode_reason", "1", false},
};

class EachChange : public QuickPoll, public testing::WithParamInterface<Change> {};

TEST_P(EachChange, StartsAScanIfExpected) {
  AddCards(1);
  StartWatch();
  Set("card0", GetParam().attribute, GetParam().value);
  EXPECT_EQ(NextPollStartsScan(), GetParam().startsScan);
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_P(EachChange, StartsAScanForALaterCardIfExpected) {
  AddCards(2);
  StartWatch();
  Set("card1", GetParam().attribute, GetParam().value);
  EXPECT_EQ(NextPollStartsScan(), GetParam().startsScan);
}

TEST_P(EachChange, StartsAScanForAnEarlierCardIfExpected) {
  AddCards(2);
  StartWatch();
  Set("card0", GetParam().attribute, GetParam().value);
  EXPECT_EQ(NextPollStartsScan(), GetParam().startsScan);
}

INSTANTIATE_TEST_SUITE_P(Values, EachChange, testing::ValuesIn(CHANGES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(QuickPoll, TreatsAMissingStateAsDetached) {
  AddCards(1);
  StartWatch();
  m_Host.Cards().MakeAbsent("card0", "iom_state");
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Status(FIRST), "FAILED");
  EXPECT_FALSE(NextPollStartsScan());  // the scan also treated it as detached
}

TEST_F(QuickPoll, IgnoresAMaskThatBecomesAbsent) {
  AddCards(1);
  Set("card0", "current_errors", "1");
  StartWatch();
  m_Host.Cards().MakeAbsent("card0", "current_errors");
  EXPECT_FALSE(NextPollStartsScan());
}

class OutlierSample : public QuickPoll, public testing::WithParamInterface<int> {};

TEST_P(OutlierSample, LeavesTheMaskUnchanged) {
  AddCards(1);
  StartWatch();
  int sample = 0;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function != "vsl_current_errors") return;
    m_Host.Cards().Set("card0", "current_errors", ++sample == GetParam() ? "1" : "0");
  });
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 0U);
  EXPECT_EQ(sample, 5);
}

INSTANTIATE_TEST_SUITE_P(Samples, OutlierSample, testing::Range(1, 6));

TEST_F(QuickPoll, DetectsChangesInOtherMasksWhenOneIsUnsettled) {
  AddCards(1);
  StartWatch();
  Set("card0", "current_warnings", "1");
  int sample = 0;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function != "vsl_current_errors") return;
    m_Host.Cards().Set("card0", "current_errors", ++sample % 2 == 1 ? "1" : "0");
  });
  EXPECT_TRUE(NextPollStartsScan());
}

TEST_F(QuickPoll, SkipsACardThatCannotBeFound) {
  AddCards(2);
  StartWatch();
  Set("card0", "iom_state", "0");
  CardSim::Reset();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 61, "gone");
  WaitForWakeUps();
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(Lines{"vsl_iom_create_by_name /dev/fct0"} +
                                               CallsOfPoll("/dev/fct1", "card#1")));
  EXPECT_THAT(TimesOf("16 Worker, vsl_iom_create_by_name = 61 (gone)"), SizeIs(1));
  EXPECT_EQ(Scans(), 0U);
  ExpectNoLeaks();
}

TEST_F(QuickPoll, SkipsACardThatCannotBeOpened) {
  AddCards(2);
  StartWatch();
  Set("card0", "iom_state", "0");
  CardSim::Reset();
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForWakeUps();
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(Lines{"vsl_iom_create_by_name /dev/fct0",
                                                     "vsl_open card#1", "vsl_destroy card#1"} +
                                               CallsOfPoll("/dev/fct1", "card#2")));
  EXPECT_THAT(TimesOf("16 Worker, vsl_open = 62 (unavailable)"), SizeIs(1));
  EXPECT_EQ(Scans(), 0U);
  ExpectNoLeaks();
}

TEST_F(QuickPoll, DetectsAChangeAfterASkippedCard) {
  AddCards(2);
  StartWatch();
  Set("card1", "iom_state", "0");
  CardSim::Reset();
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 1U);
}

TEST_F(QuickPoll, PollsASkippedCardAgainNextTime) {
  AddCards(1);
  StartWatch();
  Set("card0", "iom_state", "0");
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 0U);
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 1U);
}

// The control device of a removed card stays in the list; the poll uses the adapters.
TEST_F(QuickPoll, PollsOnlyTheRemainingAdapters) {
  AddCards(3);
  StartWatch();
  Hide(1);
  WaitForScans();
  Poll();
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(CallsOfPoll("/dev/fct0", "card#1") +
                                               CallsOfPoll("/dev/fct2", "card#2")));
  Hide(0);
  Hide(2);
  WaitForScans();
  Poll();
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_EQ(Scans(), 0U);
}

TEST_F(QuickPoll, DoesNotChangeTheObjects) {
  AddCards(1);
  StartWatch();
  const Lines before = Tree();
  Set("card0", "current_errors", "1");
  // The scan that the poll requests cannot acquire its lock.
  HostKit::FailLockWait(2, 1);
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 0U);
  EXPECT_EQ(Tree(), before);
  EXPECT_EQ(ChangeCount(FIRST), 0U);
  EXPECT_EQ(ChangeCount(PLUGIN), 0U);
  EXPECT_EQ(Status(FIRST), "OK");
  EXPECT_EQ(Reasons(FIRST), "[ATTACHED]");
}

// While an attach job runs on a card, its attached state counts as attaching; during a detach job,
// its detached state counts as detaching.
class QuickPollDuringAJob : public QuickPoll {
 protected:
  // Starts the job on a card and blocks it before its end.
  void StartBlockedJob(std::uint64_t adapter, std::uint32_t operation) {
    for (const std::string& card : m_Host.Cards().Cards()) {
      Set(card, "attach_ms", "0");
      Set(card, "detach_ms", "0");
    }
    m_pHeld = std::make_unique<HeldCall>("vsl_op_wait_for_result");
    ASSERT_EQ(m_Host.Run(adapter, operation), 0U);
    m_pHeld->WaitUntilReached();
  }
  void TearDown() override { m_pHeld.reset(); }

  std::unique_ptr<HeldCall> m_pHeld;
};

TEST_F(QuickPollDuringAJob, AnAttachedCardInAnAttachJobCountsAsAttaching) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  StartWatch();
  StartBlockedJob(FIRST, PI::OP_ATTACH);
  Set("card0", "iom_state", "1");
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Activity(FIRST), "ATTACHING");
  Set("card0", "iom_state", "2");
  EXPECT_FALSE(NextPollStartsScan());
  m_pHeld->Release();
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Activity(FIRST), "IDLE");
  EXPECT_EQ(Reasons(FIRST), "[ATTACHED]");
}

TEST_F(QuickPollDuringAJob, ADetachedCardInADetachJobCountsAsDetaching) {
  AddCards(1);
  StartWatch();
  StartBlockedJob(FIRST, PI::OP_DETACH);
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Activity(FIRST), "DETACHING");
  Set("card0", "iom_state", "0");
  EXPECT_FALSE(NextPollStartsScan());
  m_pHeld->Release();
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Reasons(FIRST), "[DETACHED]");
}

TEST_F(QuickPollDuringAJob, ADetachedCardInAForcedDetachJobCountsAsDetaching) {
  AddCards(1);
  StartWatch();
  StartBlockedJob(FIRST, PI::OP_FORCE_DETACH);
  EXPECT_TRUE(NextPollStartsScan());
  Set("card0", "iom_state", "0");
  EXPECT_FALSE(NextPollStartsScan());
}

// The scan also uses the corrected state, so poll and scan agree regardless of their order.
TEST_F(QuickPollDuringAJob, DoesNotRequestAScanEachTimeWhileTheJobRuns) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  StartWatch("255");
  StartBlockedJob(FIRST, PI::OP_ATTACH);
  Set("card0", "iom_state", "2");
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Activity(FIRST), "ATTACHING");
  EXPECT_FALSE(NextPollStartsScan());
  EXPECT_FALSE(NextPollStartsScan());
}

struct UncorrectedState {
  const char* name;
  const char* initial;
  std::uint32_t operation;
  const char* later;  // a state during the job that is not corrected
};

void PrintTo(const UncorrectedState& value, std::ostream* stream) {
  *stream << value.name;
}

const UncorrectedState UNCORRECTED_STATES[] = {
    {"DetachedWhileAttaching", "0", PI::OP_ATTACH, "0"},
    {"DetachingWhileAttaching", "0", PI::OP_ATTACH, "3"},
    {"FailedWhileAttaching", "0", PI::OP_ATTACH, "6"},
    {"AttachedWhileDetaching", "2", PI::OP_DETACH, "2"},
    {"AttachingWhileDetaching", "2", PI::OP_DETACH, "1"},
    {"BusyWhileDetaching", "2", PI::OP_DETACH, "4"},
};

class EachUncorrectedState : public QuickPollDuringAJob,
                             public testing::WithParamInterface<UncorrectedState> {};

TEST_P(EachUncorrectedState, IsUsedAsRead) {
  AddCards(1);
  Set("card0", "iom_state", GetParam().initial);
  StartWatch();
  StartBlockedJob(FIRST, GetParam().operation);
  EXPECT_TRUE(NextPollStartsScan());
  Set("card0", "iom_state", GetParam().later);
  EXPECT_TRUE(NextPollStartsScan());
}

INSTANTIATE_TEST_SUITE_P(States, EachUncorrectedState, testing::ValuesIn(UNCORRECTED_STATES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(QuickPollDuringAJob, AJobDoesNotCorrectAnotherCard) {
  AddCards(2);
  Set("card0", "iom_state", "0");
  Set("card1", "iom_state", "1");
  StartWatch();
  StartBlockedJob(FIRST, PI::OP_ATTACH);
  EXPECT_TRUE(NextPollStartsScan());  // the job's own card
  Set("card1", "iom_state", "2");
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Reasons(SECOND), "[ATTACHED]");
}

class EachDetachJob : public QuickPollDuringAJob,
                      public testing::WithParamInterface<std::uint32_t> {};

TEST_P(EachDetachJob, DoesNotCorrectAnotherCard) {
  AddCards(2);
  Set("card1", "iom_state", "3");
  StartWatch();
  StartBlockedJob(FIRST, GetParam());
  EXPECT_TRUE(NextPollStartsScan());  // the job's own card
  Set("card1", "iom_state", "0");
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Reasons(SECOND), "[DETACHED]");
}

TEST_P(EachDetachJob, DoesNotCorrectAMissingState) {
  AddCards(1);
  StartWatch();
  StartBlockedJob(FIRST, GetParam());
  EXPECT_TRUE(NextPollStartsScan());  // for the detaching state
  m_Host.Cards().MakeAbsent("card0", "iom_state");
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Status(FIRST), "FAILED");
  EXPECT_FALSE(NextPollStartsScan());
}

INSTANTIATE_TEST_SUITE_P(Operations, EachDetachJob,
                         testing::Values(PI::OP_DETACH, PI::OP_FORCE_DETACH));

TEST_F(QuickPollDuringAJob, AFinishedJobDoesNotCorrectTheState) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  Set("card0", "attach_ms", "0");
  StartWatch();
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  Settle();
  EXPECT_TRUE(NextPollStartsScan());
  EXPECT_EQ(Reasons(FIRST), "[ATTACHED]");
  EXPECT_FALSE(NextPollStartsScan());
}

}  // namespace
}  // namespace CorvaneTest
