// Atomic replacement of a file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <regex>
#include <vector>

#include "base/FileReplacement.h"
#include "tests/support/Temporary.h"

namespace {

class FileReplacementTest : public testing::Test {
 protected:
  FileReplacementTest()
      : m_Opened(Base::OpenAt(AT_FDCWD, m_Directory.Path().string(), O_PATH | O_DIRECTORY)) {
    WriteText(Target(), "old");
  }

  std::filesystem::path Target() const { return m_Directory.Path() / "file"; }
  int Directory() const { return m_Opened.Get(); }

  // Returns the sorted names in the directory, such as "file file.1a2b3c4d".
  std::string Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_Directory.Path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
  }

  TemporaryDirectory m_Directory;
  Base::Descriptor m_Opened;
};

TEST_F(FileReplacementTest, ShowsTheOldFileUntilTheNewOneIsComplete) {
  Base::FileReplacement replacement(Directory(), "file");
  ASSERT_EQ(0, replacement.OpenDraft("draft", 0600));
  ASSERT_EQ(0, replacement.Write("new "));
  EXPECT_EQ("old", ReadText(Target()));
  ASSERT_EQ(0, replacement.Write("text"));
  EXPECT_EQ("old", ReadText(Target()));
  EXPECT_EQ("draft file", Names());
  ASSERT_EQ(0, replacement.Install());
  EXPECT_EQ("new text", ReadText(Target()));
  EXPECT_EQ("file", Names());
}

TEST_F(FileReplacementTest, CreatesAMissingFile) {
  std::filesystem::remove(Target());
  Base::FileReplacement replacement(Directory(), "file");
  ASSERT_EQ(0, replacement.OpenUniqueDraft("file.", 0600));
  ASSERT_EQ(0, replacement.Write("new"));
  ASSERT_EQ(0, replacement.Install());
  EXPECT_EQ("new", ReadText(Target()));
}

TEST_F(FileReplacementTest, RemovesADraftThatIsNotInstalled) {
  {
    Base::FileReplacement replacement(Directory(), "file");
    ASSERT_EQ(0, replacement.OpenUniqueDraft("file.", 0600));
    ASSERT_EQ(0, replacement.Write("new"));
    EXPECT_TRUE(std::regex_match(Names(), std::regex("file file\\.[0-9a-f]{8}"))) << Names();
  }
  EXPECT_EQ("file", Names());
  EXPECT_EQ("old", ReadText(Target()));
}

TEST_F(FileReplacementTest, ReplacesALeftoverDraftAndDoesNotFollowLinks) {
  const auto other = m_Directory.Path() / "other";
  WriteText(other, "unrelated");
  std::filesystem::create_symlink(other, m_Directory.Path() / "draft");
  Base::FileReplacement replacement(Directory(), "file");
  ASSERT_EQ(0, replacement.OpenDraft("draft", 0600));
  ASSERT_EQ(0, replacement.Write("new"));
  ASSERT_EQ(0, replacement.Install());
  EXPECT_EQ("unrelated", ReadText(other));
  EXPECT_EQ("new", ReadText(Target()));
  EXPECT_EQ("file other", Names());
}

TEST_F(FileReplacementTest, CreatesTheDraftWithTheRequestedMode) {
  Base::FileReplacement replacement(Directory(), "file");
  ASSERT_EQ(0, replacement.OpenDraft("draft", 0640));
  struct stat status {};
  ASSERT_EQ(0, fstat(replacement.Draft().Get(), &status));
  EXPECT_EQ(0640U, status.st_mode & 07777);
}

TEST_F(FileReplacementTest, ReturnsTheNewFile) {
  Base::FileReplacement replacement(Directory(), "file");
  ASSERT_EQ(0, replacement.OpenDraft("draft", 0600));
  ASSERT_EQ(0, replacement.Write("new"));
  ASSERT_EQ(0, replacement.Install());
  const Base::Descriptor file = replacement.TakeFile();
  char text[4] = "";
  EXPECT_EQ(3, pread(file.Get(), text, 3, 0));
  EXPECT_STREQ("new", text);
}

TEST_F(FileReplacementTest, ReportsADirectoryInPlaceOfTheTarget) {
  std::filesystem::remove(Target());
  std::filesystem::create_directory(Target());
  {
    Base::FileReplacement replacement(Directory(), "file");
    ASSERT_EQ(0, replacement.OpenDraft("draft", 0600));
    ASSERT_EQ(0, replacement.Write("new"));
    EXPECT_EQ(EISDIR, replacement.Install());
  }
  EXPECT_EQ("file", Names());
}

TEST_F(FileReplacementTest, ReportsAMissingDirectory) {
  Base::FileReplacement replacement(Directory(), "file");
  std::filesystem::remove_all(m_Directory.Path());
  EXPECT_EQ(ENOENT, replacement.OpenUniqueDraft("file.", 0600));
  EXPECT_EQ(ENOENT, replacement.OpenDraft("draft", 0600));
}

// Runs in a child process with a file size limit.
TEST_F(FileReplacementTest, KeepsTheOldFileWhenAWriteFails) {
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {2, 2};
    setrlimit(RLIMIT_FSIZE, &limit);
    int error = 0;
    {
      Base::FileReplacement replacement(Directory(), "file");
      if (replacement.OpenDraft("draft", 0600) != 0) _exit(1);
      error = replacement.Write("new");
    }
    _exit(error == EFBIG ? 0 : 2);
  }
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_EQ("old", ReadText(Target()));
  EXPECT_EQ("file", Names());
}

}  // namespace
