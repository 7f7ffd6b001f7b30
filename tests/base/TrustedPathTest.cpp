// Paths with files, links and directories that another user could have placed there. Some tests
// require root, because they create another user's files.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "base/TrustedPath.h"
#include "tests/base/TrustFixture.h"

namespace {

namespace fs = std::filesystem;

class TrustedPath : public TrustFixture {
 protected:
  std::string TrustErrorOf(const fs::path& file) const {
    return WithoutPrefix(Base::ResolveTrusted(file).m_TrustError);
  }
  static std::string Resolve(const fs::path& file) {
    return Base::ResolveTrusted(file).m_File.string();
  }
};

TEST_F(TrustedPath, AcceptsOwnFilesAndLinks) {
  const auto own = Directory("own", 0700);
  EXPECT_EQ(TrustErrorOf(File(own / "file")), "");
  EXPECT_EQ(TrustErrorOf(own / "missing"), "");
  EXPECT_EQ(TrustErrorOf(own / "no" / "such" / "directory" / "file"), "");
  EXPECT_EQ(TrustErrorOf(Link("file", own / "link")), "");
  EXPECT_EQ(Resolve(own / "link"), (own / "file").string());
  EXPECT_EQ(TrustErrorOf(Link(own, m_Directory.Path() / "dirlink") / "file"), "");
  EXPECT_EQ(Resolve(m_Directory.Path() / "dirlink" / "file"), (own / "file").string());
  EXPECT_EQ(Resolve(m_Directory.Path() / "dirlink" / ".." / "own" / "." / "file"),
            (own / "file").string());
  EXPECT_EQ(Resolve(own / "no" / "such" / "file"), (own / "no" / "such" / "file").string());
  EXPECT_EQ(Resolve("//" + (own / "file").string()), (own / "file").string());
}

TEST_F(TrustedPath, AcceptsOwnFilesInASharedDirectory) {
  const auto shared = Directory("shared", 01777);
  EXPECT_EQ(TrustErrorOf(File(shared / "file")), "");
  EXPECT_EQ(TrustErrorOf(shared / "missing"), "");
  EXPECT_EQ(TrustErrorOf(Link("file", shared / "link")), "");
  EXPECT_EQ(TrustErrorOf(Directory("shared/own", 0700) / "file"), "");
}

TEST_F(TrustedPath, AcceptsDevicesAndOpenDescriptors) {
  for (const char* file : {"/dev/null", "/dev/stderr", "/proc/self/fd/2", "/dev/full"}) {
    EXPECT_EQ(TrustErrorOf(file), "") << file;
  }
  EXPECT_EQ(Resolve("/dev/stderr"), "/proc/self/fd/2");
}

// An ordinary user gets the error when the file is opened.
TEST_F(TrustedPath, RejectsPathsThatRootCannotResolve) {
  const auto own = Directory("own", 0700);
  Link("b", own / "a");
  Link("a", own / "b");
  File(own / "file");
  const std::string loop = TrustErrorOf(own / "a");
  EXPECT_THAT(loop, testing::MatchesRegex(
                        IsRoot() ? "own/[ab] cannot be accessed: Too many levels.*" : ""));
  EXPECT_EQ(TrustErrorOf(own / "file" / "below"), "");  // does not exist
  EXPECT_EQ(Resolve(own / "file" / "below" / "it"), (own / "file" / "below" / "it").string());
  const std::string name(300, 'x');
  EXPECT_EQ(TrustErrorOf(own / name / "file"),
            IsRoot() ? "own/" + name + " cannot be accessed: File name too long" : "");
  EXPECT_EQ(Resolve(own / name / "file"), (own / name / "file").string());
}

TEST_F(TrustedPath, ResolvesARelativePathFromTheCurrentDirectory) {
  const auto before = fs::current_path();
  fs::current_path(m_Directory.Path());
  EXPECT_EQ(Resolve("own.db"), (m_Directory.Path() / "own.db").string());
  fs::current_path(before);
}

TEST_F(TrustedPath, RejectsAFileWithASecondHardLinkInASharedDirectory) {
  const auto own = Directory("own", 0700);
  const auto shared = Directory("shared", 01777);
  fs::create_hard_link(File(own / "file"), shared / "linked");
  EXPECT_EQ(TrustErrorOf(shared / "linked"), "shared/linked has a second hard link");
  EXPECT_EQ(TrustErrorOf(own / "file"), "");
}

TEST_F(TrustedPath, ChecksTheOpenedFileAgain) {
  const auto shared = Directory("shared", 01777);
  const Base::TrustedPath before = Base::ResolveTrusted(shared / "file");
  EXPECT_EQ(before.m_TrustError, "");
  EXPECT_TRUE(before.m_IsInSharedDirectory);
  const Base::Descriptor opened(open(File(shared / "file").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(Base::TrustErrorOfOpened(before, opened), "");
  fs::create_hard_link(shared / "file", shared / "other");
  EXPECT_EQ(Base::TrustErrorOfOpened(before, opened),
            (shared / "file").string() + " has a second hard link");
  fs::remove(shared / "other");
  if (IsRoot()) {
    ChangeOwner(shared / "file");
    EXPECT_EQ(Base::TrustErrorOfOpened(before, opened),
              (shared / "file").string() + " is owned by uid 65534");
  }
  EXPECT_EQ(Base::TrustErrorOfOpened(before, Base::Descriptor()), "");
}

// A missing component is created later as a directory, never as a symbolic link, so ".." after it
// leads back.
TEST_F(TrustedPath, ResolvesDotDotAfterMissingDirectories) {
  const auto own = Directory("own", 0700);
  File(own / "file");
  EXPECT_EQ(Resolve(own / "missing" / ".." / "file"), (own / "file").string());
  EXPECT_EQ(Resolve(own / "missing" / "below" / ".." / "new"), (own / "missing" / "new").string());
}

class TrustedPathAsRoot : public TrustedPath {
 protected:
  void SetUp() override { SkipUnlessRoot(); }
};

TEST_F(TrustedPathAsRoot, RejectsFilesAndLinksOfAnotherUser) {
  const auto shared = Directory("shared", 01777);
  const auto own = Directory("own", 0755);
  File(own / "target");
  EXPECT_EQ(TrustErrorOf(ChangeOwner(File(shared / "file"))), "shared/file is owned by uid 65534");
  EXPECT_EQ(TrustErrorOf(ChangeOwner(Link(own / "target", shared / "link"))),
            "shared/link is owned by uid 65534");
  EXPECT_EQ(TrustErrorOf(ChangeOwner(Link(own / "missing", shared / "dangling"))),
            "shared/dangling is owned by uid 65534");
  EXPECT_EQ(TrustErrorOf(ChangeOwner(Link(own, shared / "dirlink")) / "target"),
            "shared/dirlink is owned by uid 65534");
  EXPECT_EQ(TrustErrorOf(ChangeOwner(Directory("shared/theirs", 0755)) / "file"),
            "shared/theirs is owned by uid 65534");
  EXPECT_EQ(TrustErrorOf(ChangeOwner(File(own / "file"))), "own/file is owned by uid 65534");
}

TEST_F(TrustedPathAsRoot, RejectsFilesAndDirectoriesThatOthersCanWrite) {
  EXPECT_EQ(TrustErrorOf(Directory("all", 0777) / "file"), "all can be written by other users");
  EXPECT_EQ(TrustErrorOf(File(Directory("own", 0755) / "file", 0666)),
            "own/file can be written by other users");
  const auto group = Directory("group", 0775);
  EXPECT_EQ(TrustErrorOf(group / "file"), "");  // root's own group
  EXPECT_EQ(chown(group.c_str(), 0, kOtherUser), 0);
  EXPECT_EQ(TrustErrorOf(group / "file"), "group can be written by other users");
  // A path may also reach such a directory through a link.
  EXPECT_EQ(TrustErrorOf(Link(m_Directory.Path() / "all", m_Directory.Path() / "link") / "file"),
            "all can be written by other users");
}

TEST_F(TrustedPathAsRoot, RejectsFilesThatAnAccessListLetsOthersWrite) {
  const auto shared = Directory("shared", 0755);
  const auto file = File(Directory("own", 0755) / "file");
  const auto link = Link("file", m_Directory.Path() / "own" / "link");
  if (!GrantWriteByAcl(shared)) GTEST_SKIP() << "the file system does not support ACLs";
  ASSERT_TRUE(GrantWriteByAcl(file));
  EXPECT_EQ(TrustErrorOf(shared / "missing"), "shared can be written by other users");
  EXPECT_EQ(TrustErrorOf(file), "own/file can be written by other users");
  EXPECT_EQ(TrustErrorOf(link), "own/file can be written by other users");
  const Base::TrustedPath path{file, "", false};
  EXPECT_EQ(WithoutPrefix(Base::TrustErrorOfOpened(path, Base::OpenAt(AT_FDCWD, file, O_RDONLY))),
            "own/file can be written by other users");
}

TEST_F(TrustedPathAsRoot, ChecksTheDirectoriesAfterAMissingOne) {
  ChangeOwner(Directory("theirs", 0755));
  EXPECT_EQ(TrustErrorOf(Directory("own", 0755) / "missing" / ".." / ".." / "theirs" / "file"),
            "theirs is owned by uid 65534");
}

// Links in /proc may lead to a directory of any user.
TEST_F(TrustedPathAsRoot, ChecksTheDirectoriesThatProcLinksTo) {
  const auto theirs = ChangeOwner(Directory("theirs", 0755));
  const auto inside = Directory("theirs/inside", 0755);
  const auto before = fs::current_path();
  fs::current_path(inside);
  EXPECT_EQ(TrustErrorOf("/proc/self/cwd/file"), "theirs is owned by uid 65534");
  fs::current_path(before);
  EXPECT_EQ(TrustErrorOf("/proc/self/root" + theirs.string() + "/file"),
            "theirs is owned by uid 65534");
  const int directory = open(inside.c_str(), O_PATH | O_CLOEXEC);
  EXPECT_EQ(TrustErrorOf("/proc/self/fd/" + std::to_string(directory) + "/file"),
            "theirs is owned by uid 65534");
  close(directory);
}

TEST_F(TrustedPathAsRoot, AllowsSharedDirectoriesAndFilesForAnOrdinaryUser) {
  const auto theirs = ChangeOwner(Directory("theirs", 0777), 1);
  ChangeOwner(File(theirs / "of-root", 0666), 0);
  const auto group = ChangeOwner(Directory("group", 0775), 1);
  ChangeOwner(File(group / "shared", 0666), 1);
  const EffectiveUser user(kOtherUser);
  EXPECT_EQ(TrustErrorOf(theirs / "of-root"), "");
  EXPECT_EQ(TrustErrorOf(theirs / "missing"), "");
  EXPECT_EQ(TrustErrorOf(group / "shared"), "");
}

TEST_F(TrustedPathAsRoot, RejectsFilesOfOthersInASharedDirectoryForAnOrdinaryUser) {
  const auto shared = Directory("shared", 01777);
  ChangeOwner(File(shared / "file", 0666), 1);
  ChangeOwner(Link("/etc", shared / "link"), 1);
  const EffectiveUser user(kOtherUser);
  EXPECT_EQ(TrustErrorOf(shared / "file"), "shared/file is owned by uid 1");
  EXPECT_EQ(TrustErrorOf(shared / "link" / "passwd"), "shared/link is owned by uid 1");
}

// The other user can replace the contents of the directory at any time.
TEST_F(TrustedPathAsRoot, RejectsDirectoriesOfOthersInASharedDirectoryForAnOrdinaryUser) {
  const auto shared = Directory("shared", 01777);
  const auto theirs = ChangeOwner(Directory("shared/theirs", 0755), 1);
  ChangeOwner(File(theirs / "file"), kOtherUser);
  ChangeOwner(Directory("shared/own", 0755), kOtherUser);
  ChangeOwner(File(Directory("shared/of-root", 0755) / "file"), kOtherUser);
  const EffectiveUser user(kOtherUser);
  EXPECT_EQ(TrustErrorOf(theirs), "shared/theirs is owned by uid 1");
  EXPECT_EQ(TrustErrorOf(theirs / "file"), "shared/theirs is owned by uid 1");
  EXPECT_EQ(TrustErrorOf(theirs / "missing"), "shared/theirs is owned by uid 1");
  EXPECT_EQ(Resolve(theirs / "below" / "file"), (theirs / "below" / "file").string());
  EXPECT_EQ(TrustErrorOf(shared / "own" / "file"), "");
  EXPECT_EQ(TrustErrorOf(shared / "of-root" / "file"), "");
}

TEST_F(TrustedPathAsRoot, ReturnsTheCompletePathOfARejectedFile) {
  const auto open = Directory("open", 0777);
  EXPECT_EQ(TrustErrorOf(open / "directory" / "file"), "open can be written by other users");
  EXPECT_EQ(Resolve(open / "directory" / "file"), (open / "directory" / "file").string());
  const auto theirs = ChangeOwner(Directory("theirs", 0755));
  EXPECT_EQ(Resolve(theirs / "file"), (theirs / "file").string());
  const auto link = Link(theirs, m_Directory.Path() / "link");
  EXPECT_EQ(Resolve(link / "file"), (theirs / "file").string());
  const auto shared = Directory("shared", 01777);
  ChangeOwner(Link(theirs, shared / "link"));
  EXPECT_EQ(Resolve(shared / "link" / "file"), (shared / "link" / "file").string());
}

// The link is at the end of a chain that is too long for the kernel.
TEST_F(TrustedPathAsRoot, ReportsTheRejectedLinkOfAnUnresolvablePath) {
  const auto shared = Directory("shared", 01777);
  for (int i = 0; i < 40; ++i)
    Link("l" + std::to_string(i + 1), shared / ("l" + std::to_string(i)));
  ChangeOwner(Link("file", shared / "l40"));
  EXPECT_EQ(TrustErrorOf(shared / "l0"), "shared/l40 is owned by uid 65534");
}

}  // namespace
