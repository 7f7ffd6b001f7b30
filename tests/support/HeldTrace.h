// Blocks a thread at one of its trace lines until a test releases it.
#pragma once

#include <string>

#include "hostkit/Tracing.h"
#include "tests/support/HeldCall.h"

namespace CorvaneTest {

// Blocks the first thread that writes a trace line with this text, after it has written the line.
// The blocked thread does not hold a lock of the trace log, so other threads can trace. Occupies
// the trace sink until destroyed. The program must be linked with `trace_seam`.
class HeldTrace {
 public:
  explicit HeldTrace(const std::string& text);
  ~HeldTrace();
  HeldTrace(const HeldTrace&) = delete;
  HeldTrace& operator=(const HeldTrace&) = delete;

  void WaitUntilReached() { m_BlockPoint.WaitUntilReached(); }
  void Release() { m_BlockPoint.Release(); }

 private:
  BlockPoint m_BlockPoint;
};

}  // namespace CorvaneTest
