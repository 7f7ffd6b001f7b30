#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "hostkit/Texts.h"
#include "service/JobTable.h"

namespace {

using Service::Job;
using Service::JobState;
using Service::JobTable;

std::string Operations(const std::vector<Job>& jobs) {
  std::string operations;
  for (const Job& job : jobs) operations += (operations.empty() ? "" : " ") + job.m_Operation;
  return operations;
}

// Begins a detach. Returns why it was refused; empty if it was not.
std::string Refusal(JobTable& table, const std::string& serial) {
  try {
    table.Begin(serial, "detach", false);
    return {};
  } catch (const Console::Failure& failure) {
    EXPECT_EQ(Console::ExitCode::Refused, failure.m_Code);
    return failure.m_Id + ": " + failure.what();
  }
}

TEST(JobTable, HasOneRunningJobPerCard) {
  JobTable table;
  const auto first = table.Begin("S1", "attach", false);
  EXPECT_EQ(JobState::Running, first.m_State);
  EXPECT_TRUE(first.m_Result.is_null());
  EXPECT_EQ("JOB_RUNNING: another job is running on card S1 (attach)", Refusal(table, "S1"));
  EXPECT_EQ("", Refusal(table, "S2"));
  table.End(first.m_Id, JobState::Failed, {{"id", "X"}});
  EXPECT_EQ("", Refusal(table, "S1"));
}

TEST(JobTable, KnowsWhetherAJobIsRunning) {
  JobTable table;
  EXPECT_FALSE(table.HasRunning());
  const auto first = table.Begin("S1", "attach", false);
  const auto second = table.Begin("S2", "attach", false);
  table.End(second.m_Id, JobState::Succeeded, nullptr);
  EXPECT_TRUE(table.HasRunning());
  table.End(first.m_Id, JobState::Failed, nullptr);
  EXPECT_FALSE(table.HasRunning());
}

TEST(JobTable, ReportsTheBusyCardsAndWhatTheyDo) {
  std::vector<std::string> reported;
  JobTable table([&](const Service::BusyCards& cards) {
    std::string text;
    for (const Service::BusyCard& card : cards) {
      text += card.m_Serial + "=" + HostKit::NameOf(HostKit::Family::Value, card.m_Activity) + " ";
    }
    reported.push_back(text);
  });
  const auto format = table.Begin("S1", "format", false);
  const auto attach = table.Begin("S2", "attach", false);
  table.Begin("S3", "format", true);
  table.Begin("S4", "locate", false);
  table.Begin("S5", "detach", false);
  EXPECT_EQ("S1=BUSY S2=ATTACHING S5=DETACHING ", reported.back());
  table.End(format.m_Id, JobState::Failed, nullptr);
  EXPECT_EQ("S2=ATTACHING S5=DETACHING ", reported.back());
  table.Drop(attach.m_Id);
  EXPECT_EQ("S5=DETACHING ", reported.back());
  EXPECT_EQ(7U, reported.size());
}

TEST(JobTable, ReportsTheEndOfAJob) {
  std::vector<Job> ended;
  JobTable table(nullptr, [&](const Job& job) { ended.push_back(job); });
  const auto job = table.Begin("S1", "attach", false);
  EXPECT_TRUE(ended.empty());
  table.End(job.m_Id, JobState::Failed, {{"id", "X"}});
  ASSERT_EQ(1U, ended.size());
  EXPECT_EQ("S1", ended[0].m_Serial);
  EXPECT_EQ(JobState::Failed, ended[0].m_State);
  EXPECT_EQ("X", ended[0].m_Result.at("id"));
}

TEST(JobTable, KeepsTheResult) {
  JobTable table;
  const auto job = table.Begin("S1", "attach", true);
  table.End(job.m_Id, JobState::Succeeded, {{"exit_code", 0}});
  const auto ended = table.Find(job.m_Id);
  ASSERT_TRUE(ended);
  EXPECT_EQ(JobState::Succeeded, ended->m_State);
  EXPECT_EQ(0, ended->m_Result.at("exit_code"));
  EXPECT_TRUE(ended->m_IsDryRun);
  EXPECT_GE(ended->m_Ended, ended->m_Started);
}

TEST(JobTable, ListsTheNewestFirst) {
  JobTable table;
  table.Begin("S1", "one", false);
  table.Begin("S2", "two", false);
  table.Begin("S3", "three", false);
  EXPECT_EQ("three two one", Operations(table.List()));
}

TEST(JobTable, RemovesAJobThatCouldNotBeStarted) {
  JobTable table;
  const auto job = table.Begin("S1", "attach", false);
  table.Drop(job.m_Id);
  EXPECT_FALSE(table.Find(job.m_Id));
  EXPECT_EQ("", Refusal(table, "S1"));
}

TEST(JobTable, DoesNotReuseIds) {
  JobTable table;
  const auto dropped = table.Begin("S1", "attach", false);
  table.Drop(dropped.m_Id);
  EXPECT_NE(dropped.m_Id, table.Begin("S1", "attach", false).m_Id);
  EXPECT_FALSE(JobTable().Find(dropped.m_Id));
}

TEST(JobTable, KeepsTheNewestThousandAndAllRunningJobs) {
  JobTable table;
  const auto running = table.Begin("S0", "running", false);
  for (int i = 1; i <= 1000; ++i) {
    const auto job = table.Begin("S1", std::to_string(i), false);
    table.End(job.m_Id, JobState::Succeeded, nullptr);
  }
  const auto jobs = table.List();
  ASSERT_EQ(1000U, jobs.size());
  EXPECT_EQ("1000", jobs.front().m_Operation);
  EXPECT_EQ("2", jobs.at(998).m_Operation);
  EXPECT_EQ(running.m_Id, jobs.back().m_Id);
}

}  // namespace
