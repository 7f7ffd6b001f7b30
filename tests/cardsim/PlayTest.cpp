#include <signal.h>

#include <thread>

#include "tests/cardsim/ProgramFixture.h"

namespace {

class Play : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    for (int i = 0; i < 3; ++i) File().AddCard(0x1003);
  }

  // Writes a scenario file with this text and returns its path.
  std::string WriteScenario(const std::string& text) {
    const std::string path = (m_Directory / "scenario.json").string();
    std::ofstream(path) << text;
    return path;
  }

  std::string WriteSteps(const std::string& steps) {
    return WriteScenario(R"({"title": "A scenario", "steps": [)" + steps + "]}");
  }

  // Starts `cardsim play` with the file, and redirects its output to files.
  pid_t Start(const std::string& scenario) {
    const pid_t child = fork();
    if (child != 0) return child;
    // A test that was started in the background may have inherited SIG_IGN for SIGINT.
    signal(SIGINT, SIG_DFL);
    const bool ready = freopen((m_Directory / "out").c_str(), "w", stdout) != nullptr &&
                       freopen((m_Directory / "err").c_str(), "w", stderr) != nullptr;
    if (ready) execl(CARDSIM_PROGRAM, "cardsim", "play", scenario.c_str(), nullptr);
    _exit(99);
  }

  // Waits until the started program has printed `line`.
  void WaitFor(const std::string& line) {
    for (int i = 0; i < 15000 && Slurp(m_Directory / "out").find(line) == std::string::npos; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  // Waits until the program has exited. Returns its output, errors and exit code.
  std::string AwaitExit(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return Slurp(m_Directory / "out") + Slurp(m_Directory / "err") + "[" +
           std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) + "]";
  }
};

TEST_F(Play, PrintsEachStepWithItsTime) {
  const std::string scenario = WriteSteps(
      R"({"after_ms": 1500, "do": "raise", "card": "card1", "what": "FLASHBACK"},
         {"after_ms": 9000, "do": "remove", "card": "card2", "say": "card2 is pulled out"})");
  EXPECT_EQ(
      "A scenario\n"
      "   1.5 s  card1: raised FLASHBACK\n"
      "  10.5 s  card2 is pulled out\n[0]",
      Run("play --speed 1000 " + scenario));
  EXPECT_EQ("card0\ncard1", Joined(File().Cards()));
  EXPECT_EQ("256", File().Get("card1", "current_errors"));
}

TEST_F(Play, WaitsForTheTimesInTheScenario) {
  const std::string scenario =
      WriteSteps(R"({"after_ms": 600000, "do": "clear-failure", "what": "vsl_open"})");
  const auto begin = std::chrono::steady_clock::now();
  Run("play --speed 2000 " + scenario);
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(took, std::chrono::milliseconds(300));
  EXPECT_LT(took, std::chrono::minutes(8));
}

TEST_F(Play, UsesTheGivenStateFile) {
  const std::string other = (m_Directory / "other.json").string();
  CardSim::StateFile(other).Create();
  const std::string scenario = WriteSteps(R"({"do": "add", "what": "1000"})");
  EXPECT_EQ("A scenario\n   0.0 s  added card0, 1000\n[0]",
            Run("play --state " + other + " " + scenario));
  EXPECT_EQ("card0\ncard1\ncard2", Joined(File().Cards()));
}

TEST_F(Play, AnInvalidScenarioChangesNothing) {
  const std::string before = Slurp();
  const std::string scenario =
      WriteSteps(R"({"do": "remove", "card": "card0"}, {"do": "explode", "card": "card1"})");
  EXPECT_EQ("cardsim: " + scenario + ": step 2.do: unknown verb explode\n[1]",
            Run("play " + scenario));
  EXPECT_EQ(before, Slurp());
}

TEST_F(Play, ReportsAnInvalidScenarioInOneLine) {
  EXPECT_EQ("cardsim: " + (m_Directory / "none").string() + ": cannot be opened\n[1]",
            Run("play " + (m_Directory / "none").string()));
  EXPECT_EQ("cardsim: " + m_Directory.string() + ": cannot be read\n[1]",
            Run("play " + m_Directory.string()));
  EXPECT_EQ("cardsim: /dev/zero: is too large for a scenario\n[1]", Run("play /dev/zero"));
  const std::string scenario = WriteSteps(R"({"do": "a\nb"})");
  EXPECT_EQ(
      "cardsim: " + scenario + ": step 1.do: must be one line without control characters\n[1]",
      Run("play " + scenario));
  WriteScenario(R"({"a\nb": 1})");
  EXPECT_EQ("cardsim: " + scenario + ": file.a\\x0ab: unknown\n[1]", Run("play " + scenario));
}

