// Module identity and the trace macro.
#pragma once

#include <cstdint>
#include <string>

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
  TRACE_FLOW = 4,       // what was seen on the way
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

template <class... Values>
void Send(TraceLevel level, const char* file, const char* function, int line, const char* format,
          const Values&... values) {
  MBX::Internals::CTraceStreamBuffer buffer(level, MBX_MODULE_INFO_Corvane, file, function, line);
  Stream stream(buffer, format);
  (Feed(stream, values), ...);
}

}  // namespace TraceFeed

}  // namespace NAMESPACE_Corvane

// Sends one line: level, format, values. The values are not evaluated while the level is off.
#define TRACE(level, ...)                                                                     \
  do {                                                                                        \
    if (::NAMESPACE_Corvane::Traced(level))                                                   \
      ::NAMESPACE_Corvane::TraceFeed::Send(level, __FILE__, __func__, __LINE__, __VA_ARGS__); \
  } while (false)

// Holds a lock of the plug-in to the end of the enclosing block. A macro, so that both lines show
// the function that waits.
#define TRACED_GUARD(lock)                                                              \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "Before " #lock ".Wait (sg)");                 \
  const MBX::Threading::CSyncGuard guardOf_##lock(lock, MBX::Threading::WAIT_INFINITE); \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "After " #lock ".Wait (sg)")

// Takes a lock that is released by hand, and leaves the result of the wait in `result`.
#define TRACED_WAIT(lock, result)                                            \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "Before " #lock ".Wait(INFINITE)"); \
  const unsigned int result = lock.Wait(MBX::Threading::WAIT_INFINITE);      \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "After " #lock ".Wait(INFINITE)")

#define TRACED_RELEASE(lock)                                             \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "Before " #lock ".Release ()"); \
  lock.Release();                                                        \
  TRACE(::NAMESPACE_Corvane::TRACE_LOCK, "After " #lock ".Release ()")
