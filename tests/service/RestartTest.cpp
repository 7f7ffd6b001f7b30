// Jobs and responses after a restart of the service.

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "console/base/Timestamp.h"
#include "hostkit/Database.h"
#include "service/JobTable.h"
#include "service/api/ReplayCache.h"
#include "service/http/PendingResponse.h"
#include "tests/support/Temporary.h"

namespace {

using Service::Job;
using Service::JobState;
using Service::JobStore;
using Service::JobTable;
using Service::ReplayCache;
using Service::StoredResponse;

class Restarted : public testing::Test {
 protected:
  Restarted() {
    HostKit::ReopenDatabase();
    Restart();
  }

  // Replaces the objects, without a chance to store anything.
  void Restart() {
    m_pReplays.reset();
    m_pJobs = std::make_unique<JobTable>(nullptr, nullptr, &m_Store);
    m_pJobs->Restore();
    m_pReplays = std::make_unique<ReplayCache>([this] { return m_Time; }, &m_Store);
    m_pReplays->Restore();
  }

  // Begins and stores a job. Returns its id.
  std::string Begin(const std::string& operation, bool isDryRun = false,
                    const StoredResponse* response = nullptr) {
    const Job job = m_pJobs->Begin("S1", operation, isDryRun);
    EXPECT_EQ(m_pJobs->Store(job.m_Id, "root", response), "");
    return job.m_Id;
  }

  // Returns the state and the user of a job, and the id and the hint of its problem.
  std::string Text(const std::string& id) const {
    const auto job = m_pJobs->Find(id);
    if (!job) return "none";
    std::string text = std::string(NameOf(job->m_State)) + " " + job->m_Client.m_User;
    if (job->m_Result.is_null()) return text;
    return text + " " + job->m_Result.value("id", "") + ": " + job->m_Result.value("hint", "");
  }

  static Http::Request RequestWith(const std::string& key) {
    Http::Request request;
    request.m_Peer.m_User = 7;
    request.m_Headers["idempotency-key"] = key;
    return request;
  }

  // Answers a request with a key. Returns the status, Location and body, which counts the changes.
  std::string Answer(const std::string& key, const std::string& content, unsigned status = 202) {
    const Http::Reply reply =
        m_pReplays->Answer(*Service::ReplayKey(RequestWith(key)), content, [&]() -> Http::Reply {
          Http::Response response =
              Http::MakeResponse(status, "text/plain", std::to_string(++m_Changes));
          response.m_Headers.emplace_back("Location", "/" + std::to_string(m_Changes));
          return response;
        });
    const auto& response = std::get<Http::Response>(reply);
    const std::string place = response.m_Headers.empty() ? "" : response.m_Headers[0].second;
    return std::to_string(response.m_Status) + " " + place + " " + *response.m_Body;
  }

