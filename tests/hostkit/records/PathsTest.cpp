#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "hostkit/Paths.h"
#include "tests/hostkit/records/Cases.h"
#include "tests/support/Temporary.h"

namespace {

using Value = std::optional<std::string>;

struct Case {
  const char* name;
  Value own;   // CORVANE_CONFIG_DIR and CORVANE_DATABASE
  Value base;  // XDG_CONFIG_HOME and XDG_STATE_HOME
  const char* config;
  const char* database;

  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

class Paths : public testing::TestWithParam<Case> {};

TEST_P(Paths, AreSetByTheFirstNonemptyVariable) {
  const ScopedVariable home("HOME", "/home/me");
  const ScopedVariable ownConfig("CORVANE_CONFIG_DIR", GetParam().own);
  const ScopedVariable ownDatabase("CORVANE_DATABASE", GetParam().own);
  const ScopedVariable configBase("XDG_CONFIG_HOME", GetParam().base);
  const ScopedVariable stateBase("XDG_STATE_HOME", GetParam().base);
  EXPECT_EQ(HostKit::ConfigDirectory().string(), GetParam().config);
  EXPECT_EQ(HostKit::DatabaseFile().string(), GetParam().database);
}

INSTANTIATE_TEST_SUITE_P(
    , Paths,
    testing::Values(Case{"Own", "/own", "/xdg", "/own", "/own"},
                    Case{"OwnRelative", "own", "/xdg", "own", "own"},
                    Case{"OwnInMemory", ":memory:", "/xdg", ":memory:", ":memory:"},
                    Case{"OwnEmpty", "", "/xdg", "/xdg/corvane", "/xdg/corvane/corvane.db"},
                    Case{"Base", {}, "/xdg", "/xdg/corvane", "/xdg/corvane/corvane.db"},
                    Case{"BaseRelative",
                         {},
                         "xdg",
                         "/home/me/.config/corvane",
                         "/home/me/.local/state/corvane/corvane.db"},
                    Case{"BaseEmpty",
                         {},
                         "",
                         "/home/me/.config/corvane",
                         "/home/me/.local/state/corvane/corvane.db"},
                    Case{"Home",
                         {},
                         {},
                         "/home/me/.config/corvane",
                         "/home/me/.local/state/corvane/corvane.db"}),
    NameOfCase());

TEST(PathsWithoutHome, AreBelowTheHomeDirectoryOfTheUser) {
  const ScopedVariable home("HOME", {});
  const ScopedVariable own("CORVANE_CONFIG_DIR", {});
  const ScopedVariable base("XDG_CONFIG_HOME", {});
  const passwd* const user = getpwuid(getuid());
  if (user == nullptr) GTEST_SKIP() << "this user is not in the user database";
  EXPECT_EQ(HostKit::ConfigDirectory().string(), std::string(user->pw_dir) + "/.config/corvane");
}

TEST(SysfsRoot, IsSysByDefault) {
  const ScopedVariable unset("CORVANE_SYSFS", {});
  EXPECT_EQ(HostKit::SysfsRoot().string(), "/sys");
  const ScopedVariable empty("CORVANE_SYSFS", "");
  EXPECT_EQ(HostKit::SysfsRoot().string(), "/sys");
  const ScopedVariable other("CORVANE_SYSFS", "/tmp/sysfs");
  EXPECT_EQ(HostKit::SysfsRoot().string(), "/tmp/sysfs");
}

}  // namespace
