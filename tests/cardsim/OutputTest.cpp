// Output of `cardsim`: control characters are escaped, and output that cannot be written is an
// error.
#include "tests/cardsim/ProgramFixture.h"

namespace {

class Output : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    File().AddCard(0x1003);
  }

  // Runs the program with its output redirected to `target`. Returns its error output and exit
  // code.
  std::string RunRedirected(const std::string& target, const std::string& arguments) {
    const std::string err = (m_Directory / "err").string();
    const int status =
        std::system((CARDSIM_PROGRAM " " + arguments + " 2>" + err + " >" + target).c_str());
    return Slurp(err) + "[" + std::to_string(WEXITSTATUS(status)) + "]";
  }
};

// A string of a card as JSON, and its printed form.
struct EscapedString {
  const char* name;
  const char* json;
  const char* shown;
};

const EscapedString kEscapedStrings[] = {
    {"Escape", R"("a\u001b[31mb")", "a\\x1b[31mb"},
    {"Bell", R"("a\u0007b")", "a\\x07b"},
    {"LineBreak", R"("a\nb")", "a\\x0ab"},
    {"CarriageReturn", R"("a\rb")", "a\\x0db"},
    {"Tab", R"("a\tb")", "a\\x09b"},
    {"LastOfC0", R"("a\u001fb")", "a\\x1fb"},
    {"Space", R"("a b")", "a b"},
    {"Tilde", R"("a~b")", "a~b"},
    {"Delete", R"("a\u007fb")", "a\\x7fb"},
    {"FirstOfC1", R"("a\u0080b")", "a\\u0080b"},
    {"ControlSequence", R"("a\u009b31mb")", "a\\u009b31mb"},
    {"LastOfC1", R"("a\u009fb")", "a\\u009fb"},
    {"AfterC1", R"("a\u00a0b")", "a\u00a0b"},
    {"ArabicLetterMark", R"("a\u061cb")", "a\\u061cb"},
    {"SoftHyphen", R"("a\u00adb")", "a\\u00adb"},
    {"BeforeTheMarks", R"("a\u200ab")", "a\u200ab"},
    {"ZeroWidthSpace", R"("a\u200bb")", "a\\u200bb"},
    {"ZeroWidthJoiner", R"("a\u200db")", "a\\u200db"},
    {"LeftToRightMark", R"("a\u200eb")", "a\\u200eb"},
    {"RightToLeftMark", R"("a\u200fb")", "a\\u200fb"},
    {"AfterTheMarks", R"("a\u2010b")", "a\u2010b"},
    {"BeforeTheSeparators", R"("a\u2027b")", "a\u2027b"},
    {"LineSeparator", R"("a\u2028b")", "a\\u2028b"},
    {"ParagraphSeparator", R"("a\u2029b")", "a\\u2029b"},
    {"FirstEmbedding", R"("a\u202ab")", "a\\u202ab"},
    {"RightToLeftOverride", R"("a\u202eb")", "a\\u202eb"},
    {"AfterTheOverrides", R"("a\u202fb")", "a\u202fb"},
    {"BeforeTheInvisibles", R"("a\u205fb")", "a\u205fb"},
    {"WordJoiner", R"("a\u2060b")", "a\\u2060b"},
    {"FirstIsolate", R"("a\u2066b")", "a\\u2066b"},
    {"LastIsolate", R"("a\u2069b")", "a\\u2069b"},
    {"LastInvisible", R"("a\u206fb")", "a\\u206fb"},
    {"AfterTheInvisibles", R"("a\u2070b")", "a\u2070b"},
    {"ByteOrderMark", R"("a\ufeffb")", "a\\ufeffb"},
    {"Tag", R"("a\udb40\udc41b")", "a\\U000e0041b"},
    {"MultiByteCharacters", R"("äß€😀")", "äß€😀"},
};

class EscapedStrings : public Output, public ::testing::WithParamInterface<EscapedString> {};

TEST_P(EscapedStrings, AreTheSameInGetShowListAndSet) {
  const std::string shown = GetParam().shown;
  File().Set("card0", "serial_number", GetParam().json);
  EXPECT_EQ(shown + "\n[0]", Run("get card0 serial_number"));
  EXPECT_NE(std::string::npos, Run("show card0").find(" " + shown + "\n"));
  EXPECT_NE(std::string::npos, Run("list").find(" " + shown + " "));
  EXPECT_EQ("card0: serial_number " + shown + " -> x\n[0]", Run("set card0 serial_number x"));
}

INSTANTIATE_TEST_SUITE_P(Table, EscapedStrings, ::testing::ValuesIn(kEscapedStrings),
                         [](const auto& row) { return std::string(row.param.name); });

// Arguments, quoted for bash with `$'...'`, and the output. Bytes that are not valid UTF-8 are
// escaped as bytes.
struct PrintedArguments {
  const char* name;
  const char* arguments;
  const char* output;
};

const PrintedArguments kPrintedArguments[] = {
    {"Card", "get $'c\\e[2J' pci_bus", "cardsim: no card named c\\x1b[2J\n[3]"},
    {"Attribute", "get card0 $'a\\nb'", "cardsim: unknown attribute a\\x0ab\n[3]"},
    {"Bit", "raise card0 $'\\u202e'", "cardsim: unknown status bit \\u202e\n[3]"},
    {"Kind", "add $'\\xff'", "cardsim: unknown kind of card \\xff\n[3]"},
    {"Truncated", "add $'\\xe2\\x82'", "cardsim: unknown kind of card \\xe2\\x82\n[3]"},
    {"Overlong", "add $'\\xc0\\x9b'", "cardsim: unknown kind of card \\xc0\\x9b\n[3]"},
    {"Surrogate", "add $'\\xed\\xa0\\x80'", "cardsim: unknown kind of card \\xed\\xa0\\x80\n[3]"},
    {"BeyondUnicode", "add $'\\xf4\\x90\\x80\\x80'",
     "cardsim: unknown kind of card \\xf4\\x90\\x80\\x80\n[3]"},
    {"LoneContinuation", "add $'\\x9b'", "cardsim: unknown kind of card \\x9b\n[3]"},
    {"Option", "list $'--x\\a'", "cardsim: unknown option --x\\x07\n[2]"},
    {"FailureText", "fail vsl_open --text $'a\\eb'", "vsl_open fails with 1: a\\x1bb\n[0]"},
    {"NoScenario", "play $'/no\\e/scenario'", "cardsim: /no\\x1b/scenario: cannot be opened\n[1]"},
    {"NoStateFile", "list --state $'/no\\e\\u009b/file'",
     "cardsim: /no\\x1b\\u009b/file: no such file; `cardsim new` creates one\n[1]"},
};

class EscapedArguments : public Output, public ::testing::WithParamInterface<PrintedArguments> {};

TEST_P(EscapedArguments, ArePrintedSafely) {
  const std::string script = (m_Directory / "script").string();
  std::ofstream(script) << CARDSIM_PROGRAM " " << GetParam().arguments << "\n";
  const std::string out = (m_Directory / "out").string();
  const int status = std::system(("LC_ALL=C.UTF-8 bash " + script + " >" + out + " 2>&1").c_str());
  EXPECT_EQ(GetParam().output, Slurp(out) + "[" + std::to_string(WEXITSTATUS(status)) + "]");
}

INSTANTIATE_TEST_SUITE_P(Table, EscapedArguments, ::testing::ValuesIn(kPrintedArguments),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Output, EscapesStringsInAScenario) {
  const auto scenario = m_Directory / "scenario.json";
  std::ofstream(scenario) << R"({"title": "a\u202eb", "steps": [
      {"do": "clear-failure", "what": "vsl_open", "say": "c\u009bd"}]})";
  EXPECT_EQ("a\\u202eb\n   0.0 s  c\\u009bd\n[0]", Run("play " + scenario.string()));
}

