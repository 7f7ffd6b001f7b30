// Deferring the cancellation of a thread.
#include <gtest/gtest.h>

#include <string>

#include "base/CancellationGuard.h"

namespace {

std::string g_Steps;

// Not instrumented, because a cancellation unwinds the stack without clearing sanitizer marks.
[[gnu::no_sanitize_address]] void* CancelSelf(void*) {
  pthread_cancel(pthread_self());
  {
    const Base::CancellationGuard outer;
    {
      const Base::CancellationGuard inner;
      pthread_testcancel();
      g_Steps += "inner ";
    }
    pthread_testcancel();
    g_Steps += "outer ";
  }
  pthread_testcancel();
  g_Steps += "after";
  return nullptr;
}

TEST(CancellationGuard, DefersACancellationUntilTheOutermostGuardEnds) {
  pthread_t thread{};
  void* result = nullptr;
  ASSERT_EQ(0, pthread_create(&thread, nullptr, CancelSelf, nullptr));
  ASSERT_EQ(0, pthread_join(thread, &result));
  EXPECT_EQ(PTHREAD_CANCELED, result);
  EXPECT_EQ("inner outer ", g_Steps);
}

}  // namespace
