#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "service/ManagerReports.h"

namespace {

using Service::ManagerReports;
using Service::ProgressWatch;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

class ManagerReportsFixture : public testing::Test {
 protected:
  explicit ManagerReportsFixture(std::optional<std::chrono::microseconds> watchdog = {})
      : m_Reports(m_Store,
                  {[this](const std::string& text) { m_Sent.push_back(text); },
                   [this] { return m_Progress.IsStuck(); }, watchdog, [this] { return m_Now; }}) {}

  void PublishDown(const std::string& reason) {
    Service::Snapshot snapshot;
    snapshot.m_Plugin.m_Reason = reason;
    m_Store.Publish(snapshot);
  }
  void PublishUp() {
    Service::Snapshot snapshot;
    snapshot.m_Plugin.m_IsUp = true;
    m_Store.Publish(snapshot);
  }
  // Advances the clock and returns the messages that the update sends.
  std::vector<std::string> Update(milliseconds after = milliseconds(0)) {
    m_Now += after;
    m_Sent.clear();
    m_Reports.Update();
    return m_Sent;
  }

  ProgressWatch::Clock::time_point m_Now;
  Service::SnapshotStore m_Store;
  ProgressWatch m_Progress{[this] { return m_Now; }};
  std::vector<std::string> m_Sent;
  ManagerReports m_Reports;
};

using Readiness = ManagerReportsFixture;

TEST_F(Readiness, IsReportedWithTheFirstSnapshot) {
  EXPECT_THAT(Update(), IsEmpty());
  PublishUp();
  EXPECT_THAT(Update(), ElementsAre("READY=1\nSTATUS=no supported card found"));
  EXPECT_THAT(Update(), IsEmpty());
}

TEST_F(Readiness, IsReportedWithTheReasonIfThePluginIsDown) {
  PublishDown("not\nfound");
  EXPECT_THAT(Update(), ElementsAre("READY=1\nSTATUS=plug-in down: not\\x0afound"));
  EXPECT_THAT(Update(), IsEmpty());
}

TEST_F(Readiness, IsCheckedMoreOftenUntilReported) {
  EXPECT_EQ(milliseconds(50), m_Reports.Interval());
  PublishUp();
  Update();
  EXPECT_EQ(milliseconds(1000), m_Reports.Interval());
}

TEST_F(Readiness, IsReportedAgainAfterAReload) {
  PublishUp();
  Update();
  m_Sent.clear();
  m_Reports.Reloaded();
  EXPECT_THAT(m_Sent, ElementsAre("READY=1"));
}

TEST_F(Readiness, IsNotReportedByAReloadBeforeTheFirstSnapshot) {
  m_Reports.Reloaded();
  EXPECT_THAT(m_Sent, IsEmpty());
}

TEST_F(Readiness, IsNotRepeatedWithoutAWatchdog) {
  PublishUp();
  Update();
  EXPECT_THAT(Update(std::chrono::hours(1)), IsEmpty());
}

using Status = ManagerReportsFixture;

TEST_F(Status, IsReportedWhenItChanges) {
  PublishUp();
  Update();
  PublishUp();
  EXPECT_THAT(Update(), IsEmpty());
  PublishDown("it has ended");
  EXPECT_THAT(Update(), ElementsAre("STATUS=plug-in down: it has ended"));
  PublishUp();
  EXPECT_THAT(Update(), ElementsAre("STATUS=no supported card found"));
}

TEST_F(Status, IsReportedOnStop) {
  m_Reports.Stopping();
  EXPECT_THAT(m_Sent, ElementsAre("STOPPING=1\nSTATUS=stopping"));
}

class Watchdog : public ManagerReportsFixture {
 protected:
  Watchdog() : ManagerReportsFixture(seconds(30)) {}
};

TEST_F(Watchdog, IsNotifiedThreeTimesPerTimeout) {
  EXPECT_THAT(Update(), ElementsAre("WATCHDOG=1"));
  EXPECT_THAT(Update(milliseconds(9999)), IsEmpty());
  EXPECT_THAT(Update(milliseconds(1)), ElementsAre("WATCHDOG=1"));
}

// A read that hangs normally ends at its own timeout. The service manager restarts the service only
// if it does not.
TEST_F(Watchdog, IsNotNotifiedWhileTheCollectorIsStuck) {
  m_Progress.Begin(seconds(120));
  EXPECT_THAT(Update(seconds(150)), ElementsAre("WATCHDOG=1"));
  EXPECT_THAT(Update(seconds(10)), IsEmpty());
  EXPECT_THAT(Update(seconds(1000)), IsEmpty());
  m_Progress.Begin(seconds(120));
  EXPECT_THAT(Update(), ElementsAre("WATCHDOG=1"));
}

TEST(Interval, IsShortForAShortWatchdogTimeout) {
  Service::SnapshotStore store;
  ManagerReports reports(store,
                         {[](const std::string&) {}, [] { return false; }, milliseconds(600)});
  EXPECT_EQ(milliseconds(50), reports.Interval());
  store.Publish({});
  reports.Update();
  EXPECT_EQ(milliseconds(200), reports.Interval());
}

}  // namespace
