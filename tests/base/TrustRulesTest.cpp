#include <gtest/gtest.h>

#include "base/TrustRules.h"

namespace {

constexpr uid_t kRoot = 0;
constexpr uid_t kAnn = 1000;
constexpr uid_t kBob = 1001;
constexpr const char* kOthers = "can be written by other users";

struct stat Entry(mode_t mode, uid_t owner, gid_t group = 1000, nlink_t names = 1) {
  struct stat status {};
  status.st_mode = mode;
  status.st_uid = owner;
  status.st_gid = group;
  status.st_nlink = names;
  return status;
}

// A case of the rules for directories and for code.
struct Rule {
  const char* m_Name;
  mode_t m_Mode;
  uid_t m_Owner;
  gid_t m_Group;
  uid_t m_User;
  const char* m_Objection;
};

const Rule kDirectories[] = {
    {"root's own", 0755, kRoot, 0, kRoot, ""},
    {"root's group may write", 0775, kRoot, 0, kRoot, ""},
    {"another group may write", 0775, kRoot, 1000, kRoot, kOthers},
    {"all may write", 0777, kRoot, 0, kRoot, kOthers},
    {"sticky", 01777, kRoot, 0, kRoot, ""},
    {"sticky for a group", 01775, kRoot, 1000, kRoot, ""},
    {"a user's, for root", 0700, kAnn, 1000, kRoot, "belongs to uid 1000"},
    {"a user's, for the user", 0777, kAnn, 1000, kAnn, ""},
    {"another user's, for a user", 0777, kBob, 1001, kAnn, ""},
};

TEST(TrustRules, CheckDirectories) {
  for (const Rule& each : kDirectories) {
    const auto directory = Entry(S_IFDIR | each.m_Mode, each.m_Owner, each.m_Group);
    EXPECT_EQ(each.m_Objection, Base::ObjectionToDirectory(directory, each.m_User)) << each.m_Name;
  }
}

TEST(TrustRules, CheckTheOwnersOfLinksInOpenDirectories) {
  const auto anns = Entry(S_IFLNK | 0777, kAnn);
  EXPECT_EQ("", Base::ObjectionToComponent(true, anns, kAnn));
  EXPECT_EQ("belongs to uid 1000", Base::ObjectionToComponent(true, anns, kBob));
  EXPECT_EQ("belongs to uid 1000", Base::ObjectionToComponent(true, anns, kRoot));
  EXPECT_EQ("", Base::ObjectionToComponent(false, anns, kBob));
  EXPECT_EQ("", Base::ObjectionToComponent(false, anns, kRoot));
  EXPECT_EQ("", Base::ObjectionToComponent(true, Entry(S_IFLNK | 0777, kRoot), kBob));
}

struct FileRule {
  const char* m_Name;
  bool m_IsInSharedDirectory;
  mode_t m_Mode;
  uid_t m_Owner;
  nlink_t m_Names;
  uid_t m_User;
  const char* m_Objection;
};

const FileRule kFiles[] = {
    {"root's, for root", false, S_IFREG | 0644, kRoot, 1, kRoot, ""},
    {"a user's, for root", false, S_IFREG | 0644, kAnn, 1, kRoot, "belongs to uid 1000"},
    {"root's, a group may write", false, S_IFREG | 0664, kRoot, 1, kRoot, kOthers},
    {"root's, all may write", false, S_IFREG | 0646, kRoot, 1, kRoot, kOthers},
    {"two names, closed directory", false, S_IFREG | 0644, kRoot, 2, kRoot, ""},
    {"two names, open directory", true, S_IFREG | 0644, kRoot, 2, kRoot, "has a second hard link"},
    {"the user's, open directory", true, S_IFREG | 0666, kAnn, 1, kAnn, ""},
    {"the user's, two names", true, S_IFREG | 0644, kAnn, 2, kAnn, "has a second hard link"},
    {"root's, for a user", true, S_IFREG | 0644, kRoot, 1, kAnn, ""},
    {"another user's, open directory", true, S_IFREG | 0644, kBob, 1, kAnn, "belongs to uid 1001"},
    {"another user's, closed directory", false, S_IFREG | 0666, kBob, 1, kAnn, ""},
    {"a device", true, S_IFCHR | 0666, kBob, 1, kRoot, ""},
    {"a disk", true, S_IFBLK | 0666, kBob, 1, kRoot, ""},
    {"a directory has many names", true, S_IFDIR | 0777, kRoot, 3, kRoot, ""},
    {"another user's directory", true, S_IFDIR | 0755, kBob, 2, kRoot, "belongs to uid 1001"},
};

TEST(TrustRules, CheckFiles) {
  for (const FileRule& each : kFiles) {
    const auto file = Entry(each.m_Mode, each.m_Owner, 1000, each.m_Names);
    EXPECT_EQ(each.m_Objection,
              Base::ObjectionToFile(each.m_IsInSharedDirectory, file, each.m_User))
        << each.m_Name;
  }
}

const Rule kCode[] = {
    {"root's, for a user", S_IFREG | 0755, kRoot, 0, kAnn, ""},
    {"a user's own", S_IFREG | 0755, kAnn, 1000, kAnn, ""},
    {"a user's, for root", S_IFREG | 0755, kAnn, 1000, kRoot, "belongs to uid 1000"},
    {"another user's, for a user", S_IFREG | 0755, kBob, 1001, kAnn, "belongs to uid 1001"},
    {"all may write", S_IFREG | 0757, kAnn, 1000, kAnn, kOthers},
    {"a user's group may write", S_IFREG | 0775, kAnn, 1000, kAnn, ""},
    {"a group may write root's", S_IFREG | 0775, kRoot, 1000, kRoot, kOthers},
    {"an open directory", S_IFDIR | 0777, kAnn, 1000, kAnn, kOthers},
    {"a sticky directory", S_IFDIR | 01777, kRoot, 0, kAnn, kOthers},
    {"a device", S_IFCHR | 0666, kRoot, 0, kAnn, ""},
};

TEST(TrustRules, CheckCodeForEveryUserAsStrictlyAsForRoot) {
  for (const Rule& each : kCode) {
    const auto code = Entry(each.m_Mode, each.m_Owner, each.m_Group);
    EXPECT_EQ(each.m_Objection, Base::ObjectionToCode(code, each.m_User)) << each.m_Name;
  }
}

TEST(TrustRules, LetRootCreateFilesThatOthersCannotWrite) {
  EXPECT_EQ(0644U, Base::NewFileMode(kRoot));
  EXPECT_EQ(0755U, Base::NewDirectoryMode(kRoot));
  EXPECT_EQ(0666U, Base::NewFileMode(kAnn));
  EXPECT_EQ(0777U, Base::NewDirectoryMode(kAnn));
}

}  // namespace
