// Prints the trace lines of each failed test: those of the levels in CORVANE_TRACE.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "hostkit/Tracing.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

class FailureTraces : public testing::EmptyTestEventListener {
  void OnTestEnd(const testing::TestInfo& test) override {
    if (!test.result()->Failed()) return;
    const char* const levels = std::getenv("CORVANE_TRACE");
    if (levels == nullptr) {
      std::printf("To print the trace lines of this test, set CORVANE_TRACE=all.\n");
      return;
    }
    const auto mask = HostKit::ParseTraceLevels(levels);
    for (const HostKit::TraceLine& line : RecordedTraces()) {
      if (mask && (line.level & *mask) != 0) Print(line);
    }
  }

  static void Print(const HostKit::TraceLine& line) {
    std::printf("%5u [%s] %s:%d %s\n", line.level, line.thread.c_str(), line.file.c_str(),
                line.line, line.text.c_str());
  }
};

// Registered before `main` creates the tests' environment. GoogleTest owns the listener.
const bool g_IsRegistered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new FailureTraces);
  return true;
}();

}  // namespace
}  // namespace CorvaneTest
