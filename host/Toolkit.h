// The host's toolkit: threads, waits, delegates, time, tracing, module information and PCI lookup.
//
// Declarations only; the toolkit library defines the members. Unless a comment says otherwise,
// members are thread-safe and throw only std::bad_alloc.
//
// Every wait is a cancellation point: `CThread::Cancel` unwinds the stack of a waiting thread.
// Timeouts are in milliseconds; 0 tests without waiting, WAIT_INFINITE waits without a limit.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "host/Visibility.h"
#include "host/own/ThreadSafety.h"

namespace MBX {

namespace Delegates_and_Calls {

// A call that can be made later, on another thread. A delegate keeps a plain pointer to the called
// object, which must outlive the call.
class HOST_API CDelegate {
 public:
  virtual ~CDelegate();
  // Makes the call on the calling thread and returns its result. Exceptions propagate.
  virtual unsigned int Call() = 0;
  // Returns an independent copy, owned by the caller.
  virtual std::unique_ptr<CDelegate> Clone() const = 0;
};

// A delegate for a member function without arguments. The function's result is converted to
// unsigned int.
template <class CCall, class R>
class TDelegateR0 final : public CDelegate {
 public:
  using Member = R (CCall::*)();

  // Creates a delegate that calls `member` on `object`; neither may be null.
  TDelegateR0(CCall* object, Member member) : m_pObject(object), m_Member(member) {}

  unsigned int Call() override { return (m_pObject->*m_Member)(); }
  std::unique_ptr<CDelegate> Clone() const override { return std::make_unique<TDelegateR0>(*this); }

 private:
  CCall* m_pObject;
  Member m_Member;
};

// A delegate for a member function with one argument. It stores a copy of the argument, so the
// original need not exist when the call is made.
template <class CCall, class R, class A>
class TDelegateR1 final : public CDelegate {
 public:
  using Member = R (CCall::*)(A);

  TDelegateR1(CCall* object, Member member, A argument)
      : m_pObject(object), m_Member(member), m_Argument(argument) {}

  unsigned int Call() override { return (m_pObject->*m_Member)(m_Argument); }
  std::unique_ptr<CDelegate> Clone() const override { return std::make_unique<TDelegateR1>(*this); }

 private:
  CCall* m_pObject;
  Member m_Member;
  std::decay_t<A> m_Argument;
};

}  // namespace Delegates_and_Calls

namespace Threading {

constexpr unsigned int WAIT_INFINITE = 0xFFFFFFFF;  // as a timeout: no limit

// Results of a wait.
constexpr unsigned int WAIT_FAILED = 0;       // no usable object to wait for
constexpr unsigned int WAIT_SUCCEEDED = 1;    // also the position of the first event
constexpr unsigned int WAIT_TIMED_OUT = 130;  // the timeout was reached first

namespace Native_OS {

// A recursive lock: the thread that holds it may acquire it again, and must release it the same
// number of times. Waits fail until `Init` has returned 1.
//
// Prefer `CSyncGuard`. `Wait` has no annotation for clang's thread-safety analysis, which cannot
// distinguish its results; the analysis recognizes only locks held by guards.
class HOST_CAPABILITY HOST_API CFastMutex {
 public:
  CFastMutex();
  ~CFastMutex();
  CFastMutex(const CFastMutex&) = delete;
  CFastMutex& operator=(const CFastMutex&) = delete;

  // Makes the lock usable. Returns 1 on success, or 0.
  int Init();
  // Acquires the lock for the calling thread and returns WAIT_SUCCEEDED. Returns WAIT_TIMED_OUT if
  // another thread held it for `timeoutMs`, or WAIT_FAILED if the lock is unusable.
  unsigned int Wait(unsigned int timeoutMs);
  // Undoes one successful wait of the calling thread. Does nothing if that thread does not hold the
  // lock.
  void Release();

 private:
  struct State;
  std::shared_ptr<State> m_pState;
};

}  // namespace Native_OS

// A flag that threads can wait for. Until `Init` has returned 1, waits fail and the flag cannot be
// set. A successful wait clears the flag, so that each `Set` ends at most one wait; the flag of a
// manual-reset event remains set.
class HOST_API CEvent {
 public:
  CEvent();
  ~CEvent();
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;

  // Makes the event usable. Returns 1 on success, or 0.
  int Init(bool initiallySet, bool manualReset);
  // Sets the flag. Wakes one waiting thread, or all of them if the event is manual-reset.
  void Set();
  // Clears the flag.
  void Reset();
  // Waits until the flag is set and returns WAIT_SUCCEEDED. Returns WAIT_TIMED_OUT after
  // `timeoutMs`, or WAIT_FAILED if the event is unusable.
  unsigned int Wait(unsigned int timeoutMs);

