// Locks, events, threads and delegates. In this SDK, delegates are passed by value and thread
// handles are pointers.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sdk/own/export.h"

namespace MBX {

namespace Delegates_and_Calls {

class OWN_EXPORT OwnDelegate {
 public:
  explicit OwnDelegate(std::function<unsigned int()>);
  std::function<unsigned int()> m_OwnCall;
};

template <class OwnObject, class OwnResult>
class TDelegateR0 : public OwnDelegate {
 public:
  TDelegateR0(OwnObject* own_object, OwnResult (OwnObject::*own_member)())
      : OwnDelegate([=] { return (own_object->*own_member)(); }) {}
};

template <class OwnObject, class OwnResult, class OwnArgument>
class TDelegateR1;

template <class OwnObject, class OwnResult>
class TDelegateR1<OwnObject, OwnResult, const std::string&> : public OwnDelegate {
 public:
  TDelegateR1(OwnObject* own_object, OwnResult (OwnObject::*own_member)(const std::string&),
              std::string own_text)
      : OwnDelegate([=] { return (own_object->*own_member)(own_text); }) {}
};

}  // namespace Delegates_and_Calls

namespace Threading {

enum OWN_LIMITS : unsigned int { OWN_INFINITE = 0xFFFFFFFF };

namespace Native_OS {

class OWN_EXPORT CFastMutex {
 public:
  CFastMutex();
  ~CFastMutex();
  bool Init();
  unsigned int Wait(unsigned int = OWN_INFINITE);
  bool Release();

  void* m_OwnLock = nullptr;
};

}  // namespace Native_OS

class OWN_EXPORT CEvent {
 public:
  CEvent();
  ~CEvent();
  bool Init(bool, bool);
  bool Set();

  bool m_OwnState = false;
  bool m_OwnManual = false;
  bool m_OwnUsable = false;
};

class OWN_EXPORT CWaitInterval {
 public:
  explicit CWaitInterval(unsigned int);
  void Restart(unsigned int);
  operator unsigned int() const;

  unsigned long m_OwnEnd;
};

class OWN_EXPORT CWaiter {
 public:
  bool Add(CEvent&);
  unsigned int Wait(unsigned int, bool);

  std::vector<CEvent*> m_OwnEvents;
};

class OWN_EXPORT CSyncGuard {
 public:
  CSyncGuard(Native_OS::CFastMutex&, unsigned int = OWN_INFINITE);
  ~CSyncGuard();
  CSyncGuard(const CSyncGuard&) = delete;
  CSyncGuard& operator=(const CSyncGuard&) = delete;

  Native_OS::CFastMutex* m_OwnLock;
};

class OWN_EXPORT CThread {
 public:
  CThread();
  virtual ~CThread();
  CThread(const CThread&) = delete;
  CThread& operator=(const CThread&) = delete;

  bool Create(Delegates_and_Calls::OwnDelegate, bool = false);
  unsigned int Wait(unsigned int = OWN_INFINITE);
  const void* GetHandle();
  bool Cancel();

  void* m_OwnThread = nullptr;
};

}  // namespace Threading

}  // namespace MBX
