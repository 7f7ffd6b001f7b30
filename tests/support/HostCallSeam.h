// The plug-in's calls to the host about the locations of cards.
#pragma once

#include <string>
#include <vector>

namespace CorvaneTest {

// Records the calls and forwards them. Only one instance may exist at a time, and only while the
// plug-in runs no threads.
class HostCallWatch {
 public:
  HostCallWatch();
  ~HostCallWatch();
  HostCallWatch(const HostCallWatch&) = delete;
  HostCallWatch& operator=(const HostCallWatch&) = delete;

  // In order: "GetLocation 1 of 1AED1000 1AED1003" and "GenerateUniqueAdapterNumber for localhost 0
  // 59 2 1". The latter is followed by "(unknown host)" if the host has no entry yet, and by
  // "(other fields set)" if fields other than the location are set.
  std::vector<std::string> m_Calls;
};

}  // namespace CorvaneTest