  TemporaryDirectory m_Directory;
  const ScopedVariable m_Variable{"CORVANE_DATABASE", m_Directory.Path() / "corvane.db"};
  JobStore m_Store;
  std::unique_ptr<JobTable> m_pJobs;
  ReplayCache::Clock::time_point m_Time;
  std::unique_ptr<ReplayCache> m_pReplays;
  int m_Changes = 0;
};

TEST_F(Restarted, ServiceKeepsTheEndsOfJobs) {
  const std::string good = Begin("attach");
  m_pJobs->End(good, JobState::Succeeded, nullptr);
  const std::string bad = Begin("detach");
  m_pJobs->End(bad, JobState::Failed, {{"status", 503}, {"id", "PLUGIN_ENDED"}});
  Restart();
  EXPECT_EQ(Text(good), "SUCCEEDED root");
  EXPECT_EQ(Text(bad), "FAILED root PLUGIN_ENDED: ");
  const Job newest = m_pJobs->List().front();
  EXPECT_EQ(newest.m_Id, bad);
  EXPECT_GE(newest.m_Ended, newest.m_Started);
}

TEST_F(Restarted, ServiceReportsRunningJobsAsInterrupted) {
  struct Row {
    const char* m_Operation;
    bool m_IsDryRun;
    const char* m_Text;
  };
  constexpr Row kRows[] = {
      {"attach", false,
       "INTERRUPTED root INTERRUPTED: The card may still be working, and nothing is rolled back. "
       "Check its state with show."},
      {"format", false,
       "INTERRUPTED root INTERRUPTED: The card continues a format that it has started. Check its "
       "activity with show."},
      {"format", true, "INTERRUPTED root INTERRUPTED: Nothing was changed."},
  };
  for (const Row& row : kRows) {
    const std::string id = Begin(row.m_Operation, row.m_IsDryRun);
    Restart();
    EXPECT_EQ(Text(id), row.m_Text);
    EXPECT_FALSE(m_pJobs->HasRunning());
    const auto interrupted = m_pJobs->TakeInterrupted();
    ASSERT_EQ(interrupted.size(), 1U);
    EXPECT_EQ(interrupted.front().m_Id, id);
    EXPECT_TRUE(m_pJobs->TakeInterrupted().empty());
    Restart();
    EXPECT_EQ(Text(id), row.m_Text);
    EXPECT_TRUE(m_pJobs->TakeInterrupted().empty());
  }
}

// A client that has asked for a job before it was stored does not have its id.
TEST_F(Restarted, ServiceDoesNotKnowAJobThatWasNotStored) {
  const std::string id = m_pJobs->Begin("S1", "attach", false).m_Id;
  Restart();
  EXPECT_EQ(Text(id), "none");
}

TEST_F(Restarted, ServiceCountsFailuresOfItsStopAsInterruptions) {
  const std::string first = Begin("attach");
  m_pJobs->BeginStop();
  m_pJobs->End(first, JobState::Failed, {{"status", 503}, {"id", "PLUGIN_ENDED"}});
  const std::string second = Begin("detach");
  m_pJobs->End(second, JobState::Failed, {{"status", 500}, {"id", "CTRL_DETACH_FAILED"}});
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Text(first).substr(0, 28), "INTERRUPTED root INTERRUPTED");
    EXPECT_EQ(Text(second), "FAILED root CTRL_DETACH_FAILED: ");
    Restart();
  }
}

TEST_F(Restarted, ServiceRepeatsItsResponse) {
  EXPECT_EQ(Answer("a", "x"), "202 /1 1");
  EXPECT_EQ(Answer("b", "x", 409), "409 /2 2");
  Restart();
  EXPECT_EQ(Answer("a", "x"), "202 /1 1");
  EXPECT_EQ(Answer("a", "y").substr(0, 3), "422");
  EXPECT_EQ(Answer("b", "x"), "202 /3 3");
}

// The service was killed after it had stored the job and before it had responded.
TEST_F(Restarted, ServiceRepeatsTheResponseThatWasStoredWithAJob) {
  const auto answer = [&]() -> Http::Reply {
    auto pending = m_pReplays->Pending(RequestWith("a"));
    EXPECT_TRUE(pending);
    EXPECT_FALSE(m_pReplays->Pending({}));
    SetResponse(*pending, Http::MakeResponse(202, "text/plain", "job"));
    Begin("attach", false, &*pending);
    throw std::runtime_error("killed");
  };
  EXPECT_THROW(m_pReplays->Answer(*Service::ReplayKey(RequestWith("a")), "x", answer),
               std::runtime_error);
  Restart();
  EXPECT_EQ(Answer("a", "x"), "202  job");
  EXPECT_EQ(m_Changes, 0);
}

// The age counts from the request, not from the restart.
TEST_F(Restarted, ServiceForgetsResponsesAfterADay) {
  constexpr std::uint64_t kDayMs = 24 * 3600 * 1000;
  constexpr std::uint64_t kHourMs = kDayMs / 24;
  const std::uint64_t now = Console::NowMs();
  for (const auto& [key, begun] :
       {std::pair("7 new", now - 23 * kHourMs), std::pair("7 old", now - kDayMs),
        std::pair("7 future", now + kHourMs)}) {
    StoredResponse response;
    response.m_Key = key;
    response.m_Content = "x";
    response.m_Begun = begun;
    response.m_Status = 200;
    m_Store.Write(response, {});
  }
  Restart();
  EXPECT_EQ(Answer("new", "x"), "200  ");
  EXPECT_EQ(Answer("future", "x"), "200  ");
  EXPECT_EQ(Answer("old", "x"), "202 /1 1");
  m_Time += std::chrono::hours(2);
  EXPECT_EQ(Answer("new", "x"), "202 /2 2");
  // The rows of both old responses were replaced.
  EXPECT_EQ(m_Store.Responses().size(), 3U);
}

}  // namespace