TEST_F(Play, AFailedStepEndsTheScenario) {
  const std::string scenario = WriteSteps(R"({"do": "remove", "card": "card1"},
                      {"do": "clear", "card": "card1", "what": "FLASHBACK", "say": "all clear"})");
  EXPECT_EQ(
      "A scenario\n   0.0 s  removed card1\n"
      "cardsim: step 2 of 2 (all clear): no card named card1; did you mean card0?\n[1]",
      Run("play " + scenario));
}

TEST_F(Play, RejectsASpeedOutOfRange) {
  const std::string scenario = WriteSteps(R"({"do": "clear-failure", "what": "vsl_open"})");
  for (const char* speed : {"0", "-1", "nan", "inf", "0.09", "1000001"}) {
    EXPECT_EQ("cardsim: --speed is out of range (0.1 to 1000000)\n[2]",
              Run("play --speed=" + std::string(speed) + " " + scenario));
  }
}

const char* const kLongScenario =
    R"({"do": "raise", "card": "card1", "what": "FLASHBACK"},
       {"after_ms": 80000000, "do": "remove", "card": "card1"})";

TEST_F(Play, CtrlCStopsItBetweenTwoSteps) {
  const pid_t child = Start(WriteSteps(kLongScenario));
  WaitFor("raised FLASHBACK\n");
  kill(child, SIGINT);
  EXPECT_EQ(
      "A scenario\n   0.0 s  card1: raised FLASHBACK\n"
      "cardsim: stopped before step 2 of 2\n[130]",
      AwaitExit(child));
  EXPECT_EQ("256", File().Get("card1", "current_errors"));
}

TEST_F(Play, SigtermStopsItBetweenTwoSteps) {
  const pid_t child = Start(WriteSteps(kLongScenario));
  WaitFor("raised FLASHBACK\n");
  kill(child, SIGTERM);
  EXPECT_EQ(
      "A scenario\n   0.0 s  card1: raised FLASHBACK\n"
      "cardsim: stopped before step 2 of 2\n[143]",
      AwaitExit(child));
}

struct Example {
  const char* name;
  const char* file;
  const char* lastLine;
  const char* errorsWarningsState;  // of card1 after the scenario
};

const Example kExamples[] = {
    {"HotCard", "hot-card.json", "  44.0 s  51.7 degrees, the normal temperature\n[0]", "0 0 2"},
    {"CardGoesAndReturns", "card-goes-and-returns.json",
     "  17.0 s  it has cooled down: 44.2 degrees\n[0]", "0 0 2"},
    {"Flicker", "flicker.json",
     "  34.0 s  53.4 degrees: the temperature of a card in use varies\n[0]", "0 0 2"},
    {"DetachAttach", "detach-attach.json", "  24.0 s  card1 is attached\n[0]", "0 0 2"},
};

class Examples : public Play, public ::testing::WithParamInterface<Example> {};

TEST_P(Examples, PlayToTheEndAndLeaveAHealthyCard) {
  const std::string output =
      Run("play --speed 1000 " CARDSIM_EXAMPLES "/" + std::string(GetParam().file));
  const std::string last = GetParam().lastLine;
  ASSERT_GT(output.size(), last.size());
  EXPECT_EQ(last, output.substr(output.size() - last.size()));
  EXPECT_EQ(GetParam().errorsWarningsState, File().Get("card1", "current_errors") + " " +
                                                File().Get("card1", "current_warnings") + " " +
                                                File().Get("card1", "iom_state"));
}

INSTANTIATE_TEST_SUITE_P(Table, Examples, ::testing::ValuesIn(kExamples),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Play, EveryExampleIsInTheTable) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(CARDSIM_EXAMPLES)) {
    if (entry.path().extension() == ".json") ++count;
  }
  EXPECT_EQ(std::size(kExamples), count);
}

TEST_F(Play, TheReturningCardKeepsItsSerialNumber) {
  Run("play --speed 1000 " CARDSIM_EXAMPLES "/card-goes-and-returns.json");
  EXPECT_EQ("\"FA00000002\" \"/dev/fct1\"",
            File().Get("card1", "serial_number") + " " + File().Get("card1", "device_path"));
}

}  // namespace
