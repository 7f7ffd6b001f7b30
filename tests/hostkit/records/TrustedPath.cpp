// What another user could have put there. The strangers' files are made by root, so an ordinary
// user runs a part of these tests alone.
#include "hostkit/TrustedPath.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/hostkit/records/ConfigFolder.h"

namespace {

namespace fs = std::filesystem;

constexpr uid_t kStranger = 65534;

bool IsRoot() {
  return geteuid() == 0;
}

// As long as it lives, the process has the rights of an ordinary user.
class AsUser {
 public:
  explicit AsUser(uid_t user) {
    if (seteuid(user) != 0) std::abort();
  }
  ~AsUser() {
    if (seteuid(0) != 0) std::abort();
  }
  AsUser(const AsUser&) = delete;
  AsUser& operator=(const AsUser&) = delete;
};

class Trust : public testing::Test {
 protected:
  Trust() { chmod(m_Folder.Path().c_str(), 0755); }

  fs::path Folder(const std::string& name, mode_t mode) const {
    const fs::path folder = m_Folder.Path() / name;
    fs::create_directory(folder);
    chmod(folder.c_str(), mode);
    return folder;
  }
  static fs::path File(const fs::path& file, mode_t mode = 0644) {
    WriteText(file, "text");
    chmod(file.c_str(), mode);
    return file;
  }
  static fs::path Link(const fs::path& target, const fs::path& link) {
    fs::create_symlink(target, link);
    return link;
  }
  static fs::path Give(const fs::path& file, uid_t user = kStranger) {
    EXPECT_EQ(lchown(file.c_str(), user, user), 0);
    return file;
  }

  // The objection, with the folder of the test left out.
  std::string Why(const fs::path& file) const {
    std::string text = HostKit::ResolveTrusted(file.string()).m_Objection;
    const std::string prefix = m_Folder.Path().string() + "/";
    return text.rfind(prefix, 0) == 0 ? text.substr(prefix.size()) : text;
  }
  static std::string Resolved(const fs::path& file) {
    return HostKit::ResolveTrusted(file.string()).m_File.string();
  }

