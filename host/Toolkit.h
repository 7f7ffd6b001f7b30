// The host's toolkit: threads and waits, delegates, time, tracing, module identity, PCI lookup.
//
// Declarations only; the toolkit library defines the members. Unless a comment says otherwise, a
// member may be called from any thread and throws nothing but std::bad_alloc.
//
// Every wait is a cancellation point: `CThread::Cancel` unwinds the stack of a thread that waits.
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

// A call that can be made later, on another thread. The delegate keeps a plain pointer to the
// object that is called; the object must outlive the call.
class HOST_API CDelegate {
 public:
  virtual ~CDelegate();
  // Makes the call on the calling thread and returns its result. Lets its exceptions pass.
  virtual unsigned int Call() = 0;
  // An independent copy, owned by the caller.
  virtual std::unique_ptr<CDelegate> Clone() const = 0;
};

// A member function without arguments. Its result, converted to unsigned int, is that of the call.
template <class CCall, class R>
class TDelegateR0 final : public CDelegate {
 public:
  using Member = R (CCall::*)();

  // Calls `member` of `object`; neither may be null.
  TDelegateR0(CCall* object, Member member) : m_pObject(object), m_Member(member) {}

  unsigned int Call() override { return (m_pObject->*m_Member)(); }
  std::unique_ptr<CDelegate> Clone() const override { return std::make_unique<TDelegateR0>(*this); }

 private:
  CCall* m_pObject;
  Member m_Member;
};

// A member function with one argument. The delegate keeps a copy of the argument, so the original
// may be gone when the call is made.
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
constexpr unsigned int WAIT_FAILED = 0;       // nothing was waited for
constexpr unsigned int WAIT_SUCCEEDED = 1;    // also the position of the first event
constexpr unsigned int WAIT_TIMED_OUT = 130;  // the timeout was reached first

namespace Native_OS {

// A recursive lock: its owner may take it again, and releases it as often. Unusable until `Init`
// has returned 1; until then every wait fails.
//
// Prefer `CSyncGuard`. For clang's analysis only guards take the lock, since it cannot
// distinguish the results of `Wait`.
class HOST_CAPABILITY HOST_API CFastMutex {
 public:
  CFastMutex();
  ~CFastMutex();
  CFastMutex(const CFastMutex&) = delete;
  CFastMutex& operator=(const CFastMutex&) = delete;

  // Makes the lock usable. 1 on success, else 0.
  int Init();
  // Takes the lock for the calling thread. WAIT_SUCCEEDED; WAIT_TIMED_OUT if another thread kept it
  // for `timeoutMs`; WAIT_FAILED if the lock is unusable. Only the first result means "held".
  unsigned int Wait(unsigned int timeoutMs);
  // Undoes one successful wait of the calling thread. Does nothing if the calling thread does not
  // hold the lock.
  void Release();

 private:
  struct State;
  std::shared_ptr<State> m_pState;
};

}  // namespace Native_OS

// A flag that threads wait for. Unusable until `Init` has returned 1; until then every wait fails
// and the flag cannot be set. Unless it is manual-reset, the wait that the event ends clears it, so
// that it ends one wait only.
class HOST_API CEvent {
 public:
  CEvent();
  ~CEvent();
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;

  // Makes the event usable. 1 on success, else 0.
  int Init(bool initiallySet, bool manualReset);
  // Sets the flag, and wakes one waiting thread, or all of them if the event is manual-reset.
  void Set();
  // Clears the flag.
  void Reset();
  // Waits until the flag is set. WAIT_SUCCEEDED; WAIT_TIMED_OUT after `timeoutMs`; WAIT_FAILED if
  // the event is unusable.
  unsigned int Wait(unsigned int timeoutMs);

 private:
  friend class CWaiter;
  struct State;
  std::shared_ptr<State> m_pState;
};

// How much of a duration is left, to share one timeout between several waits. For use by one
// thread.
class HOST_API CWaitInterval {
 public:
  // The duration, in milliseconds, starts now. WAIT_INFINITE never ends.
  explicit CWaitInterval(unsigned int durationMs);
  // A new duration starts now.
  void Restart(unsigned int durationMs);
  // The milliseconds that are left: 0 when the duration is over, WAIT_INFINITE if it never ends.
  operator unsigned int() const;

