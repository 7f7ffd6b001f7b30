// Event programs, tested with real scripts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "service/hooks/EventPrograms.h"
#include "tests/service/hooks/Scripts.h"
#include "tests/support/Temporary.h"

namespace {

using HooksTest::WriteScript;
using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class EventProgramsFixture : public testing::Test {
 protected:
  EventProgramsFixture() {
    m_Settings.m_Directory = m_Directory.Path() / "events.d";
    m_Settings.m_StateFile = StateFile();
    m_Settings.m_Report = [this](const std::string& text) {
      const std::lock_guard<std::mutex> lock(m_Lock);
      m_Reports.push_back(text);
    };
    std::filesystem::create_directory(m_Settings.m_Directory);
    chmod(m_Settings.m_Directory.c_str(), 0755);
  }

  std::string StateFile() const { return m_Directory.Path() / "state"; }
  // Scripts write their output to the directory $OUT.
  void AddScript(const std::string& name, const std::string& body) const {
    WriteScript(m_Settings.m_Directory / name, "OUT=" + m_Directory.Path().string() + "\n" + body);
  }
  void Start() { m_Programs.emplace(m_Settings); }
  // Waits for running programs until the stop timeout.
  void Stop() { m_Programs.reset(); }
  void QueueEvent(std::int64_t number) {
    m_Programs->QueueEvent({number, {{"number", number}, {"text", "hot"}}});
  }
  // Waits until a file that the scripts write has `count` lines, and returns its lines.
  std::vector<std::string> AwaitLines(const std::string& name, std::size_t count) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    std::vector<std::string> lines;
    do {
      lines.clear();
      std::istringstream text(ReadText(m_Directory.Path() / name));
      for (std::string line; std::getline(text, line);) lines.push_back(line);
      std::this_thread::sleep_for(milliseconds(2));
    } while (lines.size() < count && std::chrono::steady_clock::now() < end);
    return lines;
  }
  std::vector<std::string> Reports() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Reports;
  }
  bool AwaitReport(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (std::chrono::steady_clock::now() < end) {
      const auto reports = Reports();
      if (std::find(reports.begin(), reports.end(), text) != reports.end()) return true;
      std::this_thread::sleep_for(milliseconds(2));
    }
    return false;
  }

  TemporaryDirectory m_Directory;
  Hooks::ProgramSettings m_Settings;
  std::mutex m_Lock;
  std::vector<std::string> m_Reports;  // guarded by `m_Lock`
  std::optional<Hooks::EventPrograms> m_Programs;
};

using EventPrograms = EventProgramsFixture;

TEST_F(EventPrograms, RunInOrderOfTheirNames) {
  for (const char* const name : {"30-c", "10-a", "20-b"}) {
    AddScript(name, "echo \"$CORVANE_NUMBER ${0##*/}\" >>$OUT/lines");
  }
  Start();
  QueueEvent(1);
  EXPECT_THAT(AwaitLines("lines", 3), ElementsAre("1 10-a", "1 20-b", "1 30-c"));
}

TEST_F(EventPrograms, ReceiveTheDocumentAndItsFields) {
  AddScript("program",
            "{ cat; echo \"$CORVANE_NUMBER $CORVANE_TEXT\"; } >$OUT/draft\n"
            "mv $OUT/draft $OUT/lines");
  Start();
  QueueEvent(12);
  EXPECT_THAT(AwaitLines("lines", 2), ElementsAre("{\"number\":12,\"text\":\"hot\"}", "12 hot"));
}

TEST_F(EventPrograms, RunAgainForTheNextEvent) {
  AddScript("program", "echo $CORVANE_NUMBER >>$OUT/lines");
  Start();
  for (std::int64_t number = 1; number <= 10; ++number) QueueEvent(number);
  EXPECT_THAT(AwaitLines("lines", 10),
              UnorderedElementsAre("1", "2", "3", "4", "5", "6", "7", "8", "9", "10"));
}

