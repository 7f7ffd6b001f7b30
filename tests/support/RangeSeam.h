// The values with a range that the plug-in stores in properties of the host.
#pragma once

#include <string>
#include <vector>

namespace CorvaneTest {

// Records each value with a range, and forwards it to the property. Only one instance may exist at
// a time, and only while the plug-in runs no threads.
class RangeWatch {
 public:
  RangeWatch();
  ~RangeWatch();
  RangeWatch(const RangeWatch&) = delete;
  RangeWatch& operator=(const RangeWatch&) = delete;

  // In order, with the number of the property: "30486: 97 in 1..100".
  std::vector<std::string> m_Values;
};

}  // namespace CorvaneTest
