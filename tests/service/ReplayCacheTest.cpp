#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stdexcept>
#include <string>

#include "service/api/ReplayCache.h"

namespace {

class Replay : public testing::Test {
 protected:
  // Returns the status and the body, which counts the calls: "202 2".
  std::string Answer(const std::string& key, const std::string& content, unsigned status = 202) {
    const auto response = m_Cache.Answer(key, content, [this, status] {
      return Http::MakeResponse(status, "text/plain", std::to_string(++m_Calls));
    });
    return std::to_string(response.m_Status) + " " + *response.m_Body;
  }

  Service::ReplayCache m_Cache;
  int m_Calls = 0;
};

TEST_F(Replay, RepeatsTheFirstResponse) {
  EXPECT_EQ("202 1", Answer("a", "x"));
  EXPECT_EQ("202 1", Answer("a", "x"));
  EXPECT_EQ("202 2", Answer("b", "x"));
}

TEST_F(Replay, RefusesAKeyForAnotherRequest) {
  Answer("a", "x");
  EXPECT_EQ("422", Answer("a", "y").substr(0, 3));
  EXPECT_EQ(1, m_Calls);
}

TEST_F(Replay, DoesNotKeepFailures) {
  EXPECT_EQ("409 1", Answer("a", "x", 409));
  EXPECT_EQ("300 2", Answer("a", "x", 300));
  EXPECT_EQ("299 3", Answer("a", "x", 299));
  EXPECT_EQ("299 3", Answer("a", "x", 202));
}

TEST_F(Replay, KeepsTheNewestThousand) {
  for (int i = 1; i <= 1000; ++i) Answer(std::to_string(i), "x");
  EXPECT_EQ("202 1", Answer("1", "x"));
  Answer("1001", "x");
  EXPECT_EQ("202 2", Answer("2", "x"));
  EXPECT_EQ("202 1002", Answer("1", "x"));
}

// The cache is not locked while a request runs.
TEST_F(Replay, AnswersOtherRequestsWhileOneRuns) {
  const auto response = m_Cache.Answer("a", "x", [this] {
    EXPECT_EQ("202 1", Answer("b", "x"));
    return Http::MakeResponse(202, "text/plain", "outer");
  });
  EXPECT_EQ("outer", *response.m_Body);
}

TEST_F(Replay, RunsARequestOnceIfItIsRepeatedMeanwhile) {
  std::promise<void> repeated;
  std::future<std::string> repetition;
  m_Cache.Answer("a", "x", [&] {
    repetition = std::async(std::launch::async, [&] {
      repeated.set_value();
      return Answer("a", "x");
    });
    repeated.get_future().wait();
    EXPECT_EQ(std::future_status::timeout, repetition.wait_for(std::chrono::milliseconds(50)));
    return Http::MakeResponse(202, "text/plain", "first");
  });
  EXPECT_EQ("202 first", repetition.get());
  EXPECT_EQ(0, m_Calls);
}

TEST_F(Replay, AcceptsAKeyAgainAfterAnException) {
  const auto fail = []() -> Http::Response { throw std::runtime_error("failed"); };
  EXPECT_THROW(m_Cache.Answer("a", "x", fail), std::runtime_error);
  EXPECT_EQ("202 1", Answer("a", "x"));
}

}  // namespace