  TemporaryFolder m_Folder;
};

TEST_F(Trust, IsGivenToOnesOwnFilesAndLinks) {
  const auto own = Folder("own", 0700);
  EXPECT_EQ(Why(File(own / "file")), "");
  EXPECT_EQ(Why(own / "missing"), "");
  EXPECT_EQ(Why(own / "no" / "such" / "folder" / "file"), "");
  EXPECT_EQ(Why(Link("file", own / "link")), "");
  EXPECT_EQ(Resolved(own / "link"), (own / "file").string());
  EXPECT_EQ(Why(Link(own, m_Folder.Path() / "way") / "file"), "");
  EXPECT_EQ(Resolved(m_Folder.Path() / "way" / "file"), (own / "file").string());
  EXPECT_EQ(Resolved(m_Folder.Path() / "way" / ".." / "own" / "." / "file"),
            (own / "file").string());
  EXPECT_EQ(Resolved(own / "no" / "such" / "file"), (own / "no" / "such" / "file").string());
  EXPECT_EQ(Resolved("//" + (own / "file").string()), (own / "file").string());
}

TEST_F(Trust, IsGivenToOnesOwnFilesInTheTemporaryFolder) {
  const auto shared = Folder("shared", 01777);
  EXPECT_EQ(Why(File(shared / "file")), "");
  EXPECT_EQ(Why(shared / "missing"), "");
  EXPECT_EQ(Why(Link("file", shared / "link")), "");
  EXPECT_EQ(Why(Folder("shared/own", 0700) / "file"), "");
}

TEST_F(Trust, IsGivenToDevicesAndOpenDescriptors) {
  for (const char* file : {"/dev/null", "/dev/stderr", "/proc/self/fd/2", "/dev/full"}) {
    EXPECT_EQ(Why(file), "") << file;
  }
  EXPECT_EQ(Resolved("/dev/stderr"), "/proc/self/fd/2");
}

TEST_F(Trust, FindsNothingToSayOfAWayThatCannotBeGone) {
  const auto own = Folder("own", 0700);
  Link("b", own / "a");
  Link("a", own / "b");
  File(own / "file");
  EXPECT_EQ(Why(own / "a"), "");
  EXPECT_EQ(Resolved(own / "a"), (own / "a").string());
  EXPECT_EQ(Why(own / "file" / "below"), "");
}

TEST_F(Trust, FollowsARelativeNameFromTheWorkingDirectory) {
  const auto before = fs::current_path();
  fs::current_path(m_Folder.Path());
  EXPECT_EQ(Resolved("own.db"), (m_Folder.Path() / "own.db").string());
  fs::current_path(before);
}

TEST_F(Trust, IsNotGivenToAFileWithASecondNameInASharedFolder) {
  const auto own = Folder("own", 0700);
  const auto shared = Folder("shared", 01777);
  fs::create_hard_link(File(own / "file"), shared / "planted");
  EXPECT_EQ(Why(shared / "planted"), "shared/planted has a second name");
  EXPECT_EQ(Why(own / "file"), "");
}

class TrustOfRoot : public Trust {
 protected:
  void SetUp() override {
    if (!IsRoot()) GTEST_SKIP() << "only root can make the files of another user";
  }
};

TEST_F(TrustOfRoot, IsNotGivenToAStrangersFileOrLink) {
  const auto shared = Folder("shared", 01777);
  const auto own = Folder("own", 0755);
  File(own / "target");
  EXPECT_EQ(Why(Give(File(shared / "file"))), "shared/file belongs to uid 65534");
  EXPECT_EQ(Why(Give(Link(own / "target", shared / "link"))), "shared/link belongs to uid 65534");
  EXPECT_EQ(Why(Give(Link(own / "missing", shared / "void"))), "shared/void belongs to uid 65534");
  EXPECT_EQ(Why(Give(Link(own, shared / "way")) / "target"), "shared/way belongs to uid 65534");
  EXPECT_EQ(Why(Give(Folder("shared/theirs", 0755)) / "file"),
            "shared/theirs belongs to uid 65534");
  EXPECT_EQ(Why(Give(File(own / "file"))), "own/file belongs to uid 65534");
}

TEST_F(TrustOfRoot, IsNotGivenToWhatOthersMayWrite) {
  EXPECT_EQ(Why(Folder("all", 0777) / "file"), "all can be written by other users");
  EXPECT_EQ(Why(File(Folder("own", 0755) / "file", 0666)),
            "own/file can be written by other users");
  const auto group = Folder("group", 0775);
  EXPECT_EQ(Why(group / "file"), "");  // root's own group
  EXPECT_EQ(chown(group.c_str(), 0, kStranger), 0);
  EXPECT_EQ(Why(group / "file"), "group can be written by other users");
  // A link into such a folder leads there too.
  EXPECT_EQ(Why(Link(m_Folder.Path() / "all", m_Folder.Path() / "link") / "file"),
            "all can be written by other users");
}

TEST_F(TrustOfRoot, AnOrdinaryUserSharesFoldersAndFiles) {
  const auto theirs = Give(Folder("theirs", 0777), 1);
  Give(File(theirs / "of-root", 0666), 0);
  const auto group = Give(Folder("group", 0775), 1);
  Give(File(group / "shared", 0666), 1);
  const AsUser user(kStranger);
  EXPECT_EQ(Why(theirs / "of-root"), "");
  EXPECT_EQ(Why(theirs / "missing"), "");
  EXPECT_EQ(Why(group / "shared"), "");
}

TEST_F(TrustOfRoot, AnOrdinaryUserTakesNothingFromAStrangerWhereAllMayWrite) {
  const auto shared = Folder("shared", 01777);
  Give(File(shared / "file", 0666), 1);
  Give(Link("/etc", shared / "link"), 1);
  const AsUser user(kStranger);
  EXPECT_EQ(Why(shared / "file"), "shared/file belongs to uid 1");
  EXPECT_EQ(Why(shared / "link" / "passwd"), "shared/link belongs to uid 1");
}

// The ini file, for which there is a result alone.
TEST_F(TrustOfRoot, AStrangersIniFileIsUnreadableAndLeftAsItIs) {
  ConfigFolder config;
  const auto shared = Folder("shared", 01777);
  config.MoveTo(shared);
  WriteText(shared / "Corvane.ini", "PollInterval=7\n");
  Give(shared / "Corvane.ini");
  EXPECT_EQ(config.Read("PollInterval"), "2");
  EXPECT_EQ(config.Write("PollInterval", "30"), 3U);
  EXPECT_EQ(ReadText(shared / "Corvane.ini"), "PollInterval=7\n");
}

TEST_F(TrustOfRoot, AStrangersLinkLeadsNoIniFileAnywhere) {
  ConfigFolder config;
  const auto shared = Folder("shared", 01777);
  const auto own = Folder("own", 0755);
  WriteText(own / "target", "PollInterval=7\n");
  Give(Link(own / "target", shared / "Corvane.ini"));
  config.MoveTo(shared);
  EXPECT_EQ(config.Read("PollInterval"), "2");
  EXPECT_EQ(config.Write("PollInterval", "30"), 3U);
  EXPECT_EQ(ReadText(own / "target"), "PollInterval=7\n");
}

}  // namespace
