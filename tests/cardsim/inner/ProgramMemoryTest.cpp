// Runs every command of `cardsim` repeatedly, each time with another allocation failing.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <cstdio>

#include "tests/cardsim/ProgramFixture.h"
#include "tests/support/MemoryShortage.h"

// The program's `main`.
int CardsimMain(int argc, char** argv);

namespace {

using CorvaneTest::Shortage;

constexpr int kNoShortage = -1;

struct CommandRow {
  const char* name;
  std::vector<std::string> arguments;
  // Whether the command changes the state file.
  bool changes;
};

// DIRECTORY is replaced by the test's directory.
const CommandRow kCommandRows[] = {
    {"NewReplacesFile", {"new", "--force"}, true},
    {"Add", {"add", "0x1003"}, true},
    {"Remove", {"remove", "card1"}, true},
    {"List", {"list"}, false},
    {"SetText", {"set", "card0", "serial_number", "a very long serial number"}, true},
    {"SetNumber", {"set", "card0", "temp_internal_deg_c", "81.5"}, true},
    {"SetVolumes", {"set", "card0", "volumes", "[{\"state\": 0}, {\"state\": 1}]"}, true},
    {"SetAbsent", {"set", "card0", "beacon_state", "absent"}, true},
    {"Show", {"show", "card0"}, false},
    {"Get", {"get", "card0", "driver_version"}, false},
    {"Raise", {"raise", "card0", "TEMPERATURE_ABOVE_WARN"}, true},
    {"Clear", {"clear", "card1", "errors.FLASHBACK"}, true},
    {"Fail", {"fail", "vsl_open", "--code", "12", "--text", "a very long failure text"}, true},
    {"Hang", {"hang", "vsl_open", "card0", "--ms", "1"}, true},
    {"ClearFailure", {"clear-failure", "vsl_close"}, true},
    {"Sysfs", {"sysfs", "DIRECTORY/sys"}, false},
    {"Play", {"play", "DIRECTORY/scenario.json", "--speed", "1000000"}, true},
};

struct Outcome {
  int code;
  std::string out;
  std::string err;
  bool hadShortage;
};

// noexcept, so that an exception that escapes `main` terminates the process.
int RunMain(int argc, char** argv) noexcept {
  return CardsimMain(argc, argv);
}

class ProgramMemory : public SimulatedCards, public ::testing::WithParamInterface<CommandRow> {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    // Cards with few attributes keep the number of allocations to test small.
    m_Before = R"({"cardsim": 1, "next_id": 3, "cards": [
        {"name": "card0", "id": 1, "serial_number": "FA1", "pci_bus": 3, "iom_state": 2,
         "driver_version": "3.4.9 with a long suffix", "temp_internal_deg_c": 51.7,
         "beacon_state": false, "current_warnings": 0},
        {"name": "card1", "id": 2, "current_errors": 256, "pci_bus": 4}],
        "failures": {"vsl_close": {"code": 5, "text": "fails for a while"}}})";
    OverwriteFile(m_Before);
    std::ofstream(m_Directory / "scenario.json")
        << R"({"title": "A scenario with a long title", "steps": [
        {"do": "raise", "card": "card0", "what": "FLASHBACK", "say": "a very long message text"},
        {"after_ms": 1, "do": "set", "card": "card1", "what": "board_name", "to": "another board"},
        {"do": "fail", "what": "vsl_open"}]})";
    void* shared =
        mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, shared);
    m_HadShortage = static_cast<bool*>(shared);
  }

  void TearDown() override {
    munmap(m_HadShortage, sizeof(bool));
    SimulatedCards::TearDown();
  }

  Outcome Run(int successes, Shortage kind) {
    std::vector<std::string> arguments = {"cardsim"};
    for (std::string argument : GetParam().arguments) {
      if (argument.rfind("DIRECTORY", 0) == 0) argument.replace(0, 9, m_Directory.string());
      arguments.push_back(argument);
    }
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const std::string out = (m_Directory / "out").string();
    const std::string err = (m_Directory / "err").string();
    *m_HadShortage = false;
    const pid_t child = fork();
    if (child == 0) {
      const bool ready = freopen(out.c_str(), "w", stdout) != nullptr &&
                         freopen(err.c_str(), "w", stderr) != nullptr;
      if (!ready) _exit(99);
      if (successes != kNoShortage) CorvaneTest::BeginShortage(successes, kind);
      const int code = RunMain(static_cast<int>(arguments.size()), argv.data());
      *m_HadShortage = CorvaneTest::EndShortage();
      fflush(nullptr);
      _exit(code);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), Slurp(out), Slurp(err),
            *m_HadShortage};
  }

  void Restore() {
    OverwriteFile(m_Before);
    std::filesystem::remove_all(m_Directory / "sys");
  }

  void Sweep(Shortage kind) {
    Restore();
    const Outcome expected = Run(kNoShortage, kind);
    ASSERT_EQ("[0]", expected.err + "[" + std::to_string(expected.code) + "]");
    const std::string after = Slurp();
    EXPECT_EQ(GetParam().changes, after != m_Before);
    int failures = 0;
    // Tries a single failure at each allocation, but a lasting shortage only at every fifth.
    for (;; failures += kind == Shortage::OneFails ? 1 : 5) {
      Restore();
      const Outcome outcome = Run(failures, kind);
      if (!outcome.hadShortage && outcome.code == 0) break;
      // Some allocations are optional.
      if (outcome.code == 0) {
        ASSERT_EQ(expected.out, outcome.out + outcome.err) << failures;
        ASSERT_EQ(after, Slurp()) << failures;
        continue;
      }
      ASSERT_EQ(1, outcome.code) << "allocation " << failures << ": " << outcome.err;
      const bool isSaved = outcome.err == "cardsim: out of memory; the change is saved\n";
      ASSERT_TRUE(isSaved || outcome.err == "cardsim: out of memory\n") << outcome.err << failures;
      // A scenario may stop between two changes. The change of any other command is atomic.
      const bool isScenario = GetParam().arguments[0] == "play";
      ASSERT_TRUE(isScenario || Slurp() == (isSaved ? after : m_Before)) << failures;
      ASSERT_FALSE(std::filesystem::exists(Path().string() + ".new")) << failures;
      ASSERT_EQ("no error", ErrorOf([this] { File().Cards(); })) << failures;
      // Repeating the command is slow, so it is tested only after some failures.
      if (isSaved || failures % 20 != 0) continue;
      const Outcome again = Run(kNoShortage, kind);
      ASSERT_EQ(expected.out + "[0]",
                again.out + again.err + "[" + std::to_string(again.code) + "]");
      ASSERT_EQ(after, Slurp()) << failures;
    }
    EXPECT_GT(failures, 20);
  }

  std::string m_Before;
  bool* m_HadShortage = nullptr;
};

TEST_P(ProgramMemory, FailsCleanlyWhenOneAllocationFails) {
  Sweep(Shortage::OneFails);
}

TEST_P(ProgramMemory, FailsCleanlyWhenNoMemoryIsLeft) {
  Sweep(Shortage::AllFail);
}

TEST_F(Program, EveryCommandHasAMemoryRow) {
  std::set<std::string> rows;
  for (const CommandRow& row : kCommandRows) rows.insert(row.arguments.front());
  EXPECT_EQ(Commands(), rows);
}

INSTANTIATE_TEST_SUITE_P(Table, ProgramMemory, ::testing::ValuesIn(kCommandRows),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
