// Opening a directory whose path has links and directories of this user and of others.
#include <cerrno>

#include "base/TrustedDirectory.h"
#include "tests/base/TrustFixture.h"

namespace {

namespace fs = std::filesystem;

class TrustedDirectory : public TrustFixture {
 protected:
  // Returns the opened directory with the name in it ("own/file"), the error ("error 2"), or the
  // reason for rejection.
  std::string Describe(const Base::TrustedDirectory& found) const {
    if (!found.m_TrustError.empty()) return WithoutPrefix(found.m_TrustError);
    if (found.m_Error != 0) return "error " + std::to_string(found.m_Error);
    const fs::path link = "/proc/self/fd/" + std::to_string(found.m_Directory.Get());
    return WithoutPrefix((fs::read_symlink(link) / found.m_Name).string());
  }
  std::string OpenDirectoryOfFile(const fs::path& file,
                                  Base::OpenDirectoryOptions options = {}) const {
    return Describe(Base::OpenDirectoryOf(file, options));
  }
  std::string OpenDirectory(const fs::path& directory) const {
    return Describe(Base::OpenTrustedDirectory(directory));
  }
};

const std::string kMissing = "error " + std::to_string(ENOENT);
constexpr Base::OpenDirectoryOptions kCreating = {true, false};
constexpr Base::OpenDirectoryOptions kStrict = {false, true};

TEST_F(TrustedDirectory, FollowsLinksToTheDirectory) {
  const auto own = Directory("own", 0700);
  Link(own, m_Directory.Path() / "absolute");
  Link("absolute/../own/.", m_Directory.Path() / "relative");
  EXPECT_EQ("own/", OpenDirectory(m_Directory.Path() / "relative"));
  EXPECT_EQ("own/file", OpenDirectoryOfFile(File(own / "file")));
  EXPECT_EQ("own/missing", OpenDirectoryOfFile(m_Directory.Path() / "relative" / "missing"));
  EXPECT_EQ("own/file", OpenDirectoryOfFile(Link("own/file", m_Directory.Path() / "link")));
  EXPECT_EQ("own/.", OpenDirectoryOfFile(own.string() + "/"));
}

TEST_F(TrustedDirectory, ResolvesARelativePathFromTheCurrentDirectory) {
  Directory("own", 0700);
  const auto before = fs::current_path();
  fs::current_path(m_Directory.Path());
  EXPECT_EQ("own/file", OpenDirectoryOfFile("own/file"));
  EXPECT_EQ("own/file", OpenDirectoryOfFile("./own/../own/file"));
  EXPECT_EQ("own/", OpenDirectory("own"));
  fs::current_path(before);
}

TEST_F(TrustedDirectory, ReturnsTheErrorOfAPathComponent) {
  const auto own = Directory("own", 0700);
  EXPECT_EQ(kMissing, OpenDirectory(own / "missing"));
  EXPECT_EQ(kMissing, OpenDirectoryOfFile(own / "missing" / "file"));
  EXPECT_EQ(kMissing, OpenDirectoryOfFile("/"));
  EXPECT_EQ("error " + std::to_string(ENOTDIR), OpenDirectoryOfFile(File(own / "file") / "below"));
  EXPECT_EQ("error " + std::to_string(ELOOP), OpenDirectoryOfFile(Link("circle", own / "circle")));
  EXPECT_FALSE(Base::OpenDirectoryOf(own / "missing" / "file").m_Directory.IsOpen());
}

TEST_F(TrustedDirectory, CreatesMissingDirectoriesOnRequest) {
  const auto file = m_Directory.Path() / "new" / "newer" / "file";
  EXPECT_EQ(kMissing, OpenDirectoryOfFile(file));
  EXPECT_EQ("new/newer/file", OpenDirectoryOfFile(file, kCreating));
  EXPECT_FALSE(fs::exists(file));
  struct stat status {};
  ASSERT_EQ(0, stat(file.parent_path().c_str(), &status));
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ((IsRoot() ? 0755U : 0777U) & ~mask, status.st_mode & 0777);
}

TEST_F(TrustedDirectory, ReportsWhetherOthersCanWriteTheDirectory) {
  EXPECT_TRUE(Base::OpenDirectoryOf(Directory("shared", 01777) / "file").m_IsWritableByOthers);
  EXPECT_FALSE(Base::OpenDirectoryOf(Directory("own", 0700) / "file").m_IsWritableByOthers);
}

class TrustedDirectoryAsRoot : public TrustedDirectory {
 protected:
  void SetUp() override { SkipUnlessRoot(); }
};

TEST_F(TrustedDirectoryAsRoot, RejectsPathsThroughADirectoryThatOthersCanWrite) {
  const auto open = Directory("open", 0777);
  Directory("open/below", 0755);
  EXPECT_EQ("open can be written by other users", OpenDirectoryOfFile(open / "file"));
  EXPECT_EQ("open can be written by other users",
            OpenDirectoryOfFile(open / "new" / "file", kCreating));
  EXPECT_FALSE(fs::exists(open / "new"));
  EXPECT_EQ("open can be written by other users", OpenDirectory(open / "below"));
}

TEST_F(TrustedDirectoryAsRoot, RejectsADirectoryThatAnAccessListLetsOthersWrite) {
  const auto shared = Directory("shared", 0755);
  if (!GrantWriteByAcl(shared)) GTEST_SKIP() << "the file system does not support ACLs";
  EXPECT_EQ("shared can be written by other users", OpenDirectoryOfFile(shared / "file"));
}

// The caller decides whether it may use the directory.
TEST_F(TrustedDirectoryAsRoot, DoesNotCheckTheDirectoryItself) {
  EXPECT_EQ("open/", OpenDirectory(Directory("open", 0777)));
  EXPECT_EQ("theirs/", OpenDirectory(ChangeOwner(Directory("theirs", 0755))));
}

TEST_F(TrustedDirectoryAsRoot, ReportsTheRejectedDirectory) {
  const auto theirs = ChangeOwner(Directory("theirs", 0755));
  EXPECT_EQ("theirs is owned by uid 65534", OpenDirectoryOfFile(theirs / "file"));
  EXPECT_EQ("theirs is owned by uid 65534",
            OpenDirectoryOfFile(m_Directory.Path() / "no" / ".." / "theirs" / "file", kCreating));
  EXPECT_EQ("theirs is owned by uid 65534",
            OpenDirectoryOfFile(Link(theirs, m_Directory.Path() / "link") / "file"));
}

TEST_F(TrustedDirectoryAsRoot, RejectsALinkOfAnotherUserInASharedDirectory) {
  const auto own = Directory("own", 0755);
  const auto link = ChangeOwner(Link(own, Directory("shared", 01777) / "link"));
  EXPECT_EQ("shared/link is owned by uid 65534", OpenDirectoryOfFile(link / "file"));
  EXPECT_EQ("shared/link is owned by uid 65534", OpenDirectory(link));
}

TEST_F(TrustedDirectoryAsRoot, RejectsEveryLinkOfAnotherUserOnRequest) {
  const auto own = Directory("own", 0755);
  const auto link = ChangeOwner(Link(own, m_Directory.Path() / "link"));
  EXPECT_EQ("own/file", OpenDirectoryOfFile(link / "file"));
  EXPECT_EQ("link is owned by uid 65534", OpenDirectoryOfFile(link / "file", kStrict));
  EXPECT_EQ("own/", OpenDirectory(link));
}

}  // namespace
