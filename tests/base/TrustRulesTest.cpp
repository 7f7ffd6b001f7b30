// The rules for trusting directories, files and code by owner and mode.
#include <gtest/gtest.h>

#include "base/TrustRules.h"

namespace {

constexpr uid_t kRoot = 0;
constexpr uid_t kAnn = 1000;
constexpr uid_t kBob = 1001;
constexpr const char* kOthers = "can be written by other users";

struct stat Entry(mode_t mode, uid_t owner, gid_t group = 1000, nlink_t linkCount = 1) {
  struct stat status {};
  status.st_mode = mode;
  status.st_uid = owner;
  status.st_gid = group;
  status.st_nlink = linkCount;
  return status;
}

// A test case for a directory or for code.
struct Rule {
  const char* m_Name;
  mode_t m_Mode;
  uid_t m_Owner;
  gid_t m_Group;
  uid_t m_User;
  const char* m_TrustError;
};

const Rule kDirectories[] = {
    {"owned by root, used by root", 0755, kRoot, 0, kRoot, ""},
    {"writable by root's group", 0775, kRoot, 0, kRoot, ""},
    {"writable by another group", 0775, kRoot, 1000, kRoot, kOthers},
    {"world-writable", 0777, kRoot, 0, kRoot, kOthers},
    {"sticky", 01777, kRoot, 0, kRoot, ""},
    {"sticky, writable by a group", 01775, kRoot, 1000, kRoot, ""},
    {"owned by a user, used by root", 0700, kAnn, 1000, kRoot, "is owned by uid 1000"},
    {"owned by a user, used by that user", 0777, kAnn, 1000, kAnn, ""},
    {"owned by one user, used by another", 0777, kBob, 1001, kAnn, ""},
};

TEST(TrustRules, CheckDirectories) {
  for (const Rule& each : kDirectories) {
    const auto directory = Entry(S_IFDIR | each.m_Mode, each.m_Owner, each.m_Group);
    EXPECT_EQ(each.m_TrustError, Base::TrustErrorOfDirectory(directory, each.m_User))
        << each.m_Name;
  }
}

TEST(TrustRules, CheckTheOwnersOfLinksInSharedDirectories) {
  const auto anns = Entry(S_IFLNK | 0777, kAnn);
  EXPECT_EQ("", Base::TrustErrorOfComponent(true, anns, kAnn));
  EXPECT_EQ("is owned by uid 1000", Base::TrustErrorOfComponent(true, anns, kBob));
  EXPECT_EQ("is owned by uid 1000", Base::TrustErrorOfComponent(true, anns, kRoot));
  EXPECT_EQ("", Base::TrustErrorOfComponent(false, anns, kBob));
  EXPECT_EQ("", Base::TrustErrorOfComponent(false, anns, kRoot));
  EXPECT_EQ("", Base::TrustErrorOfComponent(true, Entry(S_IFLNK | 0777, kRoot), kBob));
}

struct FileRule {
  const char* m_Name;
  bool m_IsInSharedDirectory;
  mode_t m_Mode;
  uid_t m_Owner;
  nlink_t m_LinkCount;
  uid_t m_User;
  const char* m_TrustError;
};

const FileRule kFiles[] = {
    {"owned by root, used by root", false, S_IFREG | 0644, kRoot, 1, kRoot, ""},
    {"owned by a user, used by root", false, S_IFREG | 0644, kAnn, 1, kRoot,
     "is owned by uid 1000"},
    {"owned by root, writable by a group", false, S_IFREG | 0664, kRoot, 1, kRoot, kOthers},
    {"owned by root, world-writable", false, S_IFREG | 0646, kRoot, 1, kRoot, kOthers},
    {"two hard links, private directory", false, S_IFREG | 0644, kRoot, 2, kRoot, ""},
    {"two hard links, shared directory", true, S_IFREG | 0644, kRoot, 2, kRoot,
     "has a second hard link"},
    {"owned by the user, shared directory", true, S_IFREG | 0666, kAnn, 1, kAnn, ""},
    {"owned by the user, two hard links", true, S_IFREG | 0644, kAnn, 2, kAnn,
     "has a second hard link"},
    {"owned by root, used by a user", true, S_IFREG | 0644, kRoot, 1, kAnn, ""},
    {"owned by another user, shared directory", true, S_IFREG | 0644, kBob, 1, kAnn,
     "is owned by uid 1001"},
    {"owned by another user, private directory", false, S_IFREG | 0666, kBob, 1, kAnn, ""},
    {"character device", true, S_IFCHR | 0666, kBob, 1, kRoot, ""},
    {"block device", true, S_IFBLK | 0666, kBob, 1, kRoot, ""},
    {"directory with three hard links", true, S_IFDIR | 0777, kRoot, 3, kRoot, ""},
    {"directory owned by another user", true, S_IFDIR | 0755, kBob, 2, kRoot,
     "is owned by uid 1001"},
};

TEST(TrustRules, CheckFiles) {
  for (const FileRule& each : kFiles) {
    const auto file = Entry(each.m_Mode, each.m_Owner, 1000, each.m_LinkCount);
    EXPECT_EQ(each.m_TrustError,
              Base::TrustErrorOfFile(each.m_IsInSharedDirectory, file, each.m_User))
        << each.m_Name;
  }
}

const Rule kCode[] = {
    {"owned by root, used by a user", S_IFREG | 0755, kRoot, 0, kAnn, ""},
    {"owned by a user, used by that user", S_IFREG | 0755, kAnn, 1000, kAnn, ""},
    {"owned by a user, used by root", S_IFREG | 0755, kAnn, 1000, kRoot, "is owned by uid 1000"},
    {"owned by one user, used by another", S_IFREG | 0755, kBob, 1001, kAnn,
     "is owned by uid 1001"},
    {"world-writable", S_IFREG | 0757, kAnn, 1000, kAnn, kOthers},
    {"writable by the user's group", S_IFREG | 0775, kAnn, 1000, kAnn, ""},
    {"owned by root, writable by a group", S_IFREG | 0775, kRoot, 1000, kRoot, kOthers},
    {"world-writable directory", S_IFDIR | 0777, kAnn, 1000, kAnn, kOthers},
    {"sticky directory", S_IFDIR | 01777, kRoot, 0, kAnn, kOthers},
    {"character device", S_IFCHR | 0666, kRoot, 0, kAnn, ""},
};

TEST(TrustRules, CheckCodeForEveryUserAsStrictlyAsForRoot) {
  for (const Rule& each : kCode) {
    const auto code = Entry(each.m_Mode, each.m_Owner, each.m_Group);
    EXPECT_EQ(each.m_TrustError, Base::TrustErrorOfCode(code, each.m_User)) << each.m_Name;
  }
}

TEST(TrustRules, MakeNewFilesOfRootUnwritableByOthers) {
  EXPECT_EQ(0644U, Base::NewFileMode(kRoot));
  EXPECT_EQ(0755U, Base::NewDirectoryMode(kRoot));
  EXPECT_EQ(0666U, Base::NewFileMode(kAnn));
  EXPECT_EQ(0777U, Base::NewDirectoryMode(kAnn));
}

}  // namespace
