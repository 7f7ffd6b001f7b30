#include <gtest/gtest.h>

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

}  // namespace
