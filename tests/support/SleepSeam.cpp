// Makes `boost::this_thread::sleep_for` in the plug-in and the simulator use the kit's clock.
//
// Boost implements a sleep as a timed wait on a condition that is never signaled, with a deadline
// on its steady clock. This file replaces both the clock's `now` and the timed wait: the loader
// finds the executable's definitions first. In virtual and seeded time, the kit handles the calls
// of its threads; in real time, and for other threads, they are forwarded. A program with this seam
// must not use timed waits on its own condition variables.

#include <dlfcn.h>
#include <pthread.h>

#include <boost/chrono/system_clocks.hpp>
#include <cerrno>
#include <ctime>

#include "hostkit/Scheduler.h"

#define SEAM_API __attribute__((visibility("default")))

namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;

std::int64_t Nanoseconds(const timespec& time) {
  return time.tv_sec * kNsPerSecond + time.tv_nsec;
}

// Releases a mutex and acquires it again when destroyed, even if the sleeper's stack unwinds.
class Unlocked {
 public:
  explicit Unlocked(pthread_mutex_t* mutex) : m_pMutex(mutex) { pthread_mutex_unlock(m_pMutex); }
  ~Unlocked() { pthread_mutex_lock(m_pMutex); }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;

 private:
  pthread_mutex_t* m_pMutex;
};

#if defined(__has_feature)
#define SEAM_HAS_FEATURE(name) __has_feature(name)
#else
#define SEAM_HAS_FEATURE(name) 0
#endif

// The replaced wait. Clang's thread sanitizer is part of the executable, so the next definition
// would bypass it.
#if SEAM_HAS_FEATURE(thread_sanitizer)
extern "C" int __interceptor_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*,
                                                    const timespec*);

int RealTimedWait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until) {
  return __interceptor_pthread_cond_timedwait(condition, mutex, until);
}
#else
int RealTimedWait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until) {
  using Function = int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_cond_timedwait"));
  return real(condition, mutex, until);
}
#endif

// Not inlined: otherwise, a native cancellation of the real wait would leave the stack around these
// objects poisoned, which the address sanitizer would report while the sleeper unwinds.
[[gnu::noinline]] int KitTimedWait(pthread_mutex_t* mutex, const timespec& until) {
  const Unlocked unlocked(mutex);
  HostKit::SleepUntilNs(Nanoseconds(until));
  return ETIMEDOUT;
}

}  // namespace

extern "C" SEAM_API int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                               const timespec* until) {
  return HostKit::IsOnKitTime() ? KitTimedWait(mutex, *until)
                                : RealTimedWait(condition, mutex, until);
}

namespace boost {
namespace chrono {

SEAM_API steady_clock::time_point steady_clock::now() BOOST_NOEXCEPT {
  if (HostKit::IsOnKitTime()) return time_point(nanoseconds(HostKit::SteadyNowNs()));
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time_point(nanoseconds(Nanoseconds(time)));
}

}  // namespace chrono
}  // namespace boost
