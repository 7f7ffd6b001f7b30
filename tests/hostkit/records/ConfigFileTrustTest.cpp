// Ini files that another user could have created.
#include "tests/base/TrustFixture.h"
#include "tests/hostkit/records/ConfigDirectory.h"

namespace {

class ConfigFileTrust : public TrustFixture {
 protected:
  void SetUp() override { SkipUnlessRoot(); }
};

TEST_F(ConfigFileTrust, AnotherUsersIniFileIsUnreadableAndNotChanged) {
  ConfigDirectory config;
  const auto shared = Directory("shared", 01777);
  config.MoveTo(shared);
  WriteText(shared / "Corvane.ini", "PollInterval=7\n");
  ChangeOwner(shared / "Corvane.ini");
  EXPECT_EQ(config.Read("PollInterval"), "unreadable");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_EQ(ReadText(shared / "Corvane.ini"), "PollInterval=7\n");
}

// The kit must restrict the permissions of new files: with a umask of 0, it would otherwise refuse
// to read the files that it created.
TEST_F(ConfigFileTrust, AnIniFileThatRootCreatedIsRead) {
  ConfigDirectory config;
  config.MoveTo(m_Directory.Path() / "new" / "newer");
  const mode_t before = umask(0);
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
  umask(before);
  EXPECT_EQ(config.Read("PollInterval"), "value 30");
}

TEST_F(ConfigFileTrust, AnotherUsersLinkIsNotFollowed) {
  ConfigDirectory config;
  const auto shared = Directory("shared", 01777);
  const auto own = Directory("own", 0755);
  WriteText(own / "target", "PollInterval=7\n");
  ChangeOwner(Link(own / "target", shared / "Corvane.ini"));
  config.MoveTo(shared);
  EXPECT_EQ(config.Read("PollInterval"), "unreadable");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_EQ(ReadText(own / "target"), "PollInterval=7\n");
}

}  // namespace
