#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service/hooks/ProgramFolder.h"
#include "tests/service/hooks/Scripts.h"

namespace {

using HooksTest::WriteScript;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ProgramFolderFixture : public testing::Test {
 protected:
  std::vector<std::string> Names(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    const auto report = [this](const std::string& text) { m_Reports.push_back(text); };
    for (const auto& file : Hooks::FindPrograms(folder, report)) names.push_back(file.filename());
    return names;
  }

  TemporaryFolder m_Folder;
  std::vector<std::string> m_Reports;
};

using ProgramFolder = ProgramFolderFixture;

TEST_F(ProgramFolder, ListsExecutableFilesByName) {
  for (const char* const name : {"20-webhook", "10-mail", "9.sh", "a"}) {
    WriteScript(m_Folder.Path() / name, "");
  }
  EXPECT_THAT(Names(m_Folder.Path()), ElementsAre("10-mail", "20-webhook", "9.sh", "a"));
  EXPECT_THAT(m_Reports, IsEmpty());
}

TEST_F(ProgramFolder, LeavesOutWhatIsNotAProgram) {
  for (const char* const name : {".hidden", "mail~", "mail.dpkg-old", "mail.dpkg-dist"}) {
    WriteScript(m_Folder.Path() / name, "");
  }
  WriteScript(m_Folder.Path() / "README", "", 0644);
  std::filesystem::create_directory(m_Folder.Path() / "folder");
  std::filesystem::create_symlink("missing", m_Folder.Path() / "dangling");
  EXPECT_THAT(Names(m_Folder.Path()), IsEmpty());
  EXPECT_THAT(m_Reports, IsEmpty());
}

TEST_F(ProgramFolder, MayBeMissing) {
  EXPECT_THAT(Names(m_Folder.Path() / "missing"), IsEmpty());
  EXPECT_THAT(m_Reports, IsEmpty());
}

TEST_F(ProgramFolder, ReportsOneThatIsAFile) {
  EXPECT_THAT(Names(WriteScript(m_Folder.Path() / "file", "")), IsEmpty());
  EXPECT_THAT(m_Reports, ElementsAre(HasSubstr("Not a directory")));
}

TEST_F(ProgramFolder, DoesNotRunWhatOthersCanWrite) {
  WriteScript(m_Folder.Path() / "good", "");
  const auto bad = WriteScript(m_Folder.Path() / "bad", "", 0757);
  EXPECT_THAT(Names(m_Folder.Path()), ElementsAre("good"));
  EXPECT_THAT(m_Reports, ElementsAre("skipped " + bad.string() + ": " + bad.string() +
                                     " can be written by other users"));
}

TEST_F(ProgramFolder, DoesNotRunFromAFolderThatOthersCanWrite) {
  WriteScript(m_Folder.Path() / "program", "");
  for (const mode_t mode : {0777, 01777}) {
    chmod(m_Folder.Path().c_str(), mode);
    m_Reports.clear();
    EXPECT_THAT(Names(m_Folder.Path()), IsEmpty());
    EXPECT_THAT(m_Reports, ElementsAre(HasSubstr("can be written by other users")));
  }
}

TEST_F(ProgramFolder, DoesNotFollowALinkToWhatOthersCanWrite) {
  const auto folder = m_Folder.Path() / "events.d";
  std::filesystem::create_directory(folder);
  chmod(folder.c_str(), 0755);
  const auto open = WriteScript(m_Folder.Path() / "open", "", 0777);
  const auto closed = WriteScript(m_Folder.Path() / "closed", "");
  std::filesystem::create_symlink(open, folder / "a");
  std::filesystem::create_symlink(closed, folder / "b");
  EXPECT_THAT(Names(folder), ElementsAre("b"));
}

}  // namespace
