#include <gtest/gtest.h>

#include <string>

#include "service/api/ReplayCache.h"

namespace {

class Replays : public testing::Test {
 protected:
  // "202 2": the status and the body, which counts the calls.
  std::string Ask(const std::string& key, const std::string& content, unsigned status = 202) {
    const auto response = m_Cache.Answer(key, content, [this, status] {
      return Http::MakeResponse(status, "text/plain", std::to_string(++m_Calls));
    });
    return std::to_string(response.m_Status) + " " + *response.m_Body;
  }

  Service::ReplayCache m_Cache;
  int m_Calls = 0;
};

TEST_F(Replays, RepeatTheFirstResponse) {
  EXPECT_EQ("202 1", Ask("a", "x"));
  EXPECT_EQ("202 1", Ask("a", "x"));
  EXPECT_EQ("202 2", Ask("b", "x"));
}

TEST_F(Replays, RefuseAKeyForAnotherRequest) {
  Ask("a", "x");
  EXPECT_EQ("422", Ask("a", "y").substr(0, 3));
  EXPECT_EQ(1, m_Calls);
}

TEST_F(Replays, DoNotKeepFailures) {
  EXPECT_EQ("409 1", Ask("a", "x", 409));
  EXPECT_EQ("300 2", Ask("a", "x", 300));
  EXPECT_EQ("299 3", Ask("a", "x", 299));
  EXPECT_EQ("299 3", Ask("a", "x", 202));
}

TEST_F(Replays, KeepTheNewestThousand) {
  for (int i = 1; i <= 1000; ++i) Ask(std::to_string(i), "x");
  EXPECT_EQ("202 1", Ask("1", "x"));
  Ask("1001", "x");
  EXPECT_EQ("202 2", Ask("2", "x"));
  EXPECT_EQ("202 1002", Ask("1", "x"));
}

}  // namespace
