// Calls that do not return in time, and the values of a card that does not respond.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>

#include "service/CallRunner.h"
#include "service/CardGuard.h"

namespace {

using Service::CallRunner;
using Service::GuardedCard;
using std::chrono::hours;
using std::chrono::milliseconds;

// A call that does not return until `Return`.
class HungCall {
 public:
  std::function<void()> Work() {
    return [future = m_Released.get_future().share()] { future.wait(); };
  }
  void Return() { m_Released.set_value(); }

 private:
  std::promise<void> m_Released;
};

// The runners are never destroyed, because their threads use them until the process exits.
CallRunner& NewRunner() {
  return *new CallRunner;  // NOLINT: see above
}

TEST(CallRunner, ReturnsTheResultOfTheCall) {
  CallRunner& runner = NewRunner();
  int result = 0;
  bool isGivenUp = false;
  EXPECT_TRUE(runner.Run({[&] { result = 7; }, [&] { isGivenUp = true; }, [] {}}, hours(1)));
  EXPECT_EQ(7, result);
  EXPECT_FALSE(isGivenUp);
}

TEST(CallRunner, GivesUpAndReportsTheLateReturn) {
  CallRunner& runner = NewRunner();
  HungCall hung;
  std::promise<void> returned;
  bool isGivenUp = false;
  EXPECT_FALSE(runner.Run({hung.Work(), [&] { isGivenUp = true; }, [&] { returned.set_value(); }},
                          milliseconds(1)));
  EXPECT_TRUE(isGivenUp);
  auto late = returned.get_future();
  EXPECT_EQ(std::future_status::timeout, late.wait_for(milliseconds(0)));
  hung.Return();
  late.wait();
}

TEST(CallRunner, RunsOtherCallsWhileOneHangs) {
  CallRunner& runner = NewRunner();
  HungCall hung;
  std::promise<void> returned;
  EXPECT_FALSE(runner.Run({hung.Work(), [] {}, [&] { returned.set_value(); }}, milliseconds(1)));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(runner.Run({[] {}, [] {}, [] {}}, hours(1)));
  hung.Return();
  returned.get_future().wait();
}

class StuckCard : public testing::Test {
 protected:
  StuckCard() : m_Stuck(*new std::atomic<int>(0)), m_Card(*new GuardedCard(NewRunner(), m_Stuck)) {}

  // Makes a call that hangs. Returns when the time limit of the call has passed.
  void Hang() {
    m_Card.Remember("temperature", 51.5F);
    m_Card.SetRead();
    EXPECT_FALSE(m_Card.Run(m_Hung.Work()));
  }
  void Recover() {
    m_Hung.Return();
    while (m_Card.IsStuck()) std::this_thread::yield();
  }

