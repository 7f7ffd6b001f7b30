#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service/hooks/ProgramDirectory.h"
#include "tests/service/hooks/Scripts.h"

namespace {

using HooksTest::WriteScript;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ProgramDirectoryFixture : public testing::Test {
 protected:
  std::vector<std::string> Names(const std::filesystem::path& directory) {
    std::vector<std::string> names;
    const auto report = [this](const std::string& text) { m_Reports.push_back(text); };
    for (const auto& file : Hooks::FindPrograms(directory, report))
      names.push_back(file.filename());
    return names;
  }

  TemporaryDirectory m_Directory;
  std::vector<std::string> m_Reports;
};

using ProgramDirectory = ProgramDirectoryFixture;

TEST_F(ProgramDirectory, ListsExecutableFilesByName) {
  for (const char* const name : {"20-webhook", "10-mail", "9.sh", "a"}) {
    WriteScript(m_Directory.Path() / name, "");
  }
  EXPECT_THAT(Names(m_Directory.Path()), ElementsAre("10-mail", "20-webhook", "9.sh", "a"));
  EXPECT_THAT(m_Reports, IsEmpty());
}

TEST_F(ProgramDirectory, SkipsFilesThatAreNotPrograms) {
  for (const char* const name : {".hidden", "mail~", "mail.dpkg-old", "mail.dpkg-dist"}) {
    WriteScript(m_Directory.Path() / name, "");
  }
  WriteScript(m_Directory.Path() / "README", "", 0644);
  std::filesystem::create_directory(m_Directory.Path() / "directory");
  std::filesystem::create_symlink("missing", m_Directory.Path() / "dangling");
  EXPECT_THAT(Names(m_Directory.Path()), IsEmpty());
  EXPECT_THAT(m_Reports, IsEmpty());
}

TEST_F(ProgramDirectory, MayBeMissing) {
  EXPECT_THAT(Names(m_Directory.Path() / "missing"), IsEmpty());
  EXPECT_THAT(m_Reports, IsEmpty());
}

TEST_F(ProgramDirectory, ReportsAFileInPlaceOfTheDirectory) {
  EXPECT_THAT(Names(WriteScript(m_Directory.Path() / "file", "")), IsEmpty());
  EXPECT_THAT(m_Reports, ElementsAre(HasSubstr("Not a directory")));
}

TEST_F(ProgramDirectory, SkipsFilesThatOthersCanWrite) {
  WriteScript(m_Directory.Path() / "good", "");
  const auto bad = WriteScript(m_Directory.Path() / "bad", "", 0757);
  EXPECT_THAT(Names(m_Directory.Path()), ElementsAre("good"));
  EXPECT_THAT(m_Reports, ElementsAre("skipped " + bad.string() + ": " + bad.string() +
                                     " can be written by other users"));
}

TEST_F(ProgramDirectory, SkipsADirectoryThatOthersCanWrite) {
  WriteScript(m_Directory.Path() / "program", "");
  for (const mode_t mode : {0777U, 01777U}) {
    chmod(m_Directory.Path().c_str(), mode);
    m_Reports.clear();
    EXPECT_THAT(Names(m_Directory.Path()), IsEmpty());
    EXPECT_THAT(m_Reports, ElementsAre(HasSubstr("can be written by other users")));
  }
}

TEST_F(ProgramDirectory, SkipsALinkToAFileThatOthersCanWrite) {
  const auto directory = m_Directory.Path() / "events.d";
  std::filesystem::create_directory(directory);
  chmod(directory.c_str(), 0755);
  const auto open = WriteScript(m_Directory.Path() / "open", "", 0777);
  const auto closed = WriteScript(m_Directory.Path() / "closed", "");
  std::filesystem::create_symlink(open, directory / "a");
  std::filesystem::create_symlink(closed, directory / "b");
  EXPECT_THAT(Names(directory), ElementsAre("b"));
}

}  // namespace
