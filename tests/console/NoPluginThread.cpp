// A preloaded library that prevents the host kit from creating threads. The program can create
// other threads until the file that CONSOLE_TEST_NO_THREADS names exists and is not empty.
#include <dlfcn.h>
#include <pthread.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

bool IsInHostKit(void* (*start)(void*)) {
  Dl_info info = {};
  return dladdr(reinterpret_cast<void*>(start), &info) != 0 && info.dli_fname != nullptr &&
         std::strstr(info.dli_fname, "libhostkit") != nullptr;
}

bool NoThreadsLeft() {
  const char* file = std::getenv("CONSOLE_TEST_NO_THREADS");
  struct stat status = {};
  return file != nullptr && stat(file, &status) == 0 && status.st_size > 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attr,
                                                                     void* (*start)(void*),
                                                                     void* argument) {
  static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return IsInHostKit(start) || NoThreadsLeft() ? EAGAIN : next(thread, attr, start, argument);
}
