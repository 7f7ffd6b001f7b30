// Jobs for the operations that clients execute with commands of the plug-in interface.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "service/api/SessionJobs.h"
#include "tests/service/state/Cards.h"

namespace {

using Service::Job;
using Service::JobState;
using Service::SessionJobs;
using std::chrono::milliseconds;

// Hard-coded, so that the test does not rely on the tables under test.
constexpr std::uint32_t kLocate = 50034;
constexpr std::uint32_t kAttach = 50126;
constexpr std::uint32_t kDetach = 50127;

// Ids of the objects that `StateTest::Objects` returns for two cards.
constexpr std::uint64_t kPlugin = 0x0130000000000000UL;
constexpr std::uint64_t kCard = kPlugin + 1;
constexpr std::uint64_t kDrive = kPlugin + 2;
constexpr std::uint64_t kOtherCard = kPlugin + 3;

constexpr pid_t kProcess = 1000;

class SessionJob : public testing::Test {
 protected:
  // A snapshot with two cards: S1, which has this status reason, and S2.
  static Service::Snapshot SnapshotWith(int reason, pid_t process = kProcess) {
    Service::Snapshot snapshot;
    snapshot.m_Plugin.m_IsUp = true;
    snapshot.m_Plugin.m_Process = process;
    StateTest::Card first, second;
    first.m_Serial = "S1";
    first.m_Reasons = {reason};
    second.m_Serial = "S2";
    snapshot.m_Objects = StateTest::Objects({first, second});
    return snapshot;
  }
  static Service::Snapshot Attached() { return SnapshotWith(PI::Value::ATTACHED); }
  static Service::Snapshot Detached() { return SnapshotWith(PI::Value::DETACHED); }
  // A card that is being attached or detached has neither reason.
  static Service::Snapshot Changing() { return SnapshotWith(PI::Value::MINIMAL); }

  static Console::PluginCommand Command(std::uint64_t object, std::uint32_t number) {
    PI::COperation operation;
    operation.m_OperationID = number;
    return {PI::CMD_EXECUTE_OPERATION, object, operation};
  }
  std::optional<std::string> Begin(std::uint64_t object, std::uint32_t number) {
    return m_Sessions.Begin(Attached(), Command(object, number), "ann");
  }
  void Reply(const std::string& id, std::uint32_t result = PI::SUCCESS) {
    m_Sessions.OnReply(id, {result, PI::COperation()}, kProcess);
  }
  void ReportEvent(std::uint32_t number, const std::string& serial) {
    HostKit::LoggedEvent event = {};
    event.m_EventID = number;
    event.m_SerialNumber = serial;
    m_Sessions.OnEvents({event});
  }

  // Renders the state of a job, such as "SUCCEEDED null" or "FAILED 404 NO_SUCH_OBJECT".
  std::string State(const std::string& id) const {
    const auto job = m_Jobs.Find(id);
    if (!job) return "none";
    if (job->m_State == JobState::Running) return "RUNNING";
    if (job->m_State == JobState::Succeeded) return "SUCCEEDED " + job->m_Result.dump();
    return "FAILED " + job->m_Result.at("status").dump() + " " +
           job->m_Result.at("id").get<std::string>();
  }

