// A response that is sent while a thread holds a lock. Only in builds with CORVANE_CHECK_LOCKS.
#include "base/Mutex.h"
#include "tests/service/http/HttpFixture.h"

namespace {

using namespace HttpTest;

// Acquires a mutex and never releases it, which thread-safety analysis would reject.
Http::Response AnswerWithHeldLock(const Http::Request&) HOST_NO_THREAD_SAFETY_ANALYSIS {
  static Base::Mutex mutex;
  mutex.Lock();
  return Http::MakeResponse(200, "text/plain", "x");
}

TEST(HeldLockDeathTest, AbortsAResponse) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [] {
    const TestServer server({{Http::Method::Get, "/", Http::Access::Anyone, AnswerWithHeldLock}});
    Client(server).Get("/");
  };
  EXPECT_DEATH(run(), "sending a response while the thread holds a lock");
}

}  // namespace
