// Opening a folder whose path has links and folders of this user and of others.
#include <cerrno>

#include "base/TrustedFolder.h"
#include "tests/base/TrustFixture.h"

namespace {

namespace fs = std::filesystem;

class TrustedFolder : public TrustFixture {
 protected:
  // The opened folder and the name in it, such as "own/file"; "error 2"; or the objection.
  std::string Reached(const Base::TrustedFolder& found) const {
    if (!found.m_Objection.empty()) return WithoutRoot(found.m_Objection);
    if (found.m_Error != 0) return "error " + std::to_string(found.m_Error);
    const fs::path link = "/proc/self/fd/" + std::to_string(found.m_Folder.Get());
    return WithoutRoot((fs::read_symlink(link) / found.m_Name).string());
  }
  std::string ToFile(const fs::path& file, Base::OpenFolderOptions options = {}) const {
    return Reached(Base::OpenFolderOf(file, options));
  }
  std::string ToFolder(const fs::path& folder) const {
    return Reached(Base::OpenTrustedFolder(folder));
  }
};

const std::string kMissing = "error " + std::to_string(ENOENT);
constexpr Base::OpenFolderOptions kCreating = {true, false};
constexpr Base::OpenFolderOptions kStrict = {false, true};

TEST_F(TrustedFolder, FollowsLinksToTheFolder) {
  const auto own = Folder("own", 0700);
  Link(own, m_Folder.Path() / "absolute");
  Link("absolute/../own/.", m_Folder.Path() / "relative");
  EXPECT_EQ("own/", ToFolder(m_Folder.Path() / "relative"));
  EXPECT_EQ("own/file", ToFile(File(own / "file")));
  EXPECT_EQ("own/missing", ToFile(m_Folder.Path() / "relative" / "missing"));
  EXPECT_EQ("own/file", ToFile(Link("own/file", m_Folder.Path() / "link")));
  EXPECT_EQ("own/.", ToFile(own.string() + "/"));
}

TEST_F(TrustedFolder, ResolvesARelativePathFromTheCurrentFolder) {
  Folder("own", 0700);
  const auto before = fs::current_path();
  fs::current_path(m_Folder.Path());
  EXPECT_EQ("own/file", ToFile("own/file"));
  EXPECT_EQ("own/file", ToFile("./own/../own/file"));
  EXPECT_EQ("own/", ToFolder("own"));
  fs::current_path(before);
}

TEST_F(TrustedFolder, ReturnsTheErrorOfAPathComponent) {
  const auto own = Folder("own", 0700);
  EXPECT_EQ(kMissing, ToFolder(own / "missing"));
  EXPECT_EQ(kMissing, ToFile(own / "missing" / "file"));
  EXPECT_EQ(kMissing, ToFile("/"));
  EXPECT_EQ("error " + std::to_string(ENOTDIR), ToFile(File(own / "file") / "below"));
  EXPECT_EQ("error " + std::to_string(ELOOP), ToFile(Link("circle", own / "circle")));
  EXPECT_FALSE(Base::OpenFolderOf(own / "missing" / "file").m_Folder.IsOpen());
}

TEST_F(TrustedFolder, CreatesMissingFoldersOnRequest) {
  const auto file = m_Folder.Path() / "new" / "newer" / "file";
  EXPECT_EQ(kMissing, ToFile(file));
  EXPECT_EQ("new/newer/file", ToFile(file, kCreating));
  EXPECT_FALSE(fs::exists(file));
  struct stat status {};
  ASSERT_EQ(0, stat(file.parent_path().c_str(), &status));
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ((IsRoot() ? 0755U : 0777U) & ~mask, status.st_mode & 0777);
}

TEST_F(TrustedFolder, ReportsWhetherOthersCanWriteTheFolder) {
  EXPECT_TRUE(Base::OpenFolderOf(Folder("shared", 01777) / "file").m_IsWritableByOthers);
  EXPECT_FALSE(Base::OpenFolderOf(Folder("own", 0700) / "file").m_IsWritableByOthers);
}

class TrustedFolderAsRoot : public TrustedFolder {
 protected:
  void SetUp() override { SkipUnlessRoot(); }
};

TEST_F(TrustedFolderAsRoot, RejectsPathsThroughAFolderThatOthersCanWrite) {
  const auto open = Folder("open", 0777);
  Folder("open/below", 0755);
  EXPECT_EQ("open can be written by other users", ToFile(open / "file"));
  EXPECT_EQ("open can be written by other users", ToFile(open / "new" / "file", kCreating));
  EXPECT_FALSE(fs::exists(open / "new"));
  EXPECT_EQ("open can be written by other users", ToFolder(open / "below"));
}

TEST_F(TrustedFolderAsRoot, RejectsAFolderThatAnAccessListLetsOthersWrite) {
  const auto shared = Folder("shared", 0755);
  if (!ShareByAccessList(shared)) GTEST_SKIP() << "the file system has no access lists";
  EXPECT_EQ("shared can be written by other users", ToFile(shared / "file"));
}

// The caller decides whether it may use the folder.
TEST_F(TrustedFolderAsRoot, DoesNotCheckTheFolderItself) {
  EXPECT_EQ("open/", ToFolder(Folder("open", 0777)));
  EXPECT_EQ("theirs/", ToFolder(Give(Folder("theirs", 0755))));
}

TEST_F(TrustedFolderAsRoot, ReportsTheRejectedFolder) {
  const auto theirs = Give(Folder("theirs", 0755));
  EXPECT_EQ("theirs belongs to uid 65534", ToFile(theirs / "file"));
  EXPECT_EQ("theirs belongs to uid 65534",
            ToFile(m_Folder.Path() / "no" / ".." / "theirs" / "file", kCreating));
  EXPECT_EQ("theirs belongs to uid 65534", ToFile(Link(theirs, m_Folder.Path() / "link") / "file"));
}

TEST_F(TrustedFolderAsRoot, RejectsALinkOfAnotherUserInASharedFolder) {
  const auto own = Folder("own", 0755);
  const auto link = Give(Link(own, Folder("shared", 01777) / "link"));
  EXPECT_EQ("shared/link belongs to uid 65534", ToFile(link / "file"));
  EXPECT_EQ("shared/link belongs to uid 65534", ToFolder(link));
}

TEST_F(TrustedFolderAsRoot, RejectsALinkOfAnotherUserInAClosedFolderOnRequest) {
  const auto own = Folder("own", 0755);
  const auto link = Give(Link(own, m_Folder.Path() / "link"));
  EXPECT_EQ("own/file", ToFile(link / "file"));
  EXPECT_EQ("link belongs to uid 65534", ToFile(link / "file", kStrict));
  EXPECT_EQ("own/", ToFolder(link));
}

}  // namespace
