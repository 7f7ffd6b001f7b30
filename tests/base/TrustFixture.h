// Files, links and directories of this user and of others, in a temporary directory.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/support/AccessList.h"
#include "tests/support/Temporary.h"

constexpr uid_t kOtherUser = 65534;

inline bool IsRoot() {
  return geteuid() == 0;
}

// Runs the process with the rights of an ordinary user until this object is destroyed.
class EffectiveUser {
 public:
  explicit EffectiveUser(uid_t user) {
    if (seteuid(user) != 0) std::abort();
  }
  ~EffectiveUser() {
    if (seteuid(0) != 0) std::abort();
  }
  EffectiveUser(const EffectiveUser&) = delete;
  EffectiveUser& operator=(const EffectiveUser&) = delete;
};

class TrustFixture : public testing::Test {
 protected:
  using Path = std::filesystem::path;

  TrustFixture() { chmod(m_Directory.Path().c_str(), 0755); }

  static void SkipUnlessRoot() {
    if (!IsRoot()) GTEST_SKIP() << "only root can create another user's files";
  }

  Path Directory(const std::string& name, mode_t mode) const {
    const Path directory = m_Directory.Path() / name;
    std::filesystem::create_directory(directory);
    chmod(directory.c_str(), mode);
    return directory;
  }
  static Path File(const Path& file, mode_t mode = 0644) {
    WriteText(file, "text");
    chmod(file.c_str(), mode);
    return file;
  }
  static Path Link(const Path& target, const Path& link) {
    std::filesystem::create_symlink(target, link);
    return link;
  }
  static Path ChangeOwner(const Path& file, uid_t user = kOtherUser) {
    EXPECT_EQ(lchown(file.c_str(), user, user), 0);
    return file;
  }

  // Removes the path of the temporary directory from a reason for rejection.
  std::string WithoutPrefix(const std::string& trustError) const {
    const std::string prefix = m_Directory.Path().string() + "/";
    return trustError.rfind(prefix, 0) == 0 ? trustError.substr(prefix.size()) : trustError;
  }

  TemporaryDirectory m_Directory;
};
