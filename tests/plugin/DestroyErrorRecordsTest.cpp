// The error record passed when a handle is destroyed: scans and quick polls pass one, requests and
// jobs do not.

#include <gmock/gmock.h>

#include "tests/support/DestroySeam.h"
#include "tests/support/JobHost.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;

constexpr const char* RECORD = "record";
constexpr const char* NONE = "none";

// The handles of the adapter, of the format limits and of the card.
TEST(DestroyErrorRecords, ArePassedByAScan) {
  OneCard host;
  DestroyWatch watch;
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(watch.Take(), ElementsAre(RECORD, RECORD, RECORD));
}

TEST(DestroyErrorRecords, ArePassedByAScanOfACardThatCannotBeOpened) {
  OneCard host;
  DestroyWatch watch;
  CardSim::FailCall("vsl_open", 1, 5, "no");
  ASSERT_EQ(host.Initialize(), Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(watch.Take(), ElementsAre(RECORD));
}

TEST(DestroyErrorRecords, ArePassedByAQuickPoll) {
  OneCard host;
  ASSERT_EQ(host.Start(), 0U);
  DestroyWatch watch;
  SleepFor(5100);
  EXPECT_THAT(watch.Take(), ElementsAre(RECORD));
}

TEST(DestroyErrorRecords, ArePassedByAQuickPollOfACardThatCannotBeOpened) {
  OneCard host;
  ASSERT_EQ(host.Start(), 0U);
  DestroyWatch watch;
  CardSim::FailCall("vsl_open", 1, 5, "no");
  SleepFor(5100);
  EXPECT_THAT(watch.Take(), ElementsAre(RECORD));
}

class DestroyErrorRecordsOfRequests : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(m_Host.Initialize(), 0U); }

  OneCard m_Host;
  DestroyWatch m_Watch;
};

TEST_F(DestroyErrorRecordsOfRequests, AreNotPassedForProperties) {
  m_Watch.Take();
  m_Host.Properties(OneCard::ADAPTER);
  EXPECT_THAT(m_Watch.Take(), ElementsAre(NONE));
  for (const char* function : {"vsl_open", "vsl_iom_create_by_name"}) {
    CardSim::FailCall(function, 1, 5, "no");
    m_Host.Properties(OneCard::ADAPTER);
    EXPECT_THAT(m_Watch.Take(), ElementsAre(NONE)) << function;
  }
}

TEST_F(DestroyErrorRecordsOfRequests, AreNotPassedForTheLocateLED) {
  m_Watch.Take();
  EXPECT_EQ(m_Host.Check(OneCard::ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Run(OneCard::ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Run(OneCard::ADAPTER, PI::OP_STOP_LOCATE_DEVICE), 0U);
  EXPECT_THAT(m_Watch.Take(), ElementsAre(NONE, NONE, NONE));
}

using DestroyErrorRecordsOfJobs = JobHost;

// The handles of the job and of the card.
TEST_F(DestroyErrorRecordsOfJobs, AreNotPassed) {
  DestroyWatch watch;
  StartWith({ATTACHED});
  for (const std::uint32_t operation :
       {Number::OP_DETACH, Number::OP_ATTACH, Number::OP_FORCE_DETACH}) {
    watch.Take();
    EXPECT_EQ(m_Host.Run(FIRST, operation), 0U);
    SleepFor(LONGER_THAN_A_JOB_MS);
    EXPECT_THAT(watch.Take(), ElementsAre(NONE, NONE)) << operation;
  }
}

}  // namespace
}  // namespace CorvaneTest
