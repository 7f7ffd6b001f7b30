// Whether the plug-in passes an error record when it destroys a handle. The library accepts calls
// with and without.
#pragma once

#include <string>
#include <vector>

namespace CorvaneTest {

// Notes whether each `vsl_destroy` got an error record, in order: "record" or "none". One instance
// at a time.
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