TEST_F(Output, EscapesTheFileNameInHelp) {
  setenv("CARDSIM_STATE", "/a\x1b[31m\nb", 1);
  const std::string help = Run("--help");
  EXPECT_NE(std::string::npos, help.find("/a\\x1b[31m\\x0ab"));
  EXPECT_EQ(std::string::npos, help.find('\x1b'));
}

// A command, and how its error message ends if the output cannot be written.
struct LostOutputCase {
  const char* name;
  const char* arguments;
  const char* suffix;
};

constexpr const char* kSaved = "; the change is saved";

const LostOutputCase kLostOutputs[] = {
    {"New", "new --force", kSaved},
    {"Add", "add 0x1003", kSaved},
    {"Remove", "remove card0", kSaved},
    {"List", "list", ""},
    {"Set", "set card0 pci_bus 7", kSaved},
    {"SetAbsent", "set card0 pci_bus absent", kSaved},
    {"Get", "get card0 pci_bus", ""},
    {"Show", "show card0", ""},
    {"Raise", "raise card0 FLASHBACK", kSaved},
    {"Clear", "clear card0 FLASHBACK", kSaved},
    {"Fail", "fail vsl_open", kSaved},
    {"Hang", "hang vsl_open card0", kSaved},
    {"ClearFailure", "clear-failure vsl_open", kSaved},
    {"Sysfs", "sysfs DIRECTORY/sys", ""},
    {"Play", "play DIRECTORY/scenario.json", ""},
    {"Help", "--help", ""},
    {"HelpOfACommand", "set --help", ""},
};

