// Annotations for clang's -Wthread-safety. Empty for other compilers.
//
// The SDKs of other hosts may not have these macros, so a plug-in must not use them.
#pragma once

#ifdef __clang__
#define HOST_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define HOST_THREAD_ATTRIBUTE(attribute)
#endif

// A class whose objects are locks; a class whose objects hold a lock for their lifetime.
#define HOST_CAPABILITY HOST_THREAD_ATTRIBUTE(capability("mutex"))
#define HOST_SCOPED_CAPABILITY HOST_THREAD_ATTRIBUTE(scoped_lockable)

// A member that is used only while the lock is held; a pointer whose target is.
#define HOST_GUARDED_BY(lock) HOST_THREAD_ATTRIBUTE(guarded_by(lock))
#define HOST_PT_GUARDED_BY(lock) HOST_THREAD_ATTRIBUTE(pt_guarded_by(lock))

// A function that is called with the lock held; without the lock held.
#define HOST_REQUIRES(...) HOST_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define HOST_EXCLUDES(...) HOST_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

// A function that acquires the lock; releases it; returns a reference to it. Without an argument,
// the lock is the object itself, or the lock held by the object of a scoped class.
#define HOST_ACQUIRE(...) HOST_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define HOST_RELEASE(...) HOST_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define HOST_RETURN_CAPABILITY(lock) HOST_THREAD_ATTRIBUTE(lock_returned(lock))

// A function that the analysis cannot follow; a comment at each use explains why it is correct.
#define HOST_NO_THREAD_SAFETY_ANALYSIS HOST_THREAD_ATTRIBUTE(no_thread_safety_analysis)
