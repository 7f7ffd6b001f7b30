#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "host/Toolkit.h"
#include "hostkit/Tracing.h"

namespace {

using MBX::Misc::CModuleInfo;

class ModuleInfo : public testing::Test {
 protected:
  void TearDown() override { HostKit::SetTraceMask(0); }
};

TEST_F(ModuleInfo, KeepsItsArguments) {
  MBX::Language_Support::CLanguageSupport::ERROR_MSG_LIST messages{};
  const CModuleInfo module(304, "Corvane", "P:1", nullptr, &messages);
  EXPECT_EQ(304U, module.m_Module);
  EXPECT_STREQ("Corvane", module.m_Name);
  EXPECT_STREQ("P:1", module.m_Version);
  EXPECT_EQ(nullptr, module.m_pLanguageFile);
  EXPECT_EQ(&messages, module.m_pMessages);
}

TEST_F(ModuleInfo, FollowsTheTraceMaskWhileLoaded) {
  auto early = std::make_unique<CModuleInfo>(1, "early", "1", nullptr, nullptr);
  EXPECT_EQ(0U, early->m_TraceMask);
  HostKit::SetTraceMask(18);
  const CModuleInfo late(2, "late", "1", nullptr, nullptr);
  EXPECT_EQ(18U, early->m_TraceMask);
  EXPECT_EQ(18U, late.m_TraceMask);
  early.reset();
  HostKit::SetTraceMask(4);
  EXPECT_EQ(4U, late.m_TraceMask);
}

// A value of CORVANE_TRACE and the trace mask that the first module in a process then has.
struct StartCase {
  const char* variable;
  std::uint32_t mask;
  const char* message;  // a pattern for standard error
};

const StartCase kStarts[] = {
    {"2,16", 18, "^$"},
    {"all", 0xFFFFFFFF, "^$"},
    {"off", 0, "^$"},
    {"", 0, "^$"},
    {"loud", 0, "^CORVANE_TRACE [^\n]*: loud; tracing is off\n$"},
    // Printed unescaped, this value would control a terminal.
    {"x\x1b[31m\n\u202e\xff", 0,
     "^CORVANE_TRACE [^\n]*: x\\\\x1b\\[31m\\\\x0a\\\\u202e\\\\xff; tracing is off\n$"},
};

TEST(ModuleInfoDeathTest, StartsWithTheMaskFromTheEnvironment) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  for (const StartCase& start : kStarts) {
    SCOPED_TRACE(start.variable);
    setenv("CORVANE_TRACE", start.variable, 1);
    EXPECT_EXIT(
        {
          const CModuleInfo module(1, "first", "1", nullptr, nullptr);
          std::_Exit(module.m_TraceMask == start.mask ? 0 : 1);
        },
        testing::ExitedWithCode(0), start.message);
  }
  unsetenv("CORVANE_TRACE");
}

}  // namespace