  HungCall m_Hung;
  std::atomic<int>& m_Stuck;
  GuardedCard& m_Card;
};

TEST_F(StuckCard, KeepsItsValuesAndGetsNoCallsUntilItResponds) {
  Hang();
  EXPECT_EQ("the card is not responding", m_Card.Problem());
  EXPECT_EQ(1, m_Stuck);
  bool isRun = false;
  EXPECT_FALSE(m_Card.Run([&] { isRun = true; }));
  EXPECT_FALSE(isRun);
  EXPECT_EQ(51.5F, std::any_cast<float>(m_Card.Recall("temperature")));
  EXPECT_FALSE(m_Card.Recall("serial_number").has_value());
  Recover();
  EXPECT_EQ(0, m_Stuck);
  EXPECT_TRUE(m_Card.Run([&] { isRun = true; }));
  EXPECT_TRUE(isRun);
}

TEST_F(StuckCard, ClosesItsHandlesInOrderOnceItResponds) {
  Hang();
  std::string order;
  m_Card.RunWhenResponding([&] { order += "close "; });
  m_Card.RunWhenResponding([&] { order += "destroy"; });
  EXPECT_EQ("", order);
  Recover();
  EXPECT_EQ("close destroy", order);
}

TEST_F(StuckCard, RunsACallThatIsAddedWhileTheWaitingCallsRun) {
  Hang();
  std::string order;
  m_Card.RunWhenResponding([&] {
    order += "close ";
    m_Card.RunWhenResponding([&] { order += "destroy"; });
  });
  Recover();
  EXPECT_EQ("close destroy", order);
}

// A reading would be given up after 1 s.
TEST_F(StuckCard, HasTimeForAChangeWhileAnotherCardIsStuck) {
  m_Stuck = 1;
  m_Card.SetRead();
  const auto change = [] { std::this_thread::sleep_for(milliseconds(1100)); };
  EXPECT_TRUE(m_Card.Run(change, Service::CallKind::Change));
}

// The process would be replaced if all limits together exceeded 30 s.
TEST(CallLimit, BecomesShorterWithEachStuckCard) {
  using Service::CallKind;
  using Service::CallLimit;
  EXPECT_EQ(milliseconds(5000), CallLimit(CallKind::Reading, 0));
  EXPECT_EQ(milliseconds(1000), CallLimit(CallKind::Reading, 1));
  EXPECT_EQ(milliseconds(1000), CallLimit(CallKind::Reading, 5));
  EXPECT_EQ(milliseconds(100), CallLimit(CallKind::Reading, 6));
  EXPECT_EQ(milliseconds(25000), CallLimit(CallKind::Change, 0));
  EXPECT_EQ(milliseconds(25000), CallLimit(CallKind::Change, 6));
}

TEST_F(StuckCard, ForgetsTheValuesOfAMissingCard) {
  m_Card.Remember("temperature", 51.5F);
  m_Card.SetRead();
  m_Card.SetProblem("the card cannot be opened: device busy");
  m_Card.SetMissing();
  EXPECT_FALSE(m_Card.WasRead());
  EXPECT_EQ("", m_Card.Problem());
  EXPECT_FALSE(m_Card.Recall("temperature").has_value());
}

class ReportedCard : public testing::Test {
 protected:
  // Renders the report as "SERIAL PATH: REASON", with "omitted " in front if the card is omitted.
  std::string Report() const {
    const auto report = m_Card.Report();
    if (!report) return "";
    return (report->m_IsOmitted ? "omitted " : "") + report->m_SerialNumber + " " +
           report->m_DevicePath + ": " + report->m_Reason;
  }

  std::atomic<int>& m_Stuck = *new std::atomic<int>(0);
  GuardedCard& m_Card = *new GuardedCard(NewRunner(), m_Stuck, "/dev/fct1");
};

TEST_F(ReportedCard, IsNotReportedWhileItsValuesAreCurrent) {
  m_Card.SetSerialNumber("S1");
  EXPECT_EQ("", Report());
  m_Card.SetRead();
  EXPECT_EQ("", Report());
}

TEST_F(ReportedCard, IsReportedWithTheSerialNumberOfItsValues) {
  m_Card.Remember("serial_number", std::string("S1"));
  m_Card.SetRead();
  m_Card.SetProblem("the card cannot be opened: device busy (error 12)");
  EXPECT_EQ("S1 /dev/fct1: the card cannot be opened: device busy (error 12)", Report());
}

TEST_F(ReportedCard, IsReportedUntilThePluginIsRestarted) {
  m_Card.SetSerialNumber("S1");
  m_Card.SetProblem("the card is not responding");
  m_Card.SetOmitted(false);
  EXPECT_EQ("omitted S1 /dev/fct1: the card is not responding", Report());
  EXPECT_FALSE(m_Card.HasReturned());
  m_Card.SetProblem("");
  m_Card.SetOmitted(true);
  EXPECT_EQ("omitted S1 /dev/fct1: the card is responding again and will be read", Report());
  EXPECT_TRUE(m_Card.HasReturned());
}

TEST_F(ReportedCard, IsUnknownAfterItsRemoval) {
  m_Card.SetSerialNumber("S1");
  EXPECT_TRUE(m_Card.IsKnown());
  m_Card.SetOmitted(false);
  m_Card.SetMissing();
  EXPECT_FALSE(m_Card.IsKnown());
  EXPECT_EQ("", Report());
}

}  // namespace
