// Replaces the host library's function that writes a trace line, which is a destructor: the loader
// finds the executable's definition first.

#include "tests/support/HeldTrace.h"

#include <dlfcn.h>

#include "base/CancellationGuard.h"

#define SEAM_API __attribute__((visibility("default")))

namespace CorvaneTest {
namespace {

// Set by the sink, which must not block, and used later in the same call.
thread_local BlockPoint* t_pBlockPoint = nullptr;

void BlockAfterLine() {
  BlockPoint* const blockPoint = t_pBlockPoint;
  t_pBlockPoint = nullptr;
  if (blockPoint == nullptr) return;
  const Base::CancellationGuard guard;  // no exception may leave a destructor
  blockPoint->Block();
}

}  // namespace

HeldTrace::HeldTrace(const std::string& text) {
  HostKit::SetTraceSink([this, text](const HostKit::TraceLine& line) {
    if (line.text == text) t_pBlockPoint = &m_BlockPoint;
  });
}

HeldTrace::~HeldTrace() {
  m_BlockPoint.Release();
  HostKit::SetTraceSink({});
}

}  // namespace CorvaneTest

#define TRACE_LINE_DESTRUCTOR "_ZN3MBX9Internals18CTraceStreamBufferD1Ev"

extern "C" SEAM_API void WriteTraceLine(void* line) __asm__(TRACE_LINE_DESTRUCTOR);

void WriteTraceLine(void* line) {
  using Function = void (*)(void*);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, TRACE_LINE_DESTRUCTOR));
  next(line);
  CorvaneTest::BlockAfterLine();
}
