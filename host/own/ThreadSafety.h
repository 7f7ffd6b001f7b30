// Says which lock guards what, for clang's -Wthread-safety. Empty for other compilers.
//
// A host's own SDK need not have any of this: code that is built against it must not use these
// macros.
#pragma once

#ifdef __clang__
#define HOST_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define HOST_THREAD_ATTRIBUTE(attribute)
#endif

// A class whose objects are locks, and one whose objects hold a lock as long as they live.
#define HOST_CAPABILITY HOST_THREAD_ATTRIBUTE(capability("mutex"))
#define HOST_SCOPED_CAPABILITY HOST_THREAD_ATTRIBUTE(scoped_lockable)

// A member, or what a pointer leads to, that is used only while the lock is held.
#define HOST_GUARDED_BY(lock) HOST_THREAD_ATTRIBUTE(guarded_by(lock))
#define HOST_PT_GUARDED_BY(lock) HOST_THREAD_ATTRIBUTE(pt_guarded_by(lock))

// A function that is called with the lock held, or without it.
#define HOST_REQUIRES(...) HOST_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define HOST_EXCLUDES(...) HOST_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

// A function that takes the lock, gives it back, or returns it. Without an argument in a scoped
// class: the lock of the object.
#define HOST_ACQUIRE(...) HOST_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define HOST_RELEASE(...) HOST_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define HOST_RETURN_CAPABILITY(lock) HOST_THREAD_ATTRIBUTE(lock_returned(lock))

// A function that the analysis cannot follow; a comment says why it is right.
#define HOST_NO_THREAD_SAFETY_ANALYSIS HOST_THREAD_ATTRIBUTE(no_thread_safety_analysis)
