// A preloaded library that stands in for a directory service that does not respond: looking up a
// user by number blocks while the file that CONSOLE_TEST_HUNG_DIRECTORY names exists.
#include <dlfcn.h>
#include <pwd.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>

namespace {

using LookUp = int (*)(uid_t, passwd*, char*, std::size_t, passwd**);

}  // namespace

extern "C" __attribute__((visibility("default"))) int getpwuid_r(uid_t user, passwd* entry,
                                                                 char* buffer, std::size_t size,
                                                                 passwd** found) {
  static const auto next = reinterpret_cast<LookUp>(dlsym(RTLD_NEXT, "getpwuid_r"));
  const char* const file = std::getenv("CONSOLE_TEST_HUNG_DIRECTORY");
  timespec pause = {0, 20000000};
  while (file != nullptr && access(file, F_OK) == 0) nanosleep(&pause, nullptr);
  return next(user, entry, buffer, size, found);
}