 private:
  friend class CWaiter;
  struct State;
  std::shared_ptr<State> m_pState;
};

// A countdown, for sharing one timeout between several waits. Not thread-safe.
class HOST_API CWaitInterval {
 public:
  // Starts the countdown. WAIT_INFINITE never expires.
  explicit CWaitInterval(unsigned int durationMs);
  // Restarts the countdown with a new duration.
  void Restart(unsigned int durationMs);
  // Returns the remaining milliseconds: 0 after expiry, WAIT_INFINITE if it never expires.
  operator unsigned int() const;

 private:
  std::uint64_t m_DeadlineMs;
};

// Waits for one or all of several events. Not thread-safe, but any thread may set the events.
class HOST_API CWaiter {
 public:
  CWaiter();
  ~CWaiter();
  CWaiter(const CWaiter&) = delete;
  CWaiter& operator=(const CWaiter&) = delete;

  // Adds an event to wait for. The event must outlive the waiter.
  void Add(CEvent& event);
  // Waits until one event is set or, with `all`, until all events are set at the same time. Returns
  // the 1-based position, in the order of `Add`, of the first event that is set. Clears that event
  // or, with `all`, every event; manual-reset events remain set. Returns WAIT_TIMED_OUT after
  // `timeoutMs`. Skips unusable events, and returns WAIT_FAILED if all are unusable.
  unsigned int Wait(unsigned int timeoutMs, bool all);

 private:
  std::vector<std::shared_ptr<CEvent::State>> m_Events;
};

// Holds a lock for its lifetime. It does not report whether the wait succeeded, and clang's
// thread-safety analysis assumes that it did; therefore pass a usable lock and WAIT_INFINITE.
// Construct and destroy a guard on the same thread.
class HOST_SCOPED_CAPABILITY HOST_API CSyncGuard {
 public:
  // Waits for `lock`, which must outlive the guard. If the wait fails, the destructor does nothing.
  CSyncGuard(Native_OS::CFastMutex& lock, unsigned int timeoutMs) HOST_ACQUIRE(lock);
  ~CSyncGuard() HOST_RELEASE();
  CSyncGuard(const CSyncGuard&) = delete;
  CSyncGuard& operator=(const CSyncGuard&) = delete;

 private:
  Native_OS::CFastMutex& m_Lock;
  bool m_Held;
};

// A thread. The object may be destroyed at any time: a running thread is detached and continues; a
// finished one is joined. An uncaught exception in the thread terminates the process.
class HOST_API CThread {
 public:
  CThread();
  virtual ~CThread();
  CThread(const CThread&) = delete;
  CThread& operator=(const CThread&) = delete;

  // Starts a thread that calls a copy of `delegate`. Returns 1 on success. Returns 0 if the system
  // cannot create a thread, if this object has already started one, or if `suspended` is true.
  int Create(const Delegates_and_Calls::CDelegate& delegate, bool suspended);
  // Waits for the thread to finish. Returns WAIT_SUCCEEDED, even if the thread was canceled;
  // WAIT_TIMED_OUT if it is still running after `timeoutMs`; WAIT_FAILED if none was created.
  unsigned int Wait(unsigned int timeoutMs);
  // Returns the native thread, or 0 if none was created. This object still owns the thread; do not
  // join it.
  unsigned long GetHandle() const;
  // Requests that the thread be canceled at its next cancellation point, where its stack unwinds.
  // Does not wait. Has no effect if the thread has finished or none was created.
  void Cancel();

 private:
  struct State;
  std::shared_ptr<State> m_pState;
};

}  // namespace Threading

namespace Language_Support {
namespace CLanguageSupport {

// The messages of a plug-in in the host's languages. Immutable.
class HOST_API CLngFile {
 public:
  // `defaults` points to `defaultCount` messages, which are used without a language file. The
  // constructor copies only pointers: file, encoding and defaults must outlive the object. Pass 1
  // for the unnamed argument.
  CLngFile(const char* file, unsigned int language, const char* encoding, unsigned int,
           const char** defaults, unsigned long defaultCount);
  ~CLngFile();

  // Returns the message at the 0-based `index`, or "" past the end; never nullptr. Valid as long as
  // the defaults.
  const char* GetText(unsigned long index) const;

  const char* const m_File;            // name of the language file, without a directory
  const unsigned int m_Language;       // two-letter code as a 16-bit number
  const char* const m_Encoding;        // encoding of the defaults
  const unsigned long m_DefaultCount;  // number of messages

