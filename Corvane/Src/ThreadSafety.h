// Annotations for clang's -Wthread-safety. Empty for other compilers.
//
// The analysis requires that lock types are annotated as capabilities. If the host's headers do not
// annotate them, these annotations have no effect.
#pragma once

#if defined(__clang__)
#define CORVANE_THREAD_ANNOTATION(...) __attribute__((__VA_ARGS__))
#else
#define CORVANE_THREAD_ANNOTATION(...)
#endif

// On a member that is accessed only with the lock held.
#define CORVANE_GUARDED_BY(lock) CORVANE_THREAD_ANNOTATION(guarded_by(lock))
// On a lock that is acquired after the other one if both are held.
#define CORVANE_ACQUIRED_AFTER(lock) CORVANE_THREAD_ANNOTATION(acquired_after(lock))

// On a function whose caller must hold the locks.
#define CORVANE_REQUIRES(...) CORVANE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
// On a function that the analysis skips; a comment at each use explains why this is safe.
#define CORVANE_UNLOCKED CORVANE_THREAD_ANNOTATION(no_thread_safety_analysis)

// On a class whose objects hold a lock until they are destroyed, and on its members.
#define CORVANE_SCOPED_LOCK CORVANE_THREAD_ANNOTATION(scoped_lockable)
#define CORVANE_EXCLUDES(lock) CORVANE_THREAD_ANNOTATION(locks_excluded(lock))
#define CORVANE_TRY_ACQUIRE(...) CORVANE_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define CORVANE_RELEASE(...) CORVANE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
