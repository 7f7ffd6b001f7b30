// Files, directories and links that another user could have created on the path of the state file.
#include <sys/stat.h>

#include <regex>

#include "tests/cardsim/Fixture.h"
#include "tests/support/AccessList.h"

namespace {

constexpr const char* kOthers = "can be written by other users";

// Some tests require root, because they create another user's files.
class UntrustedFiles : public SimulatedCards {
 protected:
  std::string Cards() {
    return ErrorOf([this] { File().Cards(); });
  }
  std::string Edit() {
    return ErrorOf([this] { File().AddCard(0x1003); });
  }
  bool IsRoot() const { return geteuid() == 0; }
  std::string ForRoot(const std::string& error) const { return IsRoot() ? error : "no error"; }
};

TEST_F(UntrustedFiles, LinksOfTheSameUserAreFollowedAndKept) {
  const auto real = m_Directory / "real";
  std::filesystem::create_directory(real);
  std::filesystem::rename(Path(), real / "other.json");
  std::filesystem::create_symlink("real", m_Directory / "way");
  std::filesystem::create_symlink("./way/../way/other.json", Path());
  EXPECT_EQ("no error", Edit());
  EXPECT_TRUE(std::filesystem::is_symlink(Path()));
  EXPECT_NE(std::string::npos, Slurp(real / "other.json").find("card0"));
  EXPECT_TRUE(std::filesystem::exists(real / "other.json.lock"));
}

TEST_F(UntrustedFiles, ALoopOfLinksIsReported) {
  std::filesystem::remove(Path());
  std::filesystem::create_symlink("cards.json", Path());
  EXPECT_EQ(Path().string() + ": Too many levels of symbolic links", Cards());
}

TEST_F(UntrustedFiles, ALinkInPlaceOfTheLockFileIsNotFollowed) {
  const auto lock = Path().string() + ".lock";
  const auto victim = m_Directory / "victim";
  std::filesystem::remove(lock);
  std::filesystem::create_symlink(victim, lock);
  EXPECT_EQ(lock + ": not trusted: the file is a symbolic link", Edit());
  EXPECT_FALSE(std::filesystem::exists(victim));
  EXPECT_EQ("no error", Cards());
}

TEST_F(UntrustedFiles, ALinkInPlaceOfTheDraftIsReplaced) {
  const auto victim = m_Directory / "victim";
  std::ofstream(victim) << "precious";
  std::filesystem::create_symlink(victim, Path().string() + ".new");
  EXPECT_EQ("no error", Edit());
  EXPECT_EQ("precious", Slurp(victim));
  EXPECT_FALSE(std::filesystem::is_symlink(Path()));
}

TEST_F(UntrustedFiles, RootRejectsADirectoryThatOthersCanWrite) {
  chmod(m_Directory.c_str(), 0777);
  const std::string why =
      Path().string() + ": not trusted: " + m_Directory.string() + " " + kOthers;
  EXPECT_EQ(ForRoot(why), Cards());
  EXPECT_EQ(ForRoot(why), Edit());
  const auto fresh = m_Directory / "fresh.json";
  EXPECT_EQ(ForRoot(fresh.string() + ": not trusted: " + m_Directory.string() + " " + kOthers),
            ErrorOf([&] { CardSim::StateFile(fresh).Create(); }));
  EXPECT_EQ(IsRoot(), vsl_init(0, &m_Error) != 0);
  chmod(m_Directory.c_str(), 01777);
  EXPECT_EQ("no error", Edit());
}

TEST_F(UntrustedFiles, RootRejectsAFileThatOthersCanWrite) {
  chmod(Path().c_str(), 0666);
  EXPECT_EQ(ForRoot(Path().string() + ": not trusted: the file " + kOthers), Cards());
}

TEST_F(UntrustedFiles, RootRejectsAFileOrDirectoryWithAnAccessListForOthers) {
  if (!GrantWriteByAcl(Path())) GTEST_SKIP() << "the file system does not support ACLs";
  EXPECT_EQ(ForRoot(Path().string() + ": not trusted: the file " + kOthers), Cards());
  ASSERT_TRUE(GrantWriteByAcl(m_Directory));
  EXPECT_EQ(ForRoot(Path().string() + ": not trusted: " + m_Directory.string() + " " + kOthers),
            Edit());
}

TEST_F(UntrustedFiles, AFileWithASecondHardLinkInASharedDirectoryIsRejected) {
  chmod(m_Directory.c_str(), 01777);
  std::filesystem::create_hard_link(Path(), m_Directory / "second");
  EXPECT_EQ(Path().string() + ": not trusted: the file has a second hard link", Cards());
}

TEST_F(UntrustedFiles, RootRejectsAFileAndALinkOfAnotherUser) {
  if (!IsRoot()) GTEST_SKIP() << "only root can change the owner of files";
  ASSERT_EQ(0, chown(Path().c_str(), 65534, 65534));
  EXPECT_EQ(Path().string() + ": not trusted: the file is owned by uid 65534", Edit());
  ASSERT_EQ(0, chown(Path().c_str(), 0, 0));
  ASSERT_EQ(0, chown((Path().string() + ".lock").c_str(), 65534, 65534));
  EXPECT_EQ(Path().string() + ".lock: not trusted: the file is owned by uid 65534", Edit());
  const auto link = m_Directory / "link.json";
  std::filesystem::create_symlink(Path(), link);
  ASSERT_EQ(0, lchown(link.c_str(), 65534, 65534));
  EXPECT_EQ(link.string() + ": not trusted: " + link.string() + " is owned by uid 65534",
            ErrorOf([&] { CardSim::StateFile(link).Cards(); }));
}

TEST_F(UntrustedFiles, AMarkerThatIsALinkIsNotFollowed) {
  const auto victim = m_Directory / "victim";
  std::ofstream(victim) << "precious";
  std::filesystem::create_directories(m_Directory / "sys/bus/pci");
  std::filesystem::create_symlink(victim, m_Directory / "sys/bus/pci/.cardsim");
  chmod((m_Directory / "sys").c_str(), 0777);
  EXPECT_NE("no error", ErrorOf([this] { File().WriteSysfs(m_Directory / "sys"); }));
  EXPECT_EQ("precious", Slurp(victim));
}

// Another user's directory, with links to a directory owned by root at several depths.
class UntrustedPaths : public UntrustedFiles, public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    UntrustedFiles::SetUp();
    if (!IsRoot()) GTEST_SKIP() << "only root can change the owner of files";
    std::filesystem::create_directories(Theirs() / "one/two");
    std::filesystem::create_directory(Victim());
    for (const char* link : {"link", "one/link", "one/two/link"}) {
      std::filesystem::create_directory_symlink(Victim(), Theirs() / link);
    }
    for (const char* name : {"", "one", "one/two", "link", "one/link", "one/two/link"}) {
      ASSERT_EQ(0, lchown((Theirs() / name).c_str(), 65534, 65534));
    }
  }

  std::filesystem::path Theirs() const { return m_Directory / "theirs"; }
  std::filesystem::path Victim() const { return m_Directory / "victim"; }
  std::string ErrorFor(const std::filesystem::path& path) const {
    return path.string() + ": not trusted: " + Theirs().string() + " is owned by uid 65534";
  }
};