TEST_F(EventPrograms, RunAfterAProgramThatFailed) {
  AddScript("10-fails", "echo wrong; exit 2");
  AddScript("20-works", "echo $CORVANE_NUMBER >>$OUT/lines");
  Start();
  QueueEvent(1);
  EXPECT_THAT(AwaitLines("lines", 1), ElementsAre("1"));
  EXPECT_THAT(Reports(),
              ElementsAre("events.d: 10-fails: wrong", "events.d: 10-fails: event 1: exit code 2"));
}

TEST_F(EventPrograms, RunAfterAProgramThatHung) {
  m_Settings.m_Timeout = milliseconds(1000);
  AddScript("10-hangs", "sleep 1000");
  AddScript("20-works", "echo $CORVANE_NUMBER >>$OUT/lines");
  Start();
  QueueEvent(1);
  EXPECT_THAT(AwaitLines("lines", 1), ElementsAre("1"));
  EXPECT_THAT(Reports(), ElementsAre("events.d: 10-hangs: event 1: killed after 1 s"));
}

TEST_F(EventPrograms, RunFourAtATime) {
  AddScript("program",
            "echo $CORVANE_NUMBER >>$OUT/lines\n"
            "until [ -e $OUT/go ]; do sleep 0.01; done");
  Start();
  for (std::int64_t number = 1; number <= 6; ++number) QueueEvent(number);
  EXPECT_THAT(AwaitLines("lines", 4), UnorderedElementsAre("1", "2", "3", "4"));
  std::this_thread::sleep_for(milliseconds(300));  // a fifth would have started by now
  EXPECT_EQ(4U, AwaitLines("lines", 4).size());
  WriteText(m_Directory.Path() / "go", "");
  EXPECT_EQ(6U, AwaitLines("lines", 6).size());
}

TEST_F(EventPrograms, StartAfterTheNumberIsRecorded) {
  AddScript("program", "cat $OUT/state >>$OUT/lines");
  Start();
  QueueEvent(7);
  EXPECT_THAT(AwaitLines("lines", 1), ElementsAre("7"));
  Stop();
  Start();
  EXPECT_EQ(7, m_Programs->LastEventNumber());
}

TEST_F(EventPrograms, DoNotRunIfTheNumberCannotBeRecorded) {
  m_Settings.m_StateFile = m_Directory.Path() / "missing" / "state";
  AddScript("program", "echo $CORVANE_NUMBER >>$OUT/lines");
  Start();
  QueueEvent(7);
  EXPECT_TRUE(AwaitReport("events.d: event 7 dropped: cannot write " +
                          m_Settings.m_StateFile.string() + ": No such file or directory"));
  Stop();
  EXPECT_FALSE(std::filesystem::exists(m_Directory.Path() / "lines"));
}

TEST_F(EventPrograms, DoNotRequireAStateFile) {
  m_Settings.m_StateFile.clear();
  AddScript("program", "echo $CORVANE_NUMBER >>$OUT/lines");
  Start();
  QueueEvent(7);
  EXPECT_THAT(AwaitLines("lines", 1), ElementsAre("7"));
  EXPECT_EQ(std::nullopt, m_Programs->LastEventNumber());
}

TEST_F(EventPrograms, AreKilledOnStop) {
  m_Settings.m_Parallel = 1;
  m_Settings.m_StopTimeout = milliseconds(100);
  AddScript("program", "echo $CORVANE_NUMBER >>$OUT/lines; sleep 1000");
  Start();
  QueueEvent(1);
  QueueEvent(2);
  EXPECT_THAT(AwaitLines("lines", 1), ElementsAre("1"));
  Stop();
  EXPECT_THAT(Reports(),
              ElementsAre("events.d: program: event 1: killed because the service is stopping"));
  EXPECT_EQ("1\n", ReadText(StateFile()));  // event 2 was not started, so the next start runs it
}

