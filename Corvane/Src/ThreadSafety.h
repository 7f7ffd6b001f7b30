// Which lock guards what, as annotations that clang's -Wthread-safety checks. Other compilers
// ignore them.
//
// The check needs lock types that are annotated as capabilities. With headers of a host that does
// not annotate its lock types, the annotations have no effect.
#pragma once

#if defined(__clang__)
#define CORVANE_THREAD_ANNOTATION(...) __attribute__((__VA_ARGS__))
#else
#define CORVANE_THREAD_ANNOTATION(...)
#endif

// On a member: it is read and written with the lock held.
#define CORVANE_GUARDED_BY(lock) CORVANE_THREAD_ANNOTATION(guarded_by(lock))
// On a lock: where both are held, it is taken after the other one.
#define CORVANE_ACQUIRED_AFTER(lock) CORVANE_THREAD_ANNOTATION(acquired_after(lock))

// On a function: the caller holds the locks.
#define CORVANE_REQUIRES(...) CORVANE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
// On a function that accesses guarded members without their lock. A comment says why it may.
#define CORVANE_UNLOCKED CORVANE_THREAD_ANNOTATION(no_thread_safety_analysis)

// On a class whose objects hold a lock until they are destroyed, and on its members.
#define CORVANE_SCOPED_LOCK CORVANE_THREAD_ANNOTATION(scoped_lockable)
#define CORVANE_EXCLUDES(lock) CORVANE_THREAD_ANNOTATION(locks_excluded(lock))
#define CORVANE_TRY_ACQUIRE(...) CORVANE_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define CORVANE_RELEASE(...) CORVANE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
