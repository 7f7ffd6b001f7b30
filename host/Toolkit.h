// The host's toolkit: threads and waits, delegates, time, tracing, module identity, PCI look-up.
//
// Declarations only: the toolkit library brings the members. Unless a comment says otherwise, a
// member may be called from any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "host/Visibility.h"

namespace MBX {

namespace Delegates_and_Calls {

// A call that can be made later, on another thread.
class HOST_API CDelegate {
 public:
  virtual ~CDelegate();
  virtual unsigned int Call() = 0;
  virtual std::unique_ptr<CDelegate> Clone() const = 0;
};

// An object and one of its member functions. The object must outlive the call.
template <class CCall, class R>
class TDelegateR0 final : public CDelegate {
 public:
  using Member = R (CCall::*)();

  TDelegateR0(CCall* object, Member member) : m_pObject(object), m_Member(member) {}

  unsigned int Call() override { return (m_pObject->*m_Member)(); }
  std::unique_ptr<CDelegate> Clone() const override { return std::make_unique<TDelegateR0>(*this); }

 private:
  CCall* m_pObject;
  Member m_Member;
};

// The same with one argument, of which the delegate keeps a copy of its own.
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

constexpr unsigned int WAIT_INFINITE = 0xFFFFFFFF;  // a time-out in milliseconds
constexpr unsigned int WAIT_FAILED = 0;
constexpr unsigned int WAIT_SUCCEEDED = 1;
constexpr unsigned int WAIT_TIMED_OUT = 130;

namespace Native_OS {

// A recursive lock. Unusable until `Init` gave 1: before that every wait fails.
class HOST_API CFastMutex {
 public:
  CFastMutex();
  ~CFastMutex();
  CFastMutex(const CFastMutex&) = delete;
  CFastMutex& operator=(const CFastMutex&) = delete;

  // 1 on success.
  int Init();
  // WAIT_SUCCEEDED, WAIT_TIMED_OUT or WAIT_FAILED.
  unsigned int Wait(unsigned int timeoutMs);
  // By the thread that holds the lock, once for each successful wait.
  void Release();

 private:
  struct State;
  std::shared_ptr<State> m_pState;
};

}  // namespace Native_OS

// A flag that threads wait for. Unusable until `Init` gave 1. An event that is not manual-reset
// is cleared by the wait that it ends, and ends one wait only.
class HOST_API CEvent {
 public:
  CEvent();
  ~CEvent();
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;

  // 1 on success.
  int Init(bool initiallySet, bool manualReset);
  void Set();
  void Reset();
  // WAIT_SUCCEEDED, WAIT_TIMED_OUT or WAIT_FAILED.
  unsigned int Wait(unsigned int timeoutMs);

 private:
  friend class CWaiter;
  struct State;
  std::shared_ptr<State> m_pState;
};

// Milliseconds that are left of a span that began at construction or at the last `Restart`. For
// use by one thread.
class HOST_API CWaitInterval {
 public:
  explicit CWaitInterval(unsigned int spanMs);
  void Restart(unsigned int spanMs);
  operator unsigned int() const;

 private:
  std::uint64_t m_DeadlineMs;
};

// Waits for any or all of several events, which must outlive it. For use by one thread.
class HOST_API CWaiter {
 public:
  CWaiter();
  ~CWaiter();
  CWaiter(const CWaiter&) = delete;
  CWaiter& operator=(const CWaiter&) = delete;

  void Add(CEvent& event);
  // The position of the signalled event in the order of `Add`, counted from 1; the first one when
  // several are set, or when all were awaited. WAIT_TIMED_OUT, or WAIT_FAILED with no usable event.
  unsigned int Wait(unsigned int timeoutMs, bool all);

 private:
  std::vector<std::shared_ptr<CEvent::State>> m_Events;
};

// A lock that is held as long as this object lives.
class HOST_API CSyncGuard {
 public:
  CSyncGuard(Native_OS::CFastMutex& lock, unsigned int timeoutMs);
  ~CSyncGuard();
  CSyncGuard(const CSyncGuard&) = delete;
  CSyncGuard& operator=(const CSyncGuard&) = delete;

 private:
  Native_OS::CFastMutex& m_Lock;
  bool m_Held;
};

// A thread. Deleting the object is allowed at any time: a thread that still runs goes on by
// itself, and one that has ended is joined.
class HOST_API CThread {
 public:
  CThread();
  virtual ~CThread();
  CThread(const CThread&) = delete;
  CThread& operator=(const CThread&) = delete;

