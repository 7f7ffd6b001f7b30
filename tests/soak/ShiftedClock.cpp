// A library for LD_PRELOAD. Adds the number of seconds in the file that the environment variable
// CORVANE_SOAK_CLOCK names to the wall clock; other clocks are unchanged.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>

namespace {

using GetTime = int (*)(clockid_t, timespec*);

time_t Shift() {
  static const char* const file = std::getenv("CORVANE_SOAK_CLOCK");
  char text[32] = "";
  const int descriptor = file == nullptr ? -1 : open(file, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return 0;
  const ssize_t size = read(descriptor, text, sizeof text - 1);
  close(descriptor);
  return size > 0 ? std::atol(text) : 0;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* value) {
  static const auto next = reinterpret_cast<GetTime>(dlsym(RTLD_NEXT, "clock_gettime"));
  const int result = next(clock, value);
  if (result == 0 && clock == CLOCK_REALTIME) value->tv_sec += Shift();
  return result;
}

__attribute__((visibility("default"))) int gettimeofday(timeval* value, void*) {
  timespec now = {};
  const int result = clock_gettime(CLOCK_REALTIME, &now);
  *value = {now.tv_sec, now.tv_nsec / 1000};
  return result;
}

__attribute__((visibility("default"))) time_t time(time_t* value) {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  if (value != nullptr) *value = now.tv_sec;
  return now.tv_sec;
}
}
