// Replaces the host library's function that writes a trace line, which is a destructor: the loader
// finds the executable's definition first.

#include "tests/support/HeldTrace.h"

#include <dlfcn.h>

#include "base/CancellationGuard.h"

#define SEAM_API __attribute__((visibility("default")))

namespace CorvaneTest {
namespace {

// Set by the sink, which must not block, and used later in the same call.
thread_local Barrier* t_pBarrier = nullptr;

void HoldAfterLine() {
  Barrier* const barrier = t_pBarrier;
  t_pBarrier = nullptr;
  if (barrier == nullptr) return;
  const Base::CancellationGuard guard;  // no exception may leave a destructor
  barrier->Hold();
}

}  // namespace

HeldTrace::HeldTrace(const std::string& text) {
  HostKit::SetTraceSink([this, text](const HostKit::TraceLine& line) {
    if (line.text == text) t_pBarrier = &m_Barrier;
  });
}

HeldTrace::~HeldTrace() {
  m_Barrier.Release();
  HostKit::SetTraceSink({});
}

}  // namespace CorvaneTest

#define TRACE_LINE_DESTRUCTOR "_ZN3MBX9Internals18CTraceStreamBufferD1Ev"

extern "C" SEAM_API void WriteTraceLine(void* line) __asm__(TRACE_LINE_DESTRUCTOR);

void WriteTraceLine(void* line) {
  using Function = void (*)(void*);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, TRACE_LINE_DESTRUCTOR));
  next(line);
  CorvaneTest::HoldAfterLine();
}