  // Starts the thread on a copy of `delegate`; 1 on success. `suspended` must be false. A second
  // start of the same object fails.
  int Create(const Delegates_and_Calls::CDelegate& delegate, bool suspended);
  // WAIT_SUCCEEDED when the thread has ended, WAIT_TIMED_OUT while it runs, WAIT_FAILED when none
  // was created.
  unsigned int Wait(unsigned int timeoutMs);
  // The native thread, or 0 when none was created. Not for joining.
  unsigned long GetHandle() const;
  // Asks the native thread to end at its next wait; its stack unwinds. A thread that has ended, or
  // was never created, bears it.
  void Cancel();

 private:
  struct State;
  std::shared_ptr<State> m_pState;
};

}  // namespace Threading

namespace Language_Support {
namespace CLanguageSupport {

// Texts of a plug-in in the languages of the host.
class HOST_API CLngFile {
 public:
  // Nothing is copied: file, encoding and defaults must outlive the object.
  CLngFile(const char* file, unsigned int language, const char* encoding, unsigned int,
           const char** defaults, unsigned long defaultCount);
  ~CLngFile();

  // The text at `index`, from 0; empty beyond the end.
  const char* GetText(unsigned long index) const;

  const char* const m_File;
  const unsigned int m_Language;  // two letters as a 16-bit number
  const char* const m_Encoding;
  const unsigned long m_DefaultCount;

 private:
  const char** m_Defaults;
};

struct HOST_API ERROR_MSG_LIST {
  std::uint64_t m_MessageCode;
  std::uint64_t m_Reserved[3];
};

}  // namespace CLanguageSupport
}  // namespace Language_Support

namespace Misc {

// Milliseconds since the epoch; never runs backwards.
HOST_API unsigned long now();

// What a module is to the toolkit. One object per module, made at load time.
class HOST_API CModuleInfo {
 public:
  // Nothing is copied: everything pointed to must outlive the object.
  CModuleInfo(unsigned int module, const char* name, const char* version,
              Language_Support::CLanguageSupport::CLngFile* languageFile,
              Language_Support::CLanguageSupport::ERROR_MSG_LIST* messages);
  ~CModuleInfo();
  CModuleInfo(const CModuleInfo&) = delete;
  CModuleInfo& operator=(const CModuleInfo&) = delete;

  const unsigned int m_Module;
  const char* const m_Name;
  const char* const m_Version;
  Language_Support::CLanguageSupport::CLngFile* const m_pLanguageFile;
  Language_Support::CLanguageSupport::ERROR_MSG_LIST* const m_pMessages;
  // One bit per level. The toolkit changes it while threads read it.
  std::atomic<std::uint32_t> m_TraceMask;
};

}  // namespace Misc

namespace Internals {

// One trace line on its way to the sink; sent when destroyed. For use by one thread.
class HOST_API CTraceStreamBuffer {
 public:
  // The texts must outlive the object.
  CTraceStreamBuffer(unsigned int level, const Misc::CModuleInfo& module, const char* file,
                     const char* function, int line);
  ~CTraceStreamBuffer();
  CTraceStreamBuffer(const CTraceStreamBuffer&) = delete;
  CTraceStreamBuffer& operator=(const CTraceStreamBuffer&) = delete;

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

// Fills the placeholders "%d", "0x%x" and "%s" of a format in order, and gives the text to the
// buffer when destroyed. A value too many is dropped; a placeholder too many stays.
class HOST_API CFormatStream {
 public:
  CFormatStream(Internals::CTraceStreamBuffer& buffer, const char* format);
  ~CFormatStream();
  CFormatStream(const CFormatStream&) = delete;
  CFormatStream& operator=(const CFormatStream&) = delete;

  CFormatStream& FormatInt(unsigned int value);
  CFormatStream& FormatInt(unsigned long value);
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

class HOST_API CConfigManager {
 public:
  // Looks on the PCI bus for the `count`-th device, counted from 1 in order of segment, bus, device
  // and function, that has one of the identities: vendor and device as eight hexadecimal digits.
  // The outputs are set only when the result is true.
  static bool GetLocation(const std::vector<std::string>& ids, unsigned long count, int& segment,
                          int& bus, int& device, int& function);
};

// A moment broken down in universal time.
struct HOST_API CSystemDate_Lx {
  std::uint32_t m_Year;
  std::uint32_t m_Month;      // from 1
  std::uint32_t m_Day;        // from 1
  std::uint32_t m_DayOfWeek;  // from 0, Sunday
  std::uint32_t m_DayOfYear;  // from 1
  std::uint32_t m_Hour;
  std::uint32_t m_Minute;
  std::uint32_t m_Second;
  std::uint32_t m_Milliseconds;
};

class HOST_API CSystemTime_Lx {
 public:
  // `milliseconds` since the epoch.
  static void GetDate(unsigned long milliseconds, CSystemDate_Lx& date);
};

}  // namespace MBXX