 private:
  const char** m_Defaults;
};

// One row of a module's list of error messages.
struct HOST_API ERROR_MSG_LIST {
  std::uint64_t m_MessageCode;
  std::uint64_t m_Reserved[3];  // 0
};

}  // namespace CLanguageSupport
}  // namespace Language_Support

namespace Misc {

// Returns milliseconds since the epoch. Never less than an earlier result in the same process, even
// if the system clock is set back.
HOST_API unsigned long now();

// Identifies a module to the toolkit. Each module has one such object, with static lifetime.
class HOST_API CModuleInfo {
 public:
  // Registers the module for tracing; the destructor unregisters it. Copies only pointers: the
  // strings and objects passed must outlive this object.
  CModuleInfo(unsigned int module, const char* name, const char* version,
              Language_Support::CLanguageSupport::CLngFile* languageFile,
              Language_Support::CLanguageSupport::ERROR_MSG_LIST* messages);
  ~CModuleInfo();
  CModuleInfo(const CModuleInfo&) = delete;
  CModuleInfo& operator=(const CModuleInfo&) = delete;

  const unsigned int m_Module;  // the module's number in the host
  const char* const m_Name;     // the name in trace lines
  const char* const m_Version;  // the version to display
  Language_Support::CLanguageSupport::CLngFile* const m_pLanguageFile;
  Language_Support::CLanguageSupport::ERROR_MSG_LIST* const m_pMessages;
  // One bit per trace level. The toolkit changes it while other threads read it.
  std::atomic<std::uint32_t> m_TraceMask;
};

}  // namespace Misc

namespace Internals {

// One trace line, written when the object is destroyed. Not thread-safe. The destructor never
// throws: a line that cannot be written is dropped.
class HOST_API CTraceStreamBuffer {
 public:
  // `level` is one bit of the module's trace mask; the caller must check that it is set. The module
  // and the strings must outlive the object.
  CTraceStreamBuffer(unsigned int level, const Misc::CModuleInfo& module, const char* file,
                     const char* function, int line);
  ~CTraceStreamBuffer();
  CTraceStreamBuffer(const CTraceStreamBuffer&) = delete;
  CTraceStreamBuffer& operator=(const CTraceStreamBuffer&) = delete;

  // Appends to the line.
  void Append(const std::string& text);

 private:
  const unsigned int m_Level;
  const Misc::CModuleInfo& m_Module;
  const char* const m_File;
  const char* const m_Function;
  const int m_Line;
  std::string m_Text;
};

}  // namespace Internals

namespace Output_Streams {

// Replaces the placeholders "%d", "0x%x" and "%s" of a format in order, and appends the text to the
// buffer when destroyed. Extra values are ignored; extra placeholders remain in the text. Not
// thread-safe.
class HOST_API CFormatStream {
 public:
  // The buffer must outlive the object; the format is copied.
  CFormatStream(Internals::CTraceStreamBuffer& buffer, const char* format);
  ~CFormatStream();
  CFormatStream(const CFormatStream&) = delete;
  CFormatStream& operator=(const CFormatStream&) = delete;

  // Replaces the next placeholder with the number: "0x%x" with "0x" and hexadecimal digits, any
  // other with decimal digits. Returns this object.
  CFormatStream& FormatInt(unsigned int value);
  CFormatStream& FormatInt(unsigned long value);
  // Replace the next placeholder of any kind with the string. Return this object.
  CFormatStream& operator<<(const char* text);
  CFormatStream& operator<<(const std::string& text);

 private:
  Internals::CTraceStreamBuffer& m_Buffer;
  std::string m_Text;
  std::size_t m_Next;
};

}  // namespace Output_Streams

}  // namespace MBX

namespace MBXX {

// Hardware queries.
class HOST_API CConfigManager {
 public:
  // Finds the `count`-th PCI device, counting from 1, with one of the `ids`, in the order of
  // segment, bus, device and function. An id is the vendor and device ID as eight hexadecimal
  // digits. Sets the four outputs and returns true if there is such a device; otherwise returns
  // false and leaves the outputs unchanged. Reads the bus at each call.
  static bool GetLocation(const std::vector<std::string>& ids, unsigned long count, int& segment,
                          int& bus, int& device, int& function);
};

// A date and time of day in UTC.
struct HOST_API CSystemDate_Lx {
  std::uint32_t m_Year;
  std::uint32_t m_Month;      // 1 to 12
  std::uint32_t m_Day;        // 1 to 31
  std::uint32_t m_DayOfWeek;  // 0 (Sunday) to 6
  std::uint32_t m_DayOfYear;  // 1 to 366
  std::uint32_t m_Hour;       // 0 to 23
  std::uint32_t m_Minute;     // 0 to 59
  std::uint32_t m_Second;     // 0 to 59; system time has no leap seconds
  std::uint32_t m_Milliseconds;
};

// Conversions of system time.
class HOST_API CSystemTime_Lx {
 public:
  // Sets all members of `date` from milliseconds since the epoch.
  static void GetDate(unsigned long milliseconds, CSystemDate_Lx& date);
};

}  // namespace MBXX
