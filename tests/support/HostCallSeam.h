// What the plug-in asks of the host about the places of its cards.
#pragma once

#include <string>
#include <vector>

namespace CorvaneTest {

// Keeps the questions while it lives; they are answered as ever. One at a time, and only while the
// plug-in has no thread of its own.
class HostCallWatch {
 public:
  HostCallWatch();
  ~HostCallWatch();
  HostCallWatch(const HostCallWatch&) = delete;
  HostCallWatch& operator=(const HostCallWatch&) = delete;

  // In their order: "GetLocation 1 of 1AED1000 1AED1003" and "GenerateUniqueAdapterNumber for
  // localhost 0 59 2 1", the latter with "(unknown host)" after it when the host's numbers have no
  // entry yet, and with "(other fields set)" when more than the place is given.
  std::vector<std::string> m_Calls;
};

}  // namespace CorvaneTest
