// Names of the plug-in's threads, which debuggers and the host's trace show.
#pragma once

#include <pthread.h>

#include <cstddef>

namespace NAMESPACE_Corvane {

// Names the calling thread. The kernel stores at most 15 characters.
template <std::size_t size>
void NameThread(const char (&name)[size]) {
  static_assert(size <= 16);
  pthread_setname_np(pthread_self(), name);
}

}  // namespace NAMESPACE_Corvane
