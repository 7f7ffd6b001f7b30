// A set-user-ID program ignores the paths in its caller's environment.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/Temporary.h"

namespace {

constexpr uid_t kOtherUser = 65534;

// Returns the output of the program.
std::string OutputOf(const std::filesystem::path& program) {
  std::string text;
  std::FILE* const pipe = popen(program.c_str(), "r");
  char line[200];
  while (std::fgets(line, sizeof line, pipe) != nullptr) text += line;
  pclose(pipe);
  return text;
}

class SecureEnvironment : public testing::Test {
 protected:
  SecureEnvironment() {
    std::filesystem::copy_file(ENVIRONMENT_READER, Program());
    chmod(m_Directory.Path().c_str(), 0755);
  }
  std::filesystem::path Program() const { return m_Directory.Path() / "reader"; }

  TemporaryDirectory m_Directory;
  ScopedVariable m_Config{"CORVANE_CONFIG_DIR", "/untrusted"};
  ScopedVariable m_Database{"CORVANE_DATABASE", "/untrusted/db"};
  ScopedVariable m_Sysfs{"CORVANE_SYSFS", "/untrusted/sys"};
  ScopedVariable m_Home{"HOME", "/untrusted/home"};
};

TEST_F(SecureEnvironment, IsReadByAnOrdinaryProgram) {
  EXPECT_EQ(OutputOf(Program()), "0\n/untrusted\n/untrusted/db\n/untrusted/sys\n");
}

TEST_F(SecureEnvironment, IsNotReadByAProgramWithMorePrivileges) {
  const passwd* const user = getpwuid(kOtherUser);
  if (geteuid() != 0 || user == nullptr) GTEST_SKIP() << "only root can create such a program";
  const std::string home = std::string(user->pw_dir);
  ASSERT_EQ(chown(Program().c_str(), kOtherUser, kOtherUser), 0);
  ASSERT_EQ(chmod(Program().c_str(), 04755), 0);
  const std::string output = OutputOf(Program());
  if (output.rfind("0\n", 0) == 0)
    GTEST_SKIP() << "this file system does not support the set-user-ID bit";
  EXPECT_EQ(output, "1\n" + home + "/.config/corvane\n" + home +
                        "/.local/state/corvane/corvane.db\n/sys\n");
}

}  // namespace
