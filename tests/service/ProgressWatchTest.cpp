#include <gtest/gtest.h>

#include "service/ProgressWatch.h"

namespace {

using Service::ProgressWatch;
using std::chrono::milliseconds;
using std::chrono::seconds;

// A progress watch with a clock that the test controls.
struct Watch {
  void Advance(milliseconds time) { m_Now += time; }

  ProgressWatch::Clock::time_point m_Now;
  ProgressWatch m_Progress{[this] { return m_Now; }};
};

TEST(ProgressWatch, AllowsTheFirstStep30Seconds) {
  Watch watch;
  watch.Advance(seconds(30));
  EXPECT_FALSE(watch.m_Progress.IsStuck());
  watch.Advance(milliseconds(1));
  EXPECT_TRUE(watch.m_Progress.IsStuck());
}

TEST(ProgressWatch, AllowsAStepItsTimeoutAnd30Seconds) {
  Watch watch;
  watch.m_Progress.Begin(seconds(100));
  watch.Advance(seconds(130));
  EXPECT_FALSE(watch.m_Progress.IsStuck());
  watch.Advance(milliseconds(1));
  EXPECT_TRUE(watch.m_Progress.IsStuck());
}

TEST(ProgressWatch, RestartsWithTheNextStep) {
  Watch watch;
  watch.m_Progress.Begin(seconds(100));
  watch.Advance(seconds(200));
  EXPECT_TRUE(watch.m_Progress.IsStuck());
  watch.m_Progress.Begin(seconds(1));
  EXPECT_FALSE(watch.m_Progress.IsStuck());
  watch.Advance(seconds(32));
  EXPECT_TRUE(watch.m_Progress.IsStuck());
}

}  // namespace