TEST_P(UntrustedPaths, NoDirectoryForAStateFileIsCreated) {
  const auto file = Theirs() / GetParam() / "new/newer/cards.json";
  EXPECT_EQ(ErrorFor(file), ErrorOf([&] { CardSim::StateFile(file).Create(); }));
  EXPECT_TRUE(std::filesystem::is_empty(Victim()));
  EXPECT_FALSE(std::filesystem::exists(Theirs() / GetParam() / "new"));
}

TEST_P(UntrustedPaths, NoSysfsTreeIsCreated) {
  const auto directory = Theirs() / GetParam() / "sys";
  EXPECT_EQ(ErrorFor(directory / "bus/pci/.cardsim"),
            ErrorOf([&] { File().WriteSysfs(directory); }));
  EXPECT_TRUE(std::filesystem::is_empty(Victim()));
  EXPECT_FALSE(std::filesystem::exists(directory));
}

INSTANTIATE_TEST_SUITE_P(Table, UntrustedPaths,
                         ::testing::Values(".", "link", "one", "one/link", "one/two",
                                           "one/two/link", "none"));

TEST_F(UntrustedFiles, MissingDirectoriesAreCreatedThroughLinksOfTheSameUser) {
  std::filesystem::create_directory(m_Directory / "real");
  std::filesystem::create_directory_symlink("real", m_Directory / "way");
  const auto file = m_Directory / "way/a/../b/cards.json";
  EXPECT_EQ("no error", ErrorOf([&] { CardSim::StateFile(file).Create(); }));
  EXPECT_TRUE(std::filesystem::exists(m_Directory / "real/b/cards.json"));
}

