// Module information and trace macros.
#pragma once

#include <cstdint>
#include <string>

#include "Corvane/Src/Cancellation.h"
#include "Corvane/Src/ThreadSafety.h"
#include "Corvane/Src/WaitResults.h"
#include "host/Toolkit.h"
#include "models/Visibility.h"

namespace NAMESPACE_Corvane {

// The module's number in the host, which is also in bits 63 to 48 of every object id.
constexpr unsigned int kModuleNumber = 304;

CORVANE_API extern MBX::Misc::CModuleInfo MBX_MODULE_INFO_Corvane;
CORVANE_API extern MBX::Language_Support::CLanguageSupport::ERROR_MSG_LIST ErrorMsgList;

namespace NLS {
CORVANE_API extern MBX::Language_Support::CLanguageSupport::CLngFile m_LngFile;
}  // namespace NLS

enum TraceLevel : unsigned int {
  TRACE_ENTRY = 2,      // entry and exit of the main functions
  TRACE_FLOW = 4,       // events and decisions
  TRACE_LOCK = 8,       // every wait for a lock and every release
  TRACE_RESULT = 16,    // results and failures of the card library and of the main steps
  TRACE_DATABASE = 128  // rows written and statements that failed
};

inline bool Traced(TraceLevel level) {
  return (MBX_MODULE_INFO_Corvane.m_TraceMask & level) != 0;
}

namespace TraceFeed {

using Stream = MBX::Output_Streams::CFormatStream;

inline void Feed(Stream& stream, unsigned int value) {
  stream.FormatInt(value);
}
inline void Feed(Stream& stream, unsigned long value) {
  stream.FormatInt(value);
}
inline void Feed(Stream& stream, unsigned long long value) {
  stream.FormatInt(static_cast<unsigned long>(value));
}
inline void Feed(Stream& stream, int value) {
  stream.FormatInt(static_cast<unsigned int>(value));
}
inline void Feed(Stream& stream, const char* text) {
  stream << text;
}
inline void Feed(Stream& stream, const std::string& text) {
  stream << text;
}

// The source location shown in a trace line.
struct Site {
  const char* m_File;
  const char* m_Function;
  int m_Line;
};

template <class... Values>
void Send(TraceLevel level, const Site& site, const char* format, const Values&... values) {
  MBX::Internals::CTraceStreamBuffer buffer(level, MBX_MODULE_INFO_Corvane, site.m_File,
                                            site.m_Function, site.m_Line);
  Stream stream(buffer, format);
  (Feed(stream, values), ...);
}

}  // namespace TraceFeed

// The object that `TRACE_AS` declares. It shadows the function `TracedAs` and returns the name
// given to `TRACE_AS`.
class TraceName {
 public:
  constexpr explicit TraceName(const char* name) : m_Name(name) {}
  constexpr const char* operator()(const char*) const { return m_Name; }

 private:
  const char* m_Name;
};

// Holds a lock that is released before the end of its block. If an exception or a thread
// cancellation occurs while the lock is held, the destructor releases it and writes the trace lines
// of the release.
//
// Members that acquire or release the lock are excluded from the analysis, because they implement
// the annotated behavior.
class CORVANE_SCOPED_LOCK ManualLock {
 public:
  // Does not acquire the lock. `before` and `after` are the trace lines of the release. `site` is
  // their location if the destructor writes them.
  ManualLock(MBX::Threading::Native_OS::CFastMutex& lock, const TraceFeed::Site& site,
             const char* before, const char* after) CORVANE_EXCLUDES(lock)
      : m_Lock(lock), m_Site(site), m_Before(before), m_After(after) {}
  ~ManualLock() CORVANE_RELEASE() CORVANE_UNLOCKED {
    if (!m_Held) return;
    const CancellationBlocked blocked;
    TryTrace(m_Before);
    m_Lock.Release();
    TryTrace(m_After);
  }
  ManualLock(const ManualLock&) = delete;
  ManualLock& operator=(const ManualLock&) = delete;

  // Waits for the lock without a timeout. Returns whether the lock is held.
  bool Wait() CORVANE_TRY_ACQUIRE(true) CORVANE_UNLOCKED {
    m_Held = m_Lock.Wait(kWaitInfinite) == kWaitSucceeded;
    return m_Held;
  }

  // Releases the lock. `site` is the location in the trace lines.
  void Release(const TraceFeed::Site& site) CORVANE_RELEASE() CORVANE_UNLOCKED {
    if (Traced(TRACE_LOCK)) TraceFeed::Send(TRACE_LOCK, site, m_Before);
    m_Held = false;
    m_Lock.Release();
    if (Traced(TRACE_LOCK)) TraceFeed::Send(TRACE_LOCK, site, m_After);
  }

 private:
  void TryTrace(const char* text) const {
    try {
      if (Traced(TRACE_LOCK)) TraceFeed::Send(TRACE_LOCK, m_Site, text);
    } catch (...) {
      // The lock must be released even if tracing fails. This handler cannot swallow a
      // cancellation, because the destructor defers it.
    }
  }

  MBX::Threading::Native_OS::CFastMutex& m_Lock;
  const TraceFeed::Site m_Site;
  const char* const m_Before;
  const char* const m_After;
  bool m_Held = false;
};

}  // namespace NAMESPACE_Corvane

// Returns the function name for trace lines. `TRACE_AS` replaces it in a block. Declared outside
// the namespace, so that the macros work everywhere.
constexpr const char* TracedAs(const char* function) {
  return function;
}

#define TRACE_SITE()                       \
  ::NAMESPACE_Corvane::TraceFeed::Site {   \
    __FILE__, TracedAs(__func__), __LINE__ \
  }

// Makes trace lines show the function `name` up to the end of the block, for helpers of that
// function.
#define TRACE_AS(name)                            \
  const ::NAMESPACE_Corvane::TraceName TracedAs { \
    name                                          \
  }

// Writes one trace line: level, format, values. The values are evaluated only if the level is on.
#define TRACE(level, ...)                                                     \
  do {                                                                        \
    if (::NAMESPACE_Corvane::Traced(level))                                   \
      ::NAMESPACE_Corvane::TraceFeed::Send(level, TRACE_SITE(), __VA_ARGS__); \
  } while (false)

// Holds a lock of the plug-in until the end of the enclosing block. A macro, so that the trace
// lines show the function that uses it.
#define TRACED_GUARD(lock)                                                                   \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "Before " #lock ".Wait (sg)");                      \
  const MBX::Threading::CSyncGuard guardOf_##lock(lock, ::NAMESPACE_Corvane::kWaitInfinite); \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "After " #lock ".Wait (sg)")

// Waits for a lock, which `TRACED_RELEASE` releases. Declares `isHeld`, which is true if the wait
// succeeded. `release` is the text for the release in trace lines.
#define TRACED_WAIT(lock, isHeld, release)                                          \
  ::NAMESPACE_Corvane::ManualLock manualLock_##lock(                                \
      lock, TRACE_SITE(), "Before " #lock "." release, "After " #lock "." release); \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "Before " #lock ".Wait(INFINITE)");        \
  const bool isHeld = manualLock_##lock.Wait();                                     \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "After " #lock ".Wait(INFINITE)")

#define TRACED_RELEASE(lock) manualLock_##lock.Release(TRACE_SITE())
