// Detection of locks that are held during a call that can block: a call to the plug-in process, a
// write to a client's socket or to the log, or a database statement.
//
// Builds with CORVANE_CHECK_LOCKS count the locks of each thread; other builds check nothing.
#pragma once

#include "host/own/ThreadSafety.h"

namespace Base {

// Represents all locks in annotations: acquiring a `MutexLock` also acquires this.
class HOST_CAPABILITY AnyLock {};
inline AnyLock g_AnyLock;

#ifdef CORVANE_CHECK_LOCKS
// Number of locks that the calling thread holds. The program and its libraries share it, because a
// lock of the program must not be held during a statement of the host kit.
__attribute__((visibility("default"))) inline thread_local int t_HeldLocks = 0;

inline void CountLocks(int change) {
  t_HeldLocks += change;
}

// Aborts with a message if the calling thread holds a lock. `call` describes the blocking call.
void RequireNoLock(const char* call) HOST_EXCLUDES(g_AnyLock);
#else
inline void CountLocks(int) {}
inline void RequireNoLock(const char*) HOST_EXCLUDES(g_AnyLock) {}
#endif

}  // namespace Base

// A function that can block and is called without locks.
#define HOST_BLOCKS HOST_EXCLUDES(::Base::g_AnyLock)
