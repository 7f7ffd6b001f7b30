#include <gtest/gtest.h>

#include <string>

#include "service/api/MetricsCache.h"

namespace {

class MetricsCache : public testing::Test {
 protected:
  // Returns the body, which counts the calls of the renderer.
  std::string Get(const Service::MetricsKey& key, unsigned status = 200) {
    const auto render = [this, status] {
      return Http::MakeResponse(status, "text/plain", std::to_string(++m_Calls));
    };
    return *m_Cache.Get(key, render).m_Body;
  }

  Service::MetricsCache m_Cache;
  int m_Calls = 0;
};

TEST_F(MetricsCache, RendersAgainForAnotherSnapshot) {
  EXPECT_EQ("1", Get({7, 5, {}}));
  EXPECT_EQ("1", Get({7, 5, {}}));
  EXPECT_EQ("2", Get({8, 5, {}}));
  EXPECT_EQ("3", Get({7, 5, {}}));
}

TEST_F(MetricsCache, RendersAgainForAnotherSecond) {
  EXPECT_EQ("1", Get({7, 5, {}}));
  EXPECT_EQ("2", Get({7, 6, {}}));
  EXPECT_EQ("2", Get({7, 6, {}}));
}

TEST_F(MetricsCache, RendersAgainForOtherCounts) {
  EXPECT_EQ("1", Get({7, 5, {{10967, 2, 1, ""}}}));
  EXPECT_EQ("1", Get({7, 5, {{10967, 2, 1, ""}}}));
  EXPECT_EQ("2", Get({7, 5, {{10967, 2, 2, ""}}}));
  EXPECT_EQ("3", Get({7, 5, {{10967, 1, 2, ""}}}));
  EXPECT_EQ("4", Get({7, 5, {{10968, 1, 2, ""}}}));
  EXPECT_EQ("5", Get({7, 5, {{10968, 1, 2, ""}, {10969, 1, 1, ""}}}));
  EXPECT_EQ("6", Get({7, 5, {}}));
}

TEST_F(MetricsCache, DoesNotKeepFailures) {
  EXPECT_EQ("1", Get({0, 5, {}}, 500));
  EXPECT_EQ("2", Get({0, 5, {}}));
  EXPECT_EQ("3", Get({7, 5, {}}, 500));
  EXPECT_EQ("4", Get({0, 5, {}}));
}

}  // namespace