 private:
  std::uint64_t m_DeadlineMs;
};

// Waits for one or all of several events. For use by one thread; the events may be set by any.
class HOST_API CWaiter {
 public:
  CWaiter();
  ~CWaiter();
  CWaiter(const CWaiter&) = delete;
  CWaiter& operator=(const CWaiter&) = delete;

  // Adds an event to wait for. It must outlive the waiter.
  void Add(CEvent& event);
  // Waits until one event is set, or, with `all`, until all are set at the same time. Returns the
  // 1-based position, in the order of `Add`, of the event that ended the wait, which is the first
  // one if several are set or with `all`. WAIT_TIMED_OUT after `timeoutMs`. Unusable events are
  // left out; WAIT_FAILED if no event is left. Of the events that are not manual-reset, clears the
  // one that ended the wait, or, with `all`, each.
  unsigned int Wait(unsigned int timeoutMs, bool all);

 private:
  std::vector<std::shared_ptr<CEvent::State>> m_Events;
};

// Holds a lock as long as it lives. It does not report whether its wait succeeded: give it
// WAIT_INFINITE and a usable lock, as clang's analysis assumes. To be destroyed by the thread that
// constructed it.
class HOST_SCOPED_CAPABILITY HOST_API CSyncGuard {
 public:
  // Waits for `lock`, which must outlive the guard. A wait that fails leaves nothing to release.
  CSyncGuard(Native_OS::CFastMutex& lock, unsigned int timeoutMs) HOST_ACQUIRE(lock);
  ~CSyncGuard() HOST_RELEASE();
  CSyncGuard(const CSyncGuard&) = delete;
  CSyncGuard& operator=(const CSyncGuard&) = delete;

 private:
  Native_OS::CFastMutex& m_Lock;
  bool m_Held;
};

// A thread. The object may be destroyed at any time: a thread that still runs continues detached,
// and one that has ended is joined. An exception that leaves the thread's call ends the process.
class HOST_API CThread {
 public:
  CThread();
  virtual ~CThread();
  CThread(const CThread&) = delete;
  CThread& operator=(const CThread&) = delete;

  // Starts a thread that makes the call of a copy of `delegate`. 1 on success; 0 if the system
  // refuses, if this object has already started a thread, or if `suspended` is true.
  int Create(const Delegates_and_Calls::CDelegate& delegate, bool suspended);
  // Waits for the thread to end. WAIT_SUCCEEDED, also after a cancellation; WAIT_TIMED_OUT if it
  // still runs after `timeoutMs`; WAIT_FAILED if none was created.
  unsigned int Wait(unsigned int timeoutMs);
  // The native thread, or 0 if none was created. Still owned by this object: not for joining.
  unsigned long GetHandle() const;
  // Asks the thread to end at its next cancellation point, where its stack unwinds. Does not wait
  // for that. Has no effect if the thread has ended or none was created.
  void Cancel();

 private:
  struct State;
  std::shared_ptr<State> m_pState;
};

}  // namespace Threading

namespace Language_Support {
namespace CLanguageSupport {

// A plug-in's texts in the languages of the host. Immutable.
class HOST_API CLngFile {
 public:
  // `defaults` are the `defaultCount` texts to use without a language file. Nothing is copied:
  // file, encoding and defaults must outlive the object. Pass 1 for the unnamed number.
  CLngFile(const char* file, unsigned int language, const char* encoding, unsigned int,
           const char** defaults, unsigned long defaultCount);
  ~CLngFile();

  // The text at the 0-based `index`, or an empty one beyond the end; never nullptr. It lives as
  // long as the defaults.
  const char* GetText(unsigned long index) const;

