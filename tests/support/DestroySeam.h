// Whether the plug-in gives an error record along when it destroys a handle. The library takes
// both.
#pragma once

#include <string>
#include <vector>

namespace CorvaneTest {

// Keeps what each `vsl_destroy` came with while it lives: "record" or "none", in order. One at a
// time.
class DestroyWatch {
 public:
  DestroyWatch();
  ~DestroyWatch();
  DestroyWatch(const DestroyWatch&) = delete;
  DestroyWatch& operator=(const DestroyWatch&) = delete;

  // What was kept, which is then forgotten.
  std::vector<std::string> Take();
};

}  // namespace CorvaneTest