TEST_F(EventPrograms, MayFinishDuringStop) {
  AddScript("program",
            "echo $CORVANE_NUMBER >>$OUT/lines\n"
            "until [ -e $OUT/go ]; do sleep 0.01; done; echo end >>$OUT/lines");
  m_Settings.m_StopTimeout = std::chrono::minutes(2);
  Start();
  QueueEvent(1);
  EXPECT_THAT(AwaitLines("lines", 1), ElementsAre("1"));
  std::thread stop([this] { Stop(); });
  WriteText(m_Directory.Path() / "go", "");
  stop.join();
  EXPECT_THAT(AwaitLines("lines", 2), ElementsAre("1", "end"));
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(EventPrograms, DoNotRunForEventsBeyondTheQueue) {
  m_Settings.m_Parallel = 1;
  m_Settings.m_Queue = 1;
  AddScript("program",
            "echo $CORVANE_NUMBER >>$OUT/lines\n"
            "until [ -e $OUT/go ]; do sleep 0.01; done");
  Start();
  QueueEvent(1);
  EXPECT_EQ(1U, AwaitLines("lines", 1).size());
  QueueEvent(2);
  QueueEvent(3);
  EXPECT_THAT(Reports(), ElementsAre("events.d: event queue full; event 3 dropped"));
  WriteText(m_Directory.Path() / "go", "");
  EXPECT_THAT(AwaitLines("lines", 2), ElementsAre("1", "2"));
}

TEST_F(EventPrograms, RecordTheNumberToSkipTo) {
  Start();
  m_Programs->SkipTo(41);
  EXPECT_EQ("41\n", ReadText(StateFile()));
}

TEST_F(EventPrograms, HaveNoLastEventNumberIfTheStateFileIsInvalid) {
  std::size_t reports = 0;
  for (const char* const text : {"", "\n", "x", "-", "99999999999999999999999\n", "7", "7x\n",
                                 "7\n\n", " 7\n", "-7\n", "7\n8\n"}) {
    WriteText(StateFile(), text);
    Start();
    EXPECT_EQ(std::nullopt, m_Programs->LastEventNumber()) << text;
    EXPECT_EQ(++reports, Reports().size()) << text;
    EXPECT_EQ("events.d: " + StateFile() +
                  " is not usable; skipping events that were logged before this start",
              Reports().back());
  }
}

// The limit on processes allows this user only one more thread.
[[noreturn]] void StartWithOneThread(Hooks::ProgramSettings settings) {
  constexpr rlimit kTwo = {2, 2};
  constexpr uid_t kUnusedUser = 2000000001;
  if (setrlimit(RLIMIT_NPROC, &kTwo) != 0) std::_Exit(1);
  if (geteuid() == 0 && setresuid(kUnusedUser, kUnusedUser, kUnusedUser) != 0) std::_Exit(2);
  settings.m_StateFile.clear();
  try {
    const Hooks::EventPrograms programs(std::move(settings));
  } catch (const std::system_error& error) {
    std::_Exit(error.code() == std::errc::resource_unavailable_try_again ? 0 : 3);
  }
  std::_Exit(4);
}

TEST_F(EventPrograms, ThrowIfAThreadCannotBeStarted) {
  EXPECT_EXIT(StartWithOneThread(m_Settings), testing::ExitedWithCode(0), "");
}

TEST(EnvironmentOf, HasOneVariablePerField) {
  const Hooks::Event event = {3,
                              {{"number", 3},
                               {"text", "a b\nc"},
                               {"event_id", 10972},
                               {"object", nullptr},
                               {"is_new", true},
                               {"list", {1, 2}},
                               {"nul", std::string("a\0b", 3)}}};
  EXPECT_THAT(
      Hooks::EnvironmentOf(event),
      ElementsAre(HasSubstr("PATH=/"), "LANG=C.UTF-8", "CORVANE_NUMBER=3", "CORVANE_TEXT=a b\nc",
                  "CORVANE_EVENT_ID=10972", "CORVANE_IS_NEW=true", "CORVANE_NUL=ab"));
}

}  // namespace