  const char* const m_File;            // name of the language file, without a directory
  const unsigned int m_Language;       // two letters as a 16-bit number
  const char* const m_Encoding;        // of the defaults
  const unsigned long m_DefaultCount;  // number of texts

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

// Milliseconds since the epoch. Never less than an earlier result in this process, even if the
// system's clock is set back.
HOST_API unsigned long now();

// Identifies a module to the toolkit: one object per module, with static lifetime.
class HOST_API CModuleInfo {
 public:
  // Registers the module for tracing; the destructor removes it. Nothing is copied: everything
  // pointed to must outlive the object.
  CModuleInfo(unsigned int module, const char* name, const char* version,
              Language_Support::CLanguageSupport::CLngFile* languageFile,
              Language_Support::CLanguageSupport::ERROR_MSG_LIST* messages);
  ~CModuleInfo();
  CModuleInfo(const CModuleInfo&) = delete;
  CModuleInfo& operator=(const CModuleInfo&) = delete;

  const unsigned int m_Module;  // the module's number among those of the host
  const char* const m_Name;     // as trace lines show it
  const char* const m_Version;  // for people
  Language_Support::CLanguageSupport::CLngFile* const m_pLanguageFile;
  Language_Support::CLanguageSupport::ERROR_MSG_LIST* const m_pMessages;
  // One bit per trace level. The toolkit changes it while other threads read it.
  std::atomic<std::uint32_t> m_TraceMask;
};

}  // namespace Misc

namespace Internals {

// One trace line, written when the object is destroyed. For use by one thread. The destructor never
// throws: a line that cannot be written is lost.
class HOST_API CTraceStreamBuffer {
 public:
  // `level` is one bit of the module's trace mask; whether it is set is for the caller to check.
  // The module and the texts must outlive the object.
  CTraceStreamBuffer(unsigned int level, const Misc::CModuleInfo& module, const char* file,
                     const char* function, int line);
  ~CTraceStreamBuffer();
  CTraceStreamBuffer(const CTraceStreamBuffer&) = delete;
  CTraceStreamBuffer& operator=(const CTraceStreamBuffer&) = delete;

  // Adds to the end of the line's text.
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
// buffer when destroyed. Extra values are dropped; extra placeholders remain as they are. For use
// by one thread.
class HOST_API CFormatStream {
 public:
  // The buffer must outlive the object; the format is copied.
  CFormatStream(Internals::CTraceStreamBuffer& buffer, const char* format);
  ~CFormatStream();
  CFormatStream(const CFormatStream&) = delete;
  CFormatStream& operator=(const CFormatStream&) = delete;

  // Replaces the next placeholder by the number: "0x%x" by "0x" and hexadecimal digits, any other
  // by decimal digits. Returns this object.
  CFormatStream& FormatInt(unsigned int value);
  CFormatStream& FormatInt(unsigned long value);
  // Replaces the next placeholder, of whatever kind, by the text. Returns this object.
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

// Questions about the machine's hardware.
class HOST_API CConfigManager {
 public:
  // Finds the `count`-th device on the PCI bus, 1-based in order of segment, bus, device and
  // function, that has one of the `ids`: vendor and device as eight hexadecimal digits. Returns
  // whether there is one; otherwise the four outputs are unchanged. Reads the bus at every call.
  static bool GetLocation(const std::vector<std::string>& ids, unsigned long count, int& segment,
                          int& bus, int& device, int& function);
};

// A date and time of day in UTC.
struct HOST_API CSystemDate_Lx {
  std::uint32_t m_Year;
  std::uint32_t m_Month;      // from 1
  std::uint32_t m_Day;        // from 1
  std::uint32_t m_DayOfWeek;  // from 0, Sunday
  std::uint32_t m_DayOfYear;  // from 1
  std::uint32_t m_Hour;       // from 0
  std::uint32_t m_Minute;     // from 0
  std::uint32_t m_Second;     // from 0; the system's time has no leap seconds
  std::uint32_t m_Milliseconds;
};

// Conversions of the system's time.
class HOST_API CSystemTime_Lx {
 public:
  // Sets all members of `date` from milliseconds since the epoch.
  static void GetDate(unsigned long milliseconds, CSystemDate_Lx& date);
};

}  // namespace MBXX
