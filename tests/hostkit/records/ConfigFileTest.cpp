#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "tests/hostkit/records/Cases.h"
#include "tests/hostkit/records/ConfigDirectory.h"

namespace {

namespace fs = std::filesystem;

TEST(ConfigFile, IsCreatedByTheFirstWrite) {
  const ConfigDirectory config;
  EXPECT_EQ(config.Read("PollInterval"), "no key");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
  EXPECT_EQ(config.Read("PollInterval"), "value 30");
  EXPECT_EQ(ReadText(config.Ini()), "PollInterval=30\n");
  EXPECT_EQ(config.FileCount(), 1U);
}

TEST(ConfigFile, CreatesItsDirectory) {
  ConfigDirectory config;
  config.MoveTo(config.Directory() / "a" / "b");
  EXPECT_EQ(config.Read("PollInterval"), "no key");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
  EXPECT_EQ(ReadText(config.Directory() / "a/b/Corvane.ini"), "PollInterval=30\n");
}

struct ReadCase {
  const char* name;
  const char* text;
  const char* result;  // of reading "PollInterval"

  friend void PrintTo(const ReadCase& row, std::ostream* out) { *out << row.name; }
};

class ConfigFileReading : public testing::TestWithParam<ReadCase> {};

TEST_P(ConfigFileReading, FindsTheKeyOutsideSections) {
  const ConfigDirectory config;
  WriteText(config.Ini(), GetParam().text);
  EXPECT_EQ(config.Read("PollInterval"), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    , ConfigFileReading,
    testing::Values(ReadCase{"Plain", "PollInterval=20\n", "value 20"},
                    ReadCase{"WithoutLineEnd", "PollInterval=20", "value 20"},
                    ReadCase{"Spaces", "  PollInterval =  20 \r\n", "value 20"},
                    ReadCase{"EmptyValue", "PollInterval=\n", "value "},
                    ReadCase{"EqualsInValue", "PollInterval=a=b\n", "value a=b"},
                    ReadCase{"AmongOthers", "A=1\nPollInterval=20\nB=2\n[S]\nC=3\n", "value 20"},
                    ReadCase{"EmptyFile", "", "no key"}, ReadCase{"OtherKeys", "A=1\n", "no key"},
                    ReadCase{"OtherCase", "pollinterval=20\n", "no key"},
                    ReadCase{"Comment", ";PollInterval=20\n", "no key"},
                    ReadCase{"InSection", "[S]\nPollInterval=20\n", "no key"},
                    ReadCase{"SectionOfThatName", "[PollInterval]\nA=20\n", "no key"},
                    ReadCase{"NotAnIniFile", "this is not an ini file\n", "unreadable"},
                    ReadCase{"OpenSection", "[S\nPollInterval=20\n", "unreadable"},
                    ReadCase{"DuplicateKey", "PollInterval=20\nPollInterval=30\n", "unreadable"}),
    NameOfCase());

struct WriteCase {
  const char* name;
  const char* before;
  const char* after;  // writing "30" to "PollInterval"

  friend void PrintTo(const WriteCase& row, std::ostream* out) { *out << row.name; }
};

class ConfigFileWriting : public testing::TestWithParam<WriteCase> {};

TEST_P(ConfigFileWriting, ChangesOnlyTheLineOfTheKey) {
  const ConfigDirectory config;
  WriteText(config.Ini(), GetParam().before);
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
  EXPECT_EQ(ReadText(config.Ini()), GetParam().after);
  EXPECT_EQ(config.Read("PollInterval"), "value 30");
}

INSTANTIATE_TEST_SUITE_P(
    , ConfigFileWriting,
    testing::Values(
        WriteCase{"Empty", "", "PollInterval=30\n"},
        WriteCase{"Own", "PollInterval=20\n", "PollInterval=30\n"},
        WriteCase{"OwnWithoutLineEnd", "PollInterval=20", "PollInterval=30"},
        WriteCase{"OwnWithSpaces", "\n PollInterval = 20 \n\n", "\nPollInterval=30\n\n"},
        WriteCase{"OtherLineEnds", "A=1\r\nPollInterval=2\r\nB=2\r\n",
                  "A=1\r\nPollInterval=30\r\nB=2\r\n"},
        WriteCase{"AfterOthers", "A=1\nB=2\n", "A=1\nB=2\nPollInterval=30\n"},
        WriteCase{"AfterOthersWithoutLineEnd", "A=1", "A=1\nPollInterval=30\n"},
        WriteCase{"BeforeSections", "A=1\n[S]\nPollInterval=5\n",
                  "A=1\nPollInterval=30\n[S]\nPollInterval=5\n"},
        WriteCase{"BeforeTheFirstLine", "[S]\nA=1\n", "PollInterval=30\n[S]\nA=1\n"},
        WriteCase{"KeepsComments", "; seconds\nPollInterval=20\n;PollInterval=5\n",
                  "; seconds\nPollInterval=30\n;PollInterval=5\n"},
        WriteCase{"LongerName", "PollInterval2=1\n", "PollInterval2=1\nPollInterval=30\n"}),
    NameOfCase());

TEST(ConfigFile, TreatsADotInAKeyLiterally) {
  const ConfigDirectory config;
  WriteText(config.Ini(), "[Poll]\nInterval=5\n");
  EXPECT_EQ(config.Read("Poll.Interval"), "no key");
  EXPECT_EQ(config.Write("Poll.Interval", "6"), HostKit::RESULT_OK);
  EXPECT_EQ(config.Read("Poll.Interval"), "value 6");
  EXPECT_EQ(ReadText(config.Ini()), "Poll.Interval=6\n[Poll]\nInterval=5\n");
}

TEST(ConfigFile, RejectsKeysAndValuesThatCannotBeReadBack) {
  const ConfigDirectory config;
  WriteText(config.Ini(), "PollInterval=20\n");
  const std::pair<const char*, const char*> invalid[] = {
      {"PollInterval", "30\nOther=1"}, {"PollInterval", " 30"},  {"PollInterval", "30\n"},
      {"Poll\nInterval", "30"},        {"Poll=Interval", "30"},  {" PollInterval", "30"},
      {";PollInterval", "30"},         {"[PollInterval", "30]"}, {"", "30"}};
  for (const auto& [key, value] : invalid) {
    EXPECT_EQ(config.Write(key, value), HostKit::RESULT_NOT_WRITTEN) << key << "=" << value;
    EXPECT_EQ(ReadText(config.Ini()), "PollInterval=20\n");
  }
}

TEST(ConfigFile, KeepsItsPermissions) {
  const ConfigDirectory config;
  WriteText(config.Ini(), "PollInterval=20\n");
  ASSERT_EQ(chmod(config.Ini().c_str(), 0640), 0);
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
  struct stat status {};
  ASSERT_EQ(stat(config.Ini().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST(ConfigFile, KeepsALinkAndWritesItsTarget) {
  const ConfigDirectory config;
  fs::create_directory(config.Directory() / "shared");
  WriteText(config.Directory() / "shared/real.ini", "A=1\nPollInterval=20\n");
  fs::create_symlink("shared/real.ini", config.Directory() / "link.ini");
  fs::create_symlink(config.Directory() / "link.ini", config.Ini());
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
  EXPECT_TRUE(fs::is_symlink(config.Ini()) && fs::is_symlink(config.Directory() / "link.ini"));
  EXPECT_EQ(ReadText(config.Directory() / "shared/real.ini"), "A=1\nPollInterval=30\n");
}

TEST(ConfigFile, CreatesTheTargetOfADanglingLink) {
  const ConfigDirectory config;
  fs::create_symlink("later/real.ini", config.Ini());
  EXPECT_EQ(config.Read("PollInterval"), "no key");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
  EXPECT_TRUE(fs::is_symlink(config.Ini()));
  EXPECT_EQ(ReadText(config.Directory() / "later/real.ini"), "PollInterval=30\n");
}

TEST(ConfigFile, IsInTheConfigDirectoryEvenIfNamedWithAPath) {
  const ConfigDirectory config;
  PI::CConfigFile file;
  file.SetFileName("/elsewhere/sub/Corvane.ini");
  EXPECT_EQ(file.WriteKeyValue("PollInterval", "30", -1, -1), HostKit::RESULT_OK);
  EXPECT_EQ(config.Read("PollInterval"), "value 30");
}

TEST(ConfigFile, IsNeitherReadNorWrittenWithoutAName) {
  const ConfigDirectory config;
  PI::CConfigFile file;
  std::string value = "untouched";
  EXPECT_EQ(file.ReadKeyValue("PollInterval", value, -1, -1), HostKit::RESULT_NO_KEY);
  EXPECT_EQ(file.WriteKeyValue("PollInterval", "30", -1, -1), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_EQ(value, "untouched");
  EXPECT_EQ(config.FileCount(), 0U);
}

TEST(ConfigFile, KeepsTheKeysOfConcurrentWriters) {
  const ConfigDirectory config;
  const auto writeAll = [&config](char writer) {
    for (int i = 0; i < 20; ++i) config.Write(writer + std::to_string(i), std::to_string(i));
  };
  std::thread first(writeAll, 'a');
  std::thread second(writeAll, 'b');
  first.join();
  second.join();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(config.Read("a" + std::to_string(i)), "value " + std::to_string(i));
    EXPECT_EQ(config.Read("b" + std::to_string(i)), "value " + std::to_string(i));
  }
  EXPECT_EQ(config.FileCount(), 1U);
}

}  // namespace