  Service::JobTable m_Jobs;
  SessionJobs m_Sessions{m_Jobs};
};

TEST_F(SessionJob, BelongsToTheCardOfTheObject) {
  struct Row {
    const char* m_Name;
    std::uint64_t m_Object;
    std::uint32_t m_Operation;
    const char* m_Job;
  };
  const Row rows[] = {
      {"attach", kCard, 50126, "S1 attach"},         {"detach", kCard, 50127, "S1 detach"},
      {"force", kCard, 50128, "S1 detach"},          {"locate", kOtherCard, 50034, "S2 locate"},
      {"stop", kOtherCard, 50035, "S2 stop-locate"}, {"format", kDrive, 50026, "S1 format"},
      {"online", kDrive, 50029, "S1 online"},        {"offline", kDrive, 50030, "S1 offline"},
      {"unknown operation", kCard, 7, "S1 7"},       {"plug-in", kPlugin, 50034, "none"},
      {"unknown object", 5, 50034, "none"},
  };
  for (const Row& row : rows) {
    const auto id = Begin(row.m_Object, row.m_Operation);
    const auto job = m_Jobs.Find(id.value_or(""));
    EXPECT_EQ(row.m_Job, job ? job->m_Serial + " " + job->m_Operation : "none") << row.m_Name;
    if (!job) continue;
    EXPECT_EQ(Service::JobOrigin::Session, job->m_Client.m_Origin) << row.m_Name;
    EXPECT_EQ("ann", job->m_Client.m_User) << row.m_Name;
    m_Sessions.Drop(*id);
    EXPECT_EQ("none", State(*id)) << row.m_Name;
  }
}

TEST_F(SessionJob, IsNotNeededForOtherCommands) {
  PI::COperation operation;
  operation.m_OperationID = kLocate;
  EXPECT_FALSE(m_Sessions.Begin(Attached(), {PI::CMD_CHECK_OPERATION, kCard, operation}, ""));
  EXPECT_FALSE(m_Sessions.Begin(
      Attached(), {PI::CMD_SET_PROPERTY, kCard, PI::CProperty(PI::Property::NAME, false)}, ""));
}

TEST_F(SessionJob, IsTheOnlyOneOfItsCard) {
  const auto locate = Begin(kCard, kLocate);
  EXPECT_THROW(Begin(kDrive, 50026), Console::Failure);
  EXPECT_THROW(m_Jobs.Begin("S1", "attach", false), Console::Failure);
  EXPECT_TRUE(Begin(kOtherCard, kLocate));
  Reply(*locate);
  EXPECT_TRUE(Begin(kDrive, 50026));
}

TEST_F(SessionJob, EndsWithTheReply) {
  const auto good = Begin(kCard, kLocate);
  EXPECT_EQ("RUNNING", State(*good));
  Reply(*good);
  EXPECT_EQ("SUCCEEDED null", State(*good));
  const auto bad = Begin(kCard, kLocate);
  Reply(*bad, PI::ERR_COMMAND_ERROR);
  EXPECT_EQ("FAILED 500 ERR_COMMAND_ERROR", State(*bad));
}

TEST_F(SessionJob, OfADetachEndsWithTheSnapshotThatShowsIt) {
  const auto id = Begin(kCard, kDetach);
  m_Sessions.OnSnapshot(Detached());
  EXPECT_EQ("RUNNING", State(*id)) << "the plug-in has not replied";
  Reply(*id);
  EXPECT_EQ("RUNNING", State(*id));
  m_Sessions.OnSnapshot(Attached());
  m_Sessions.OnSnapshot(Changing());
  EXPECT_EQ("RUNNING", State(*id));
  m_Sessions.OnSnapshot(Detached());
  EXPECT_EQ("SUCCEEDED null", State(*id));
}

TEST_F(SessionJob, OfAnAttachEndsWithTheSnapshotThatShowsIt) {
  const auto id = Begin(kCard, kAttach);
  Reply(*id);
  m_Sessions.OnSnapshot(Detached());
  EXPECT_EQ("RUNNING", State(*id));
  m_Sessions.OnSnapshot(Attached());
  EXPECT_EQ("SUCCEEDED null", State(*id));
}

TEST_F(SessionJob, OfADetachFailsWithTheEventOfItsCard) {
  const auto id = Begin(kCard, kDetach);
  Reply(*id);
  ReportEvent(PI::Event::CTRL_DETACH_FAILED, "S2");
  ReportEvent(PI::Event::CTRL_ATTACH_FAILED, "S1");
  EXPECT_EQ("RUNNING", State(*id));
  ReportEvent(PI::Event::CTRL_DETACH_FAILED, "S1");
  EXPECT_EQ("FAILED 500 CTRL_DETACH_FAILED", State(*id));
}

TEST_F(SessionJob, OfADetachFailsWithAnEventBeforeTheReply) {
  const auto id = Begin(kCard, kDetach);
  ReportEvent(PI::Event::CTRL_DETACH_FAILED, "S1");
  Reply(*id);
  EXPECT_EQ("FAILED 500 CTRL_DETACH_FAILED", State(*id));
}

TEST_F(SessionJob, FailsIfTheProcessEnds) {
  const auto down = Begin(kCard, kDetach);
  Reply(*down);
  Service::Snapshot stale = Attached();
  stale.m_Plugin.m_IsUp = false;
  m_Sessions.OnSnapshot(stale);
  EXPECT_EQ("FAILED 503 PLUGIN_ENDED", State(*down));
  const auto replaced = Begin(kCard, kDetach);
  Reply(*replaced);
  m_Sessions.OnSnapshot(SnapshotWith(PI::Value::DETACHED, kProcess + 1));
  EXPECT_EQ("FAILED 503 PLUGIN_ENDED", State(*replaced));
}

TEST_F(SessionJob, FailsIfTheCardIsRemoved) {
  const auto id = Begin(kCard, kDetach);
  Reply(*id);
  Service::Snapshot snapshot = Attached();
  StateTest::Card other;
  other.m_Serial = "S2";
  snapshot.m_Objects = StateTest::Objects({other});
  m_Sessions.OnSnapshot(snapshot);
  EXPECT_EQ("FAILED 404 NO_SUCH_OBJECT", State(*id));
}

TEST_F(SessionJob, FailsAfterTheTimeout) {
  SessionJobs sessions(m_Jobs, milliseconds(0));
  const auto late = sessions.Begin(Attached(), Command(kCard, kDetach), "ann");
  sessions.OnReply(*late, {PI::SUCCESS, PI::COperation()}, kProcess);
  sessions.OnSnapshot(Changing());
  EXPECT_EQ("FAILED 504 TIMED_OUT", State(*late));
  const auto done = sessions.Begin(Attached(), Command(kCard, kDetach), "ann");
  sessions.OnReply(*done, {PI::SUCCESS, PI::COperation()}, kProcess);
  sessions.OnSnapshot(Detached());
  EXPECT_EQ("SUCCEEDED null", State(*done));
}

}  // namespace