TEST_F(UntrustedFiles, ADevicesDirectoryThatIsALinkIsReplaced) {
  File().AddCard(0x1003);
  const auto victim = m_Directory / "victim";
  std::filesystem::create_directories(victim);
  File().WriteSysfs(m_Directory / "sys");
  const auto devices = m_Directory / "sys/bus/pci/devices";
  std::filesystem::remove_all(devices);
  std::filesystem::create_directory_symlink(victim, devices);
  EXPECT_EQ("no error", ErrorOf([this] { File().WriteSysfs(m_Directory / "sys"); }));
  EXPECT_TRUE(std::filesystem::is_empty(victim));
  EXPECT_FALSE(std::filesystem::is_symlink(devices));
}

TEST_F(UntrustedFiles, AMarkerThatIsALinkToARegularFileIsRejected) {
  const auto victim = m_Directory / "victim";
  std::ofstream(victim) << "precious";
  std::filesystem::create_directories(m_Directory / "sys/bus/pci");
  std::filesystem::create_symlink(victim, m_Directory / "sys/bus/pci/.cardsim");
  EXPECT_EQ((m_Directory / "sys/bus/pci/.cardsim").string() + ": not a regular file",
            ErrorOf([this] { File().WriteSysfs(m_Directory / "sys"); }));
  EXPECT_EQ("precious", Slurp(victim));
}

TEST_F(UntrustedFiles, AMarkerThatIsAPipeIsRejected) {
  std::filesystem::create_directories(m_Directory / "sys/bus/pci");
  const auto marker = m_Directory / "sys/bus/pci/.cardsim";
  ASSERT_EQ(0, mkfifo(marker.c_str(), 0600));
  EXPECT_EQ(marker.string() + ": not a regular file",
            ErrorOf([this] { File().WriteSysfs(m_Directory / "sys"); }));
}

std::vector<std::filesystem::path> SourceFiles() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(CARDSIM_SOURCES)) {
    const auto extension = entry.path().extension();
    if (extension == ".cpp" || extension == ".h") files.push_back(entry.path());
  }
  return files;
}

TEST(Environment, IsAccessedOnlyThroughSecureGetenv) {
  const std::regex plain("[^_]getenv\\(");
  int files = 0;
  for (const auto& path : SourceFiles()) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_FALSE(std::regex_search(text.str(), plain)) << path;
    ++files;
  }
  EXPECT_GT(files, 40);
}

TEST(Errors, AreNotPrintedUnescaped) {
  const std::regex raw("(printf|puts|<<)[^;]*what\\(\\)");
  EXPECT_TRUE(std::regex_search("fprintf(stderr, text,\n error.what());", raw));
  int files = 0;
  for (const auto& path : SourceFiles()) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_FALSE(std::regex_search(text.str(), raw)) << path;
    ++files;
  }
  EXPECT_GT(files, 40);
}

}  // namespace
