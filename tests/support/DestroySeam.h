// Records whether the plug-in passes an error record when it destroys a handle. The library accepts
// calls with and without one.
#pragma once

#include <string>
#include <vector>

namespace CorvaneTest {

// Records, in order, whether each `vsl_destroy` call passed an error record: "record" or "none".
// Only one instance may exist at a time.
class DestroyWatch {
 public:
  DestroyWatch();
  ~DestroyWatch();
  DestroyWatch(const DestroyWatch&) = delete;
  DestroyWatch& operator=(const DestroyWatch&) = delete;

  // Returns and clears the recorded calls.
  std::vector<std::string> Take();
};

}  // namespace CorvaneTest
