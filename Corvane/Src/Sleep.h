// A sleep that can be canceled.
#pragma once

#include <boost/chrono.hpp>
#include <boost/thread/thread.hpp>

namespace NAMESPACE_Corvane {

// Blocks the calling thread. A cancellation point.
inline void Sleep(unsigned int milliseconds) {
  boost::this_thread::sleep_for(boost::chrono::milliseconds(milliseconds));
}

}  // namespace NAMESPACE_Corvane
