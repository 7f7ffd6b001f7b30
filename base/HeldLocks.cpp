#include "base/HeldLocks.h"

#ifdef CORVANE_CHECK_LOCKS
#include <cstdio>
#include <cstdlib>

void Base::RequireNoLock(const char* call) {
  if (t_HeldLocks == 0) return;
  std::fprintf(stderr, "%s while the thread holds a lock (%d in total)\n", call, t_HeldLocks);
  std::abort();
}
#endif
