// The names of the host's values in database rows.

#include <gtest/gtest.h>

#include "Corvane/Src/ValueNames.h"
#include "tests/host/HostNumbers.h"

namespace CorvaneTest {
namespace {

struct Named {
  int number;
  const char* name;
};

#define NAMED(name, number, text) {number, text},
constexpr Named NAMES[] = {HOST_VALUES(NAMED)};
#undef NAMED

TEST(ValueNames, MatchTheHostsNumbers) {
  for (const Named& each : NAMES) {
    EXPECT_EQ(NAMESPACE_Corvane::ValueName(each.number), each.name) << each.number;
  }
  EXPECT_EQ(NAMESPACE_Corvane::kValueNames.size(), std::size(NAMES));
}

TEST(ValueNames, AreEmptyForAnyOtherNumber) {
  for (const int number :
       {0, 1, -1, 40000, 40023, 40026, 40408, 40472, 40487, 30017, 50002, 2147483647}) {
    EXPECT_EQ(NAMESPACE_Corvane::ValueName(number), "") << number;
  }
}

}  // namespace
}  // namespace CorvaneTest
