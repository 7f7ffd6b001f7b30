// Module identity and the trace macro.
#pragma once

#include <cstdint>
#include <string>

#include "Corvane/Src/Cancellation.h"
#include "Corvane/Src/ThreadSafety.h"
#include "Corvane/Src/WaitResults.h"
#include "host/Toolkit.h"
#include "models/Visibility.h"

namespace NAMESPACE_Corvane {

// Bits 63 to 48 of every object id, and the number under which the host knows the module.
constexpr unsigned int kModuleNumber = 304;

CORVANE_API extern MBX::Misc::CModuleInfo MBX_MODULE_INFO_Corvane;
CORVANE_API extern MBX::Language_Support::CLanguageSupport::ERROR_MSG_LIST ErrorMsgList;

namespace NLS {
CORVANE_API extern MBX::Language_Support::CLanguageSupport::CLngFile m_LngFile;
}  // namespace NLS

enum TraceLevel : unsigned int {
  TRACE_ENTRY = 2,      // entry and exit of the main functions
  TRACE_FLOW = 4,       // events and decisions
  TRACE_LOCK = 8,       // every lock step
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

// Where a line comes from.
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

// The object that `TRACE_AS` declares. It shadows the function `TracedAs` and returns the given
// name instead of that of the function.
class TraceName {
 public:
  constexpr explicit TraceName(const char* name) : m_Name(name) {}
  constexpr const char* operator()(const char*) const { return m_Name; }

 private:
  const char* m_Name;
};

// A lock that is released before the end of its block. If an exception or a cancellation of the
// thread occurs while it is held, the destructor releases it and writes the lines of the release.
//
// The members that take and release are not analyzed: they are what the analysis relies on.
class CORVANE_SCOPED_LOCK ManualLock {
 public:
  // Does not take the lock. `before` and `after` are the lines of the release, and `site` is where
  // they come from.
  ManualLock(MBX::Threading::Native_OS::CFastMutex& lock, const TraceFeed::Site& site,
             const char* before, const char* after) CORVANE_EXCLUDES(lock)
      : m_Lock(lock), m_Site(site), m_Before(before), m_After(after) {}
  ~ManualLock() CORVANE_RELEASE() CORVANE_UNLOCKED {
    if (!m_Held) return;
    const CancellationBlocked blocked;
    TraceUnlessThatFails(m_Before);
    m_Lock.Release();
    TraceUnlessThatFails(m_After);
  }
  ManualLock(const ManualLock&) = delete;
  ManualLock& operator=(const ManualLock&) = delete;

  // Waits without a timeout. Returns whether the lock is held.
  bool Wait() CORVANE_TRY_ACQUIRE(true) CORVANE_UNLOCKED {
    m_Held = m_Lock.Wait(MBX::Threading::WAIT_INFINITE) == kWaitSucceeded;
    return m_Held;
  }

  // The lines of the release come from `site`.
  void Release(const TraceFeed::Site& site) CORVANE_RELEASE() CORVANE_UNLOCKED {
    if (Traced(TRACE_LOCK)) TraceFeed::Send(TRACE_LOCK, site, m_Before);
    m_Held = false;
    m_Lock.Release();
    if (Traced(TRACE_LOCK)) TraceFeed::Send(TRACE_LOCK, site, m_After);
  }

 private:
  void TraceUnlessThatFails(const char* text) const {
    try {
      if (Traced(TRACE_LOCK)) TraceFeed::Send(TRACE_LOCK, m_Site, text);
    } catch (...) {
      // The release matters more than the line. No cancellation can pass here: it is blocked.
    }
  }

  MBX::Threading::Native_OS::CFastMutex& m_Lock;
  const TraceFeed::Site m_Site;
  const char* const m_Before;
  const char* const m_After;
  bool m_Held = false;
};

}  // namespace NAMESPACE_Corvane

// The function that a line shows: the enclosing one, or the one that `TRACE_AS` names.
// Outside the namespace, so that the macros find it from anywhere.
constexpr const char* TracedAs(const char* function) {
  return function;
}

#define TRACE_SITE()                       \
  ::NAMESPACE_Corvane::TraceFeed::Site {   \
    __FILE__, TracedAs(__func__), __LINE__ \
  }

// Makes the lines of a helper, from here to the end of the block, show the function that the helper
// works for.
#define TRACE_AS(name)                            \
  const ::NAMESPACE_Corvane::TraceName TracedAs { \
    name                                          \
  }

// Sends one line: level, format, values. The values are not evaluated while the level is off.
#define TRACE(level, ...)                                                     \
  do {                                                                        \
    if (::NAMESPACE_Corvane::Traced(level))                                   \
      ::NAMESPACE_Corvane::TraceFeed::Send(level, TRACE_SITE(), __VA_ARGS__); \
  } while (false)

// Holds a lock of the plug-in to the end of the enclosing block. A macro, so that both lines show
// the function that waits.
#define TRACED_GUARD(lock)                                                              \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "Before " #lock ".Wait (sg)");                 \
  const MBX::Threading::CSyncGuard guardOf_##lock(lock, MBX::Threading::WAIT_INFINITE); \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "After " #lock ".Wait (sg)")

// Waits for a lock that `TRACED_RELEASE` releases, and leaves in `isHeld` whether the wait
// succeeded. `release` is how the lines of the release write it.
#define TRACED_WAIT(lock, isHeld, release)                                          \
  ::NAMESPACE_Corvane::ManualLock manualLock_##lock(                                \
      lock, TRACE_SITE(), "Before " #lock "." release, "After " #lock "." release); \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "Before " #lock ".Wait(INFINITE)");        \
  const bool isHeld = manualLock_##lock.Wait();                                     \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "After " #lock ".Wait(INFINITE)")

#define TRACED_RELEASE(lock) manualLock_##lock.Release(TRACE_SITE())
