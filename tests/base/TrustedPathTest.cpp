// Paths with files, links and directories that another user could have placed there. Some tests
// require root, because they create files of another user.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "base/TrustedPath.h"
#include "tests/base/TrustFixture.h"

namespace {

namespace fs = std::filesystem;

class TrustedPath : public TrustFixture {
 protected:
  std::string ObjectionTo(const fs::path& file) const {
    return WithoutRoot(Base::ResolveTrusted(file).m_Objection);
  }
  static std::string Resolved(const fs::path& file) {
    return Base::ResolveTrusted(file).m_File.string();
  }
};

TEST_F(TrustedPath, AcceptsOwnFilesAndLinks) {
  const auto own = Directory("own", 0700);
  EXPECT_EQ(ObjectionTo(File(own / "file")), "");
  EXPECT_EQ(ObjectionTo(own / "missing"), "");
  EXPECT_EQ(ObjectionTo(own / "no" / "such" / "directory" / "file"), "");
  EXPECT_EQ(ObjectionTo(Link("file", own / "link")), "");
  EXPECT_EQ(Resolved(own / "link"), (own / "file").string());
  EXPECT_EQ(ObjectionTo(Link(own, m_Directory.Path() / "dirlink") / "file"), "");
  EXPECT_EQ(Resolved(m_Directory.Path() / "dirlink" / "file"), (own / "file").string());
  EXPECT_EQ(Resolved(m_Directory.Path() / "dirlink" / ".." / "own" / "." / "file"),
            (own / "file").string());
  EXPECT_EQ(Resolved(own / "no" / "such" / "file"), (own / "no" / "such" / "file").string());
  EXPECT_EQ(Resolved("//" + (own / "file").string()), (own / "file").string());
}

TEST_F(TrustedPath, AcceptsOwnFilesInASharedDirectory) {
  const auto shared = Directory("shared", 01777);
  EXPECT_EQ(ObjectionTo(File(shared / "file")), "");
  EXPECT_EQ(ObjectionTo(shared / "missing"), "");
  EXPECT_EQ(ObjectionTo(Link("file", shared / "link")), "");
  EXPECT_EQ(ObjectionTo(Directory("shared/own", 0700) / "file"), "");
}

TEST_F(TrustedPath, AcceptsDevicesAndOpenDescriptors) {
  for (const char* file : {"/dev/null", "/dev/stderr", "/proc/self/fd/2", "/dev/full"}) {
    EXPECT_EQ(ObjectionTo(file), "") << file;
  }
  EXPECT_EQ(Resolved("/dev/stderr"), "/proc/self/fd/2");
}

// An ordinary user gets the error when the file is opened.
TEST_F(TrustedPath, RejectsPathsThatRootCannotResolve) {
  const auto own = Directory("own", 0700);
  Link("b", own / "a");
  Link("a", own / "b");
  File(own / "file");
  const std::string loop = ObjectionTo(own / "a");
  EXPECT_THAT(loop, testing::MatchesRegex(
                        IsRoot() ? "own/[ab] cannot be accessed: Too many levels.*" : ""));
  EXPECT_EQ(ObjectionTo(own / "file" / "below"), "");  // does not exist
  EXPECT_EQ(Resolved(own / "file" / "below" / "it"), (own / "file" / "below" / "it").string());
  const std::string name(300, 'x');
  EXPECT_EQ(ObjectionTo(own / name / "file"),
            IsRoot() ? "own/" + name + " cannot be accessed: File name too long" : "");
  EXPECT_EQ(Resolved(own / name / "file"), (own / name / "file").string());
}

TEST_F(TrustedPath, ResolvesARelativePathFromTheCurrentDirectory) {
  const auto before = fs::current_path();
  fs::current_path(m_Directory.Path());
  EXPECT_EQ(Resolved("own.db"), (m_Directory.Path() / "own.db").string());
  fs::current_path(before);
}

TEST_F(TrustedPath, RejectsAFileWithASecondHardLinkInASharedDirectory) {
  const auto own = Directory("own", 0700);
  const auto shared = Directory("shared", 01777);
  fs::create_hard_link(File(own / "file"), shared / "planted");
  EXPECT_EQ(ObjectionTo(shared / "planted"), "shared/planted has a second hard link");
  EXPECT_EQ(ObjectionTo(own / "file"), "");
}

TEST_F(TrustedPath, ChecksTheOpenedFileAgain) {
  const auto shared = Directory("shared", 01777);
  const Base::TrustedPath before = Base::ResolveTrusted(shared / "file");
  EXPECT_EQ(before.m_Objection, "");
  EXPECT_TRUE(before.m_IsInSharedDirectory);
  const Base::Descriptor opened(open(File(shared / "file").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(Base::ObjectionToOpened(before, opened), "");
  fs::create_hard_link(shared / "file", shared / "other");
  EXPECT_EQ(Base::ObjectionToOpened(before, opened),
            (shared / "file").string() + " has a second hard link");
  fs::remove(shared / "other");
  if (IsRoot()) {
    WithOwner(shared / "file");
    EXPECT_EQ(Base::ObjectionToOpened(before, opened),
              (shared / "file").string() + " is owned by uid 65534");
  }
  EXPECT_EQ(Base::ObjectionToOpened(before, Base::Descriptor()), "");
}

// A missing directory will be created as a directory, not as a link, so ".." leads back to its
// parent.
TEST_F(TrustedPath, ResolvesDotDotAfterMissingDirectories) {
  const auto own = Directory("own", 0700);
  File(own / "file");
  EXPECT_EQ(Resolved(own / "missing" / ".." / "file"), (own / "file").string());
  EXPECT_EQ(Resolved(own / "missing" / "below" / ".." / "new"), (own / "missing" / "new").string());
}

class TrustedPathAsRoot : public TrustedPath {
 protected:
  void SetUp() override { SkipUnlessRoot(); }
};

TEST_F(TrustedPathAsRoot, RejectsFilesAndLinksOfAnotherUser) {
  const auto shared = Directory("shared", 01777);
  const auto own = Directory("own", 0755);
  File(own / "target");
  EXPECT_EQ(ObjectionTo(WithOwner(File(shared / "file"))), "shared/file is owned by uid 65534");
  EXPECT_EQ(ObjectionTo(WithOwner(Link(own / "target", shared / "link"))),
            "shared/link is owned by uid 65534");
  EXPECT_EQ(ObjectionTo(WithOwner(Link(own / "missing", shared / "dangling"))),
            "shared/dangling is owned by uid 65534");
  EXPECT_EQ(ObjectionTo(WithOwner(Link(own, shared / "dirlink")) / "target"),
            "shared/dirlink is owned by uid 65534");
  EXPECT_EQ(ObjectionTo(WithOwner(Directory("shared/theirs", 0755)) / "file"),
            "shared/theirs is owned by uid 65534");
  EXPECT_EQ(ObjectionTo(WithOwner(File(own / "file"))), "own/file is owned by uid 65534");
}

TEST_F(TrustedPathAsRoot, RejectsFilesAndDirectoriesThatOthersCanWrite) {
  EXPECT_EQ(ObjectionTo(Directory("all", 0777) / "file"), "all can be written by other users");
  EXPECT_EQ(ObjectionTo(File(Directory("own", 0755) / "file", 0666)),
            "own/file can be written by other users");
  const auto group = Directory("group", 0775);
  EXPECT_EQ(ObjectionTo(group / "file"), "");  // root's own group
  EXPECT_EQ(chown(group.c_str(), 0, kOtherUser), 0);
  EXPECT_EQ(ObjectionTo(group / "file"), "group can be written by other users");
  // A path may also reach such a directory through a link.
  EXPECT_EQ(ObjectionTo(Link(m_Directory.Path() / "all", m_Directory.Path() / "link") / "file"),
            "all can be written by other users");
}

TEST_F(TrustedPathAsRoot, RejectsFilesThatAnAccessListLetsOthersWrite) {
  const auto shared = Directory("shared", 0755);
  const auto file = File(Directory("own", 0755) / "file");
  const auto link = Link("file", m_Directory.Path() / "own" / "link");
  if (!ShareByAccessList(shared)) GTEST_SKIP() << "the file system has no access lists";
  ASSERT_TRUE(ShareByAccessList(file));
  EXPECT_EQ(ObjectionTo(shared / "missing"), "shared can be written by other users");
  EXPECT_EQ(ObjectionTo(file), "own/file can be written by other users");
  EXPECT_EQ(ObjectionTo(link), "own/file can be written by other users");
  const Base::TrustedPath judged{file, "", false};
  EXPECT_EQ(WithoutRoot(Base::ObjectionToOpened(judged, Base::OpenAt(AT_FDCWD, file, O_RDONLY))),
            "own/file can be written by other users");
}

TEST_F(TrustedPathAsRoot, ChecksTheDirectoriesAfterAMissingOne) {
  WithOwner(Directory("theirs", 0755));
  EXPECT_EQ(ObjectionTo(Directory("own", 0755) / "missing" / ".." / ".." / "theirs" / "file"),
            "theirs is owned by uid 65534");
}

// Links in /proc may lead to a directory of any user.
TEST_F(TrustedPathAsRoot, ChecksTheDirectoriesThatProcLinksTo) {
  const auto theirs = WithOwner(Directory("theirs", 0755));
  const auto inside = Directory("theirs/inside", 0755);
  const auto before = fs::current_path();
  fs::current_path(inside);
  EXPECT_EQ(ObjectionTo("/proc/self/cwd/file"), "theirs is owned by uid 65534");
  fs::current_path(before);
  EXPECT_EQ(ObjectionTo("/proc/self/root" + theirs.string() + "/file"),
            "theirs is owned by uid 65534");
  const int directory = open(inside.c_str(), O_PATH | O_CLOEXEC);
  EXPECT_EQ(ObjectionTo("/proc/self/fd/" + std::to_string(directory) + "/file"),
            "theirs is owned by uid 65534");
  close(directory);
}

TEST_F(TrustedPathAsRoot, LetsAnOrdinaryUserShareDirectoriesAndFiles) {
  const auto theirs = WithOwner(Directory("theirs", 0777), 1);
  WithOwner(File(theirs / "of-root", 0666), 0);
  const auto group = WithOwner(Directory("group", 0775), 1);
  WithOwner(File(group / "shared", 0666), 1);
  const AsUser user(kOtherUser);
  EXPECT_EQ(ObjectionTo(theirs / "of-root"), "");
  EXPECT_EQ(ObjectionTo(theirs / "missing"), "");
  EXPECT_EQ(ObjectionTo(group / "shared"), "");
}

TEST_F(TrustedPathAsRoot, RejectsFilesOfOthersInASharedDirectoryForAnOrdinaryUser) {
  const auto shared = Directory("shared", 01777);
  WithOwner(File(shared / "file", 0666), 1);
  WithOwner(Link("/etc", shared / "link"), 1);
  const AsUser user(kOtherUser);
  EXPECT_EQ(ObjectionTo(shared / "file"), "shared/file is owned by uid 1");
  EXPECT_EQ(ObjectionTo(shared / "link" / "passwd"), "shared/link is owned by uid 1");
}

// The other user can replace the contents of the directory at any time.
TEST_F(TrustedPathAsRoot, RejectsDirectoriesOfOthersInASharedDirectoryForAnOrdinaryUser) {
  const auto shared = Directory("shared", 01777);
  const auto theirs = WithOwner(Directory("shared/theirs", 0755), 1);
  WithOwner(File(theirs / "file"), kOtherUser);
  WithOwner(Directory("shared/own", 0755), kOtherUser);
  WithOwner(File(Directory("shared/of-root", 0755) / "file"), kOtherUser);
  const AsUser user(kOtherUser);
  EXPECT_EQ(ObjectionTo(theirs), "shared/theirs is owned by uid 1");
  EXPECT_EQ(ObjectionTo(theirs / "file"), "shared/theirs is owned by uid 1");
  EXPECT_EQ(ObjectionTo(theirs / "missing"), "shared/theirs is owned by uid 1");
  EXPECT_EQ(Resolved(theirs / "below" / "file"), (theirs / "below" / "file").string());
  EXPECT_EQ(ObjectionTo(shared / "own" / "file"), "");
  EXPECT_EQ(ObjectionTo(shared / "of-root" / "file"), "");
}

TEST_F(TrustedPathAsRoot, ReturnsTheCompletePathOfARejectedFile) {
  const auto open = Directory("open", 0777);
  EXPECT_EQ(ObjectionTo(open / "directory" / "file"), "open can be written by other users");
  EXPECT_EQ(Resolved(open / "directory" / "file"), (open / "directory" / "file").string());
  const auto theirs = WithOwner(Directory("theirs", 0755));
  EXPECT_EQ(Resolved(theirs / "file"), (theirs / "file").string());
  const auto link = Link(theirs, m_Directory.Path() / "link");
  EXPECT_EQ(Resolved(link / "file"), (theirs / "file").string());
  const auto shared = Directory("shared", 01777);
  WithOwner(Link(theirs, shared / "link"));
  EXPECT_EQ(Resolved(shared / "link" / "file"), (shared / "link" / "file").string());
}

// The link is at the end of a chain that is too long for the kernel.
TEST_F(TrustedPathAsRoot, ReportsTheRejectedLinkOfAnUnresolvablePath) {
  const auto shared = Directory("shared", 01777);
  for (int i = 0; i < 40; ++i)
    Link("l" + std::to_string(i + 1), shared / ("l" + std::to_string(i)));
  WithOwner(Link("file", shared / "l40"));
  EXPECT_EQ(ObjectionTo(shared / "l0"), "shared/l40 is owned by uid 65534");
}

}  // namespace
