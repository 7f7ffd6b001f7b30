// Names of threads, which debuggers, top -H and the trace log show.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <string>

namespace Base {

// The longest name that the kernel stores, with its terminating zero.
constexpr std::size_t kThreadNameSize = 16;

// Names the calling thread. Longer names do not compile, because the kernel would reject them.
template <std::size_t size>
void NameThread(const char (&name)[size]) {
  static_assert(size <= kThreadNameSize);
  pthread_setname_np(pthread_self(), name);
}

// Returns the name of the calling thread. A thread that was not named has the name of the thread
// that started it, which for the main thread is the name of the program.
inline std::string ThreadName() {
  char name[kThreadNameSize] = "";
  pthread_getname_np(pthread_self(), name, sizeof name);
  return name;
}

}  // namespace Base
