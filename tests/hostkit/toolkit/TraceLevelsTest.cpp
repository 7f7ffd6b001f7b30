#include <gtest/gtest.h>

#include "hostkit/Tracing.h"

namespace {

struct LevelsCase {
  const char* text;
  std::optional<std::uint32_t> mask;
};

const LevelsCase kLevels[] = {
    {"0", 0},
    {"18", 18},
    {"0x9E", 158},
    {"4294967295", 4294967295},
    {" 16 ", 16},
    {"2,4,16", 22},
    {"2, 128", 130},
    {"4,4", 4},
    {"all", 4294967295},
    {"ALL", 4294967295},
    {"Off", 0},
    {"", std::nullopt},
    {"loud", std::nullopt},
    {"4294967296", std::nullopt},
    {"-1", std::nullopt},
    {"12x", std::nullopt},
    {"0x", std::nullopt},
    {"2,,4", std::nullopt},
    {"2,4,", std::nullopt},
    {"2,3", std::nullopt},
    {"2,0", std::nullopt},
    {"2,all", std::nullopt},
};

TEST(TraceLevels, AreANumberAListOrAKeyword) {
  for (const LevelsCase& entry : kLevels) {
    EXPECT_EQ(entry.mask, HostKit::ParseTraceLevels(entry.text)) << '"' << entry.text << '"';
  }
}

}  // namespace
