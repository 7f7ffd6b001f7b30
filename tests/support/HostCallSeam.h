// The plug-in's calls of the host that concern the locations of cards.
#pragma once

#include <string>
#include <vector>

namespace CorvaneTest {

// Records the calls and forwards them. One instance at a time, and only while the plug-in has no
// thread.
class HostCallWatch {
 public:
  HostCallWatch();
  ~HostCallWatch();
  HostCallWatch(const HostCallWatch&) = delete;
  HostCallWatch& operator=(const HostCallWatch&) = delete;

  // In order: "GetLocation 1 of 1AED1000 1AED1003" and "GenerateUniqueAdapterNumber for localhost
  // 0 59 2 1". The latter is followed by "(unknown host)" if the host has no entry yet, and by
  // "(other fields set)" if more than the location is given.
  std::vector<std::string> m_Calls;
};

}  // namespace CorvaneTest
