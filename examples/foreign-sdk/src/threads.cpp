// Locks, events and threads, with POSIX threads: canceling a thread unwinds its stack.
#include <pthread.h>
#include <time.h>

#include <cerrno>
#include <utility>

#include "host/Toolkit.h"

namespace MBX {

Delegates_and_Calls::OwnDelegate::OwnDelegate(std::function<unsigned int()> call)
    : m_OwnCall(std::move(call)) {}

namespace Threading {
namespace {

constexpr unsigned int kFailed = 0;
constexpr unsigned int kSucceeded = 1;
constexpr unsigned int kTimedOut = 130;

timespec After(unsigned int milliseconds) {
  timespec time = {};
  clock_gettime(CLOCK_REALTIME, &time);
  time.tv_sec += milliseconds / 1000;
  time.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
  if (time.tv_nsec >= 1000000000) {
    ++time.tv_sec;
    time.tv_nsec -= 1000000000;
  }
  return time;
}

unsigned long NowMs() {
  timespec time = {};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<unsigned long>(time.tv_sec) * 1000 +
         static_cast<unsigned long>(time.tv_nsec) / 1000000;
}

pthread_mutex_t* LockOf(const Native_OS::CFastMutex& lock) {
  return static_cast<pthread_mutex_t*>(lock.m_OwnLock);
}

// One lock and one condition for all events.
pthread_mutex_t g_EventsLock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t g_EventSet = PTHREAD_COND_INITIALIZER;

// Also released if the thread is canceled while it waits.
struct EventsGuard {
  EventsGuard() { pthread_mutex_lock(&g_EventsLock); }
  ~EventsGuard() { pthread_mutex_unlock(&g_EventsLock); }
  EventsGuard(const EventsGuard&) = delete;
  EventsGuard& operator=(const EventsGuard&) = delete;
};

// Returns the position of the first event that is set, counted from 1, and clears it; 0 if none.
unsigned int TakeFirst(const std::vector<CEvent*>& events) {
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (!events[i]->m_OwnState) continue;
    events[i]->m_OwnState = events[i]->m_OwnManual;
    return static_cast<unsigned int>(i + 1);
  }
  return 0;
}

struct Thread {
  pthread_t m_Thread = {};
  bool m_IsJoined = false;
};

void* Run(void* argument) {
  const std::unique_ptr<std::function<unsigned int()>> call(
      static_cast<std::function<unsigned int()>*>(argument));
  (*call)();
  return nullptr;
}

}  // namespace

Native_OS::CFastMutex::CFastMutex() = default;
Native_OS::CFastMutex::~CFastMutex() {
  if (m_OwnLock == nullptr) return;
  pthread_mutex_destroy(LockOf(*this));
  delete LockOf(*this);
}
bool Native_OS::CFastMutex::Init() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  auto lock = std::make_unique<pthread_mutex_t>();
  const bool isUsable = pthread_mutex_init(lock.get(), &attributes) == 0;
  pthread_mutexattr_destroy(&attributes);
  if (isUsable) m_OwnLock = lock.release();
  return isUsable;
}
unsigned int Native_OS::CFastMutex::Wait(unsigned int timeoutMs) {
  if (m_OwnLock == nullptr) return kFailed;
  if (timeoutMs == OWN_INFINITE) {
    return pthread_mutex_lock(LockOf(*this)) == 0 ? kSucceeded : kFailed;
  }
  const timespec end = After(timeoutMs);
  return pthread_mutex_timedlock(LockOf(*this), &end) == 0 ? kSucceeded : kTimedOut;
}
bool Native_OS::CFastMutex::Release() {
  return m_OwnLock != nullptr && pthread_mutex_unlock(LockOf(*this)) == 0;
}

CEvent::CEvent() = default;
CEvent::~CEvent() = default;
bool CEvent::Init(bool initially, bool manual) {
  m_OwnState = initially;
  m_OwnManual = manual;
  m_OwnUsable = true;
  return true;
}
bool CEvent::Set() {
  const EventsGuard guard;
  m_OwnState = m_OwnUsable;
  pthread_cond_broadcast(&g_EventSet);
  return m_OwnState;
}

CWaitInterval::CWaitInterval(unsigned int durationMs) {
  Restart(durationMs);
}
void CWaitInterval::Restart(unsigned int durationMs) {
  m_OwnEnd = NowMs() + durationMs;
}
CWaitInterval::operator unsigned int() const {
  const unsigned long now = NowMs();
  return m_OwnEnd > now ? static_cast<unsigned int>(m_OwnEnd - now) : 0;
}

bool CWaiter::Add(CEvent& event) {
  m_OwnEvents.push_back(&event);
  return true;
}
// This host never waits for all events.
unsigned int CWaiter::Wait(unsigned int timeoutMs, bool) {
  const timespec end = After(timeoutMs);
  const EventsGuard guard;
  for (;;) {
    if (const unsigned int position = TakeFirst(m_OwnEvents)) return position;
    if (pthread_cond_timedwait(&g_EventSet, &g_EventsLock, &end) == ETIMEDOUT) return kTimedOut;
  }
}

CSyncGuard::CSyncGuard(Native_OS::CFastMutex& lock, unsigned int timeoutMs)
    : m_OwnLock(lock.Wait(timeoutMs) == kSucceeded ? &lock : nullptr) {}
CSyncGuard::~CSyncGuard() {
  if (m_OwnLock != nullptr) m_OwnLock->Release();
}

CThread::CThread() = default;
CThread::~CThread() {
  const std::unique_ptr<Thread> thread(static_cast<Thread*>(m_OwnThread));
  if (thread && !thread->m_IsJoined) pthread_detach(thread->m_Thread);
}
bool CThread::Create(Delegates_and_Calls::OwnDelegate delegate, bool suspended) {
  if (suspended || m_OwnThread != nullptr) return false;
  auto call = std::make_unique<std::function<unsigned int()>>(std::move(delegate.m_OwnCall));
  auto thread = std::make_unique<Thread>();
  if (pthread_create(&thread->m_Thread, nullptr, Run, call.get()) != 0) return false;
  call.release();
  m_OwnThread = thread.release();
  return true;
}
unsigned int CThread::Wait(unsigned int timeoutMs) {
  auto* const thread = static_cast<Thread*>(m_OwnThread);
  if (thread == nullptr) return kFailed;
  if (thread->m_IsJoined) return kSucceeded;
  const timespec end = After(timeoutMs);
  const int error = timeoutMs == OWN_INFINITE
                        ? pthread_join(thread->m_Thread, nullptr)
                        : pthread_timedjoin_np(thread->m_Thread, nullptr, &end);
  thread->m_IsJoined = error == 0;
  return thread->m_IsJoined ? kSucceeded : kTimedOut;
}
const void* CThread::GetHandle() {
  return m_OwnThread;
}
bool CThread::Cancel() {
  const auto* const thread = static_cast<Thread*>(m_OwnThread);
  return thread != nullptr && !thread->m_IsJoined && pthread_cancel(thread->m_Thread) == 0;
}

}  // namespace Threading
}  // namespace MBX
