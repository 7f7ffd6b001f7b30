// A status mask is accepted when three consecutive comparisons have seen the same new value.

#include "tests/plugin/Watch.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Renders each event as in "CTRL_INTERNAL_ERROR object 1".
Lines RenderShort(const std::vector<PI::CEvent>& events) {
  Lines texts;
  for (const PI::CEvent& event : events) {
    texts.push_back(NameOrNumber(HostKit::Family::Event, event.m_EventID) + " object " +
                    std::to_string(event.m_ObjectID - PLUGIN));
  }
  return texts;
}

class Debounce : public WorkerFixture {
 protected:
  Lines CollectAndRender() { return RenderShort(m_Host.CollectEvents()); }

  // Sets the errors of a card and returns the events of the next scan.
  Lines ScanWithErrors(int card, const std::string& mask) {
    Set("card" + std::to_string(card), "current_errors", mask);
    WaitForScans();
    return CollectAndRender();
  }
  // Returns the events of the next scan without changing a card.
  Lines NextScan() {
    WaitForScans();
    return CollectAndRender();
  }
  // Whether the next quick poll sees a difference from the stored record.
  bool QuickPollSeesAChange() {
    const std::size_t before = Scans();
    WaitForWakeUps();
    return Scans() > before;
  }
};

TEST_F(Debounce, AcceptsAMaskInTheThirdComparison) {
  AddCards(1);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  EXPECT_TRUE(QuickPollSeesAChange());  // the stored mask has not changed
  EXPECT_THAT(CollectAndRender(), IsEmpty());
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_THAT(CollectAndRender(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
  EXPECT_FALSE(QuickPollSeesAChange());
}

TEST_F(Debounce, ShowsStatusAndReasonsImmediately) {
  AddCards(1);
  StartWatch();
  Set("card0", "current_errors", "3");
  WaitForScans();
  EXPECT_EQ(Status(FIRST), "FAILED");
  EXPECT_EQ(Reasons(FIRST), "[INTERNAL_ERROR INCOMPATIBLE_PCI_BANDWIDTH ATTACHED]");
  EXPECT_EQ(Value(FIRST_DRIVE, PI::Property::STATUS), "FAILED");
  EXPECT_THAT(CollectAndRender(), IsEmpty());
  Set("card0", "current_errors", "0");
  WaitForScans();
  EXPECT_EQ(Status(FIRST), "OK");
  EXPECT_EQ(Reasons(FIRST), "[ATTACHED]");
  EXPECT_THAT(CollectAndRender(), IsEmpty());
}

TEST_F(Debounce, NeedsThreeComparisonsToReturnToNormal) {
  AddCards(1);
  Set("card0", "current_errors", "1");
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "0"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_NORMAL object 1"));
  EXPECT_FALSE(QuickPollSeesAChange());
}

TEST_F(Debounce, DoesNotReportAMaskSeenInOnlyOneScan) {
  AddCards(1);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  Set("card0", "current_errors", "0");
  EXPECT_FALSE(QuickPollSeesAChange());  // the stored mask never changed
  WaitForScans(4);
  EXPECT_THAT(CollectAndRender(), IsEmpty());
}

TEST_F(Debounce, DoesNotReportAMaskSeenInOnlyTwoScans) {
  AddCards(1);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(ScanWithErrors(0, "0"), IsEmpty());
  WaitForScans(3);
  EXPECT_THAT(CollectAndRender(), IsEmpty());
}

TEST_F(Debounce, DoesNotAcceptAMaskUntilItIsStable) {
  AddCards(1);
  StartWatch();
  for (int i = 0; i < 6; ++i) EXPECT_THAT(ScanWithErrors(0, i % 2 == 0 ? "1" : "0"), IsEmpty());
  // Once the mask is stable, it is accepted in the third comparison.
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
}

TEST_F(Debounce, StartsOverWithEachNewValue) {
  AddCards(1);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(ScanWithErrors(0, "3"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1",
                                      "CTRL_INCOMPATIBLE_PCI_BANDWIDTH object 1"));
}

TEST_F(Debounce, CountsEachMaskSeparately) {
  AddCards(1);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  Set("card0", "current_warnings", "1");
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_TEMPERATURE_ABOVE_WARN object 1"));
}

TEST_F(Debounce, CountsEachCardSeparately) {
  AddCards(2);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  EXPECT_THAT(ScanWithErrors(1, "2"), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INCOMPATIBLE_PCI_BANDWIDTH object 3"));
}

// Every comparison counts, regardless of the difference that caused it: the mask that returned to
// normal is also added to the history.
TEST_F(Debounce, CountsComparisonsCausedByOtherChanges) {
  AddCards(1);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  Set("card0", "temp_internal_deg_c", "60");
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
}

// A newly set bit of the information mask does not raise an event. The tests detect its acceptance
// by the result of a quick poll, by the return to normal, and by the information events that
// warnings can raise in the comparison that accepts it.
class InformationDebounce : public Debounce {
 protected:
  void SetInformation(const std::string& mask) { Set("card0", "current_info", mask); }
};

TEST_F(InformationDebounce, AcceptsTheMaskInTheThirdComparison) {
  AddCards(1);
  StartWatch();
  SetInformation("2");
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_EQ(Reasons(FIRST), "[UNACTIVATED_FIRMWARE ATTACHED]");
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_FALSE(QuickPollSeesAChange());
  EXPECT_THAT(CollectAndRender(), IsEmpty());
}

TEST_F(InformationDebounce, NeedsThreeComparisonsToReturnToNormal) {
  AddCards(1);
  SetInformation("2");
  StartWatch();
  SetInformation("0");
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_THAT(CollectAndRender(), IsEmpty());
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_THAT(CollectAndRender(), ElementsAre("CTRL_NORMAL object 1"));
  EXPECT_FALSE(QuickPollSeesAChange());
}

TEST_F(InformationDebounce, DoesNotAcceptAMaskSeenInOnlyTwoScans) {
  AddCards(1);
  StartWatch();
  SetInformation("2");
  EXPECT_TRUE(QuickPollSeesAChange());
  EXPECT_TRUE(QuickPollSeesAChange());
  SetInformation("0");
  EXPECT_FALSE(QuickPollSeesAChange());
  WaitForScans(3);
  EXPECT_THAT(CollectAndRender(), IsEmpty());
}

// The warning mask is accepted one scan before the information mask.
TEST_F(InformationDebounce, DoesNotEnableInformationEventsBeforeItIsAccepted) {
  AddCards(1);
  StartWatch();
  Set("card0", "current_warnings", "1");
  WaitForScans();
  SetInformation("2");
  WaitForScans();
  EXPECT_THAT(CollectAndRender(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_TEMPERATURE_ABOVE_WARN object 1"));
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_FALSE(QuickPollSeesAChange());
}

// The information mask is accepted one scan before the warning mask.
TEST_F(InformationDebounce, EnablesInformationEventsOnlyInTheComparisonThatAcceptsIt) {
  AddCards(1);
  StartWatch();
  SetInformation("2");
  WaitForScans();
  Set("card0", "current_warnings", "1");
  WaitForScans(2);
  EXPECT_THAT(CollectAndRender(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_TEMPERATURE_ABOVE_WARN object 1"));
}

// While an error is set, a warning changes only its mask. Between the three occurrences the records
// are equal, so no comparison resets the history.
TEST_F(Debounce, CountsOccurrencesWithoutADifferenceBetweenThem) {
  AddCards(1);
  Set("card0", "current_errors", "1");
  StartWatch();
  for (int occurrence = 1; occurrence <= 3; ++occurrence) {
    Set("card0", "current_warnings", "1");
    WaitForScans();
    if (occurrence == 3) break;
    EXPECT_THAT(CollectAndRender(), IsEmpty());
    Set("card0", "current_warnings", "0");
    WaitForScans(2);
    EXPECT_THAT(CollectAndRender(), IsEmpty());
  }
  EXPECT_THAT(CollectAndRender(), ElementsAre("CTRL_TEMPERATURE_ABOVE_WARN object 1"));
}

// As above, but a change of temperature causes a comparison between the occurrences.
TEST_F(Debounce, StartsOverAfterADifferenceBetweenOccurrences) {
  AddCards(1);
  Set("card0", "current_errors", "1");
  StartWatch();
  for (const char* temperature : {"60", "61", "62"}) {
    Set("card0", "current_warnings", "1");
    WaitForScans();
    Set("card0", "current_warnings", "0");
    Set("card0", "temp_internal_deg_c", temperature);
    WaitForScans();
    EXPECT_THAT(CollectAndRender(), IsEmpty());
  }
}

TEST_F(Debounce, KeepsTheStoredMaskWhileTheSamplesDiffer) {
  AddCards(1);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  // The quick polls read the error; in the third scan, the mask changes between the samples.
  int samples = 0;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function != "vsl_current_errors" || ++samples <= 5) return;
    m_Host.Cards().Set("card0", "current_errors", samples % 2 == 0 ? "1" : "2");
  });
  EXPECT_THAT(NextScan(), IsEmpty());
  CardSim::SetHook({});
  EXPECT_EQ(Status(FIRST), "OK");
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
}

// Position 2 has recorded the error twice when its card moves up to position 1, which has not
// recorded it.
TEST_F(Debounce, StartsOverForACardThatMovesUp) {
  AddCards(3);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(2, "1"), IsEmpty());
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPREMOVE object 3"));
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 5"));
}

TEST_F(Debounce, AcceptsImmediatelyAtAPositionThatSawTheSameMaskTwice) {
  AddCards(3);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(1, "1"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPREMOVE object 3"));
  EXPECT_THAT(ScanWithErrors(2, "1"), ElementsAre("CTRL_INTERNAL_ERROR object 5"));
}

// The first card keeps its position and its history when later cards change.
TEST_F(Debounce, ContinuesForACardBeforeARemovedOne) {
  AddCards(2);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPREMOVE object 3"));
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
}

// The list has enough capacity for the card, so no record moves.
TEST_F(Debounce, ContinuesForACardBeforeAReturningOne) {
  AddCards(2);
  StartWatch();
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPREMOVE object 3"));
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  Show(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPADD object 5"));
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
}

// The list has no capacity for a second card, so all records move, without their histories.
TEST_F(Debounce, StartsOverForAllCardsWhenTheListIsReallocated) {
  AddCards(2);
  CardSim::FailCall("vsl_iom_create_by_name", 2, 61, "timeout");
  StartWatch();
  ASSERT_EQ(m_Host.Topology().size(), 3U);
  Hide(1);
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  Show(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPADD object 3"));
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
}

// The masks of a new record are accepted immediately; its history is that of a card without errors.
TEST_F(Debounce, AcceptsTheMasksAndTheRecoveryOfANewCardImmediately) {
  AddCards(2);
  Set("card1", "current_errors", "1");
  StartWatch();
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPREMOVE object 3"));
  Show(1);
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPADD object 5"));
  EXPECT_EQ(Status(ObjectId(5)), "FAILED");
  EXPECT_FALSE(QuickPollSeesAChange());
  EXPECT_THAT(ScanWithErrors(1, "0"), ElementsAre("CTRL_NORMAL object 5"));
}

// The history of a card found at startup is filled with its first masks.
TEST_F(Debounce, DoesNotImmediatelyAcceptTheRecoveryOfACardFoundAtStartup) {
  AddCards(2);
  Set("card1", "current_errors", "1");
  StartWatch();
  EXPECT_THAT(ScanWithErrors(1, "0"), IsEmpty());
}

TEST_F(Debounce, IgnoresAFailedScan) {
  AddCards(2);
  StartWatch();
  EXPECT_THAT(ScanWithErrors(0, "1"), IsEmpty());
  EXPECT_THAT(NextScan(), IsEmpty());
  // The quick poll opens two cards, then the scan does.
  CardSim::FailCall("vsl_open", 4, 62, "unavailable");
  EXPECT_THAT(NextScan(), IsEmpty());
  ASSERT_THAT(TimesOf("16 After ScanSystem() ret = 20003"), SizeIs(1));
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_INTERNAL_ERROR object 1"));
}

}  // namespace
}  // namespace CorvaneTest
