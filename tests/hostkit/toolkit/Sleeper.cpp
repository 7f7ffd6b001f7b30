#include "tests/hostkit/toolkit/Sleeper.h"

#include <boost/thread/thread.hpp>

void SleepWithBoost(long milliseconds) {
  boost::this_thread::sleep_for(boost::chrono::milliseconds(milliseconds));
}
