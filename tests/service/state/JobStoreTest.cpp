#include <filesystem>

#include "service/state/JobStore.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

using Service::JobStore;
using Service::StoredJob;
using Service::StoredResponse;

class StoredJobs : public HostDatabaseTest {
 protected:
  static StoredJob JobOf(const std::string& id, const std::string& state = "RUNNING") {
    StoredJob job;
    job.m_Id = id;
    job.m_SerialNumber = "S1";
    job.m_Operation = "attach";
    job.m_Origin = "API";
    job.m_State = state;
    job.m_Result = "null";
    return job;
  }

  static StoredResponse ResponseTo(const std::string& key, std::uint64_t begun,
                                   const std::string& body) {
    StoredResponse response;
    response.m_Key = key;
    response.m_Begun = begun;
    response.m_Body = body;
    return response;
  }

  // Renders the jobs as "1 RUNNING, 2 FAILED", as read by a new process.
  static std::string Jobs() {
    std::string text;
    for (const StoredJob& job : JobStore().Jobs()) {
      text += (text.empty() ? "" : ", ") + job.m_Id + " " + job.m_State;
    }
    return text;
  }

  // Renders the responses as "KEY BEGUN BODY, ...".
  static std::string Responses() {
    std::string text;
    for (const StoredResponse& each : JobStore().Responses()) {
      text += (text.empty() ? "" : ", ") + each.m_Key + " " + std::to_string(each.m_Begun) + " " +
              each.m_Body;
    }
    return text;
  }

  std::vector<std::string> m_Failures;
  JobStore m_Store{[this](const std::string& reason) { m_Failures.push_back(reason); }};
};

TEST_F(StoredJobs, KeepAllTheirFields) {
  StoredJob job = JobOf("1a-2", "SUCCEEDED");
  job.m_IsDryRun = true;
  job.m_User = "root";
  job.m_Started = 1700000000123;
  job.m_Ended = 1700000004567;
  job.m_Result = R"({"text":"\u0000é"})";
  EXPECT_EQ(m_Store.Write(job), "");
  const std::vector<StoredJob> jobs = JobStore().Jobs();
  ASSERT_EQ(jobs.size(), 1U);
  const StoredJob& read = jobs.front();
  EXPECT_EQ(read.m_Id + " " + read.m_SerialNumber + " " + read.m_Operation, "1a-2 S1 attach");
  EXPECT_EQ(read.m_Origin + " " + read.m_User + " " + read.m_State, "API root SUCCEEDED");
  EXPECT_TRUE(read.m_IsDryRun);
  EXPECT_EQ(read.m_Started, 1700000000123U);
  EXPECT_EQ(read.m_Ended, 1700000004567U);
  EXPECT_EQ(read.m_Result, R"({"text":"\u0000é"})");
}

TEST_F(StoredJobs, KeepTheirOrderWhenTheyEnd) {
  for (const char* id : {"1", "2"}) m_Store.Write(JobOf(id));
  m_Store.Write(JobOf("1", "FAILED"));
  EXPECT_EQ(Jobs(), "1 FAILED, 2 RUNNING");
}

TEST_F(StoredJobs, AreTheNewestThousandAndAllRunningOnes) {
  m_Store.Write(JobOf("running"));
  for (int i = 1; i <= 1000; ++i) m_Store.Write(JobOf(std::to_string(i), "FAILED"));
  EXPECT_EQ(JobStore().Jobs().size(), 1001U);
  m_Store.Write(JobOf("1001", "FAILED"));
  const std::vector<StoredJob> jobs = JobStore().Jobs();
  ASSERT_EQ(jobs.size(), 1001U);
  EXPECT_EQ(jobs.at(0).m_Id + " " + jobs.at(1).m_Id, "running 2");
}

TEST_F(StoredJobs, AreWrittenWithTheResponseToTheirRequest) {
  const StoredResponse response = ResponseTo("k", 5, "accepted");
  m_Store.Write(JobOf("1"), &response);
  EXPECT_EQ(Jobs(), "1 RUNNING");
  EXPECT_EQ(Responses(), "k 5 accepted");
  // The response is already stored; only another request with the key replaces it.
  m_Store.Write(ResponseTo("k", 5, "other"), {"k"});
  EXPECT_EQ(Responses(), "k 5 accepted");
  m_Store.Write(ResponseTo("k", 6, "other"), {"k"});
  EXPECT_EQ(Responses(), "k 6 other");
}

TEST_F(StoredJobs, ForgetTheResponsesToRemovedKeys) {
  for (const char* key : {"a", "b", "c"}) m_Store.Write(ResponseTo(key, 1, "x"), {});
  m_Store.Write(ResponseTo("d", 1, "x"), {"a", "c"});
  EXPECT_EQ(Responses(), "b 1 x, d 1 x");
}

TEST_F(StoredJobs, ReportEachFailureOnceUntilAWriteSucceeds) {
  const auto damage = [this] {
    std::filesystem::remove_all(File().parent_path());
    std::filesystem::create_directories(File());
  };
  // The reasons of the first calls can differ: the file is closed, and opened for reading.
  damage();
  EXPECT_EQ(m_Store.Jobs().size(), 0U);
  EXPECT_NE(m_Store.Write(JobOf("1")), "");
  EXPECT_NE(m_Store.Write(JobOf("1")), "");
  const std::size_t reported = m_Failures.size();
  EXPECT_GT(reported, 0U);
  EXPECT_EQ(m_Store.Write(ResponseTo("k", 1, "x"), {}), m_Failures.back());
  EXPECT_EQ(m_Store.Jobs().size() + m_Store.Responses().size(), 0U);
  EXPECT_EQ(m_Failures.size(), reported);
  std::filesystem::remove(File());
  EXPECT_EQ(m_Store.Write(JobOf("2")), "");
  EXPECT_EQ(Jobs(), "2 RUNNING");
  damage();
  EXPECT_NE(m_Store.Write(JobOf("3")), "");
  EXPECT_GT(m_Failures.size(), reported);
}

}  // namespace