class LostOutput : public Output, public ::testing::WithParamInterface<LostOutputCase> {
 protected:
  std::string RunRedirected(const char* target) {
    std::ofstream(m_Directory / "scenario.json")
        << R"({"title": "a", "steps": [{"do": "clear-failure", "what": "vsl_open"}]})";
    std::string arguments = GetParam().arguments;
    const auto directory = arguments.find("DIRECTORY");
    if (directory != std::string::npos) arguments.replace(directory, 9, m_Directory.string());
    return Output::RunRedirected(target, arguments);
  }
};

TEST_P(LostOutput, ExitsWith1OnAFullDevice) {
  EXPECT_EQ("cardsim: cannot write standard output: No space left on device" +
                std::string(GetParam().suffix) + "\n[1]",
            RunRedirected("/dev/full"));
}

TEST_P(LostOutput, ExitsWith1OnAClosedStreamAndLeavesFilesIntact) {
  EXPECT_EQ("cardsim: cannot write standard output: Bad file descriptor" +
                std::string(GetParam().suffix) + "\n[1]",
            RunRedirected("&-"));
  EXPECT_EQ("no error", ErrorOf([this] { File().Cards(); }));
}

INSTANTIATE_TEST_SUITE_P(Table, LostOutput, ::testing::ValuesIn(kLostOutputs),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Output, EveryCommandHasARow) {
  std::set<std::string> rows;
  for (const LostOutputCase& row : kLostOutputs) {
    const std::string arguments = row.arguments;
    rows.insert(arguments.substr(0, arguments.find(' ')));
  }
  rows.erase("--help");
  EXPECT_EQ(Commands(), rows);
}

TEST_F(Output, ALongListOnAFullDeviceExitsWith1) {
  File().Set("card0", "serial_number", std::string(100000, 'x'));
  EXPECT_EQ("cardsim: cannot write standard output: No space left on device\n[1]",
            RunRedirected("/dev/full", "list"));
}

TEST_F(Output, LeavesTheFileIntactWithoutStandardStreams) {
  EXPECT_EQ("[1]", RunRedirected("&- <&- 2>&-", "raise card0 FLASHBACK"));
  EXPECT_EQ("256", File().Get("card0", "current_errors"));
}

}  // namespace
