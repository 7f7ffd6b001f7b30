#include <sys/stat.h>

#include "tests/cardsim/Fixture.h"
#include "tests/host/HostNumbers.h"

namespace {

using StateFiles = SimulatedCards;

TEST_F(StateFiles, HaveADefaultPathFromTheEnvironment) {
  EXPECT_EQ(Path(), CardSim::StateFile::DefaultPath());
  unsetenv("CARDSIM_STATE");
  setenv("XDG_STATE_HOME", "/xdg", 1);
  EXPECT_EQ("/xdg/corvane/cards.json", CardSim::StateFile::DefaultPath());
  unsetenv("XDG_STATE_HOME");
  const std::string home = getenv("HOME") == nullptr ? "" : getenv("HOME");
  setenv("HOME", "/home/someone", 1);
  EXPECT_EQ("/home/someone/.local/state/corvane/cards.json", CardSim::StateFile::DefaultPath());
  setenv("XDG_STATE_HOME", "relative", 1);
  EXPECT_EQ("/home/someone/.local/state/corvane/cards.json", CardSim::StateFile::DefaultPath());
  unsetenv("XDG_STATE_HOME");
  unsetenv("HOME");
  EXPECT_TRUE(CardSim::StateFile::DefaultPath().is_absolute());
  setenv("HOME", home.c_str(), 1);
}

TEST_F(StateFiles, AreCreatedWithTheirDirectories) {
  const auto path = m_Directory / "a" / "b" / "cards.json";
  CardSim::StateFile(path).Create();
  EXPECT_EQ("", Joined(CardSim::StateFile(path).Cards()));
}

TEST_F(StateFiles, AreReplacedOnlyIfRequested) {
  File().AddCard(0x1003);
  EXPECT_EQ(Path().string() + ": already exists; `cardsim new --force` replaces it",
            ErrorOf([this] { File().Create(); }));
  EXPECT_EQ("card0", Joined(File().Cards()));
  File().Create(true);
  EXPECT_EQ("", Joined(File().Cards()));
}

TEST_F(StateFiles, KeepTheirPermissions) {
  chmod(Path().c_str(), 0640);
  File().AddCard(0x1003);
  struct stat status = {};
  ASSERT_EQ(0, stat(Path().c_str(), &status));
  EXPECT_EQ(0640U, status.st_mode & 0777);
}

TEST_F(StateFiles, AcceptUnquotedStringsAndHexadecimalNumbers) {
  File().AddCard(0x1003);
  File().Set("card0", "serial_number", "12345");
  EXPECT_EQ("\"12345\"", File().Get("card0", "serial_number"));
  File().Set("card0", "serial_number", "\"a b\"");
  EXPECT_EQ("\"a b\"", File().Get("card0", "serial_number"));
  File().Set("card0", "current_errors", "0xff");
  EXPECT_EQ("255", File().Get("card0", "current_errors"));
  File().Set("card0", "temp_internal_deg_c", "36.6");
  EXPECT_EQ("36.6", File().Get("card0", "temp_internal_deg_c"));
}

TEST_F(StateFiles, RejectStringsThatAreNotUtf8) {
  File().AddCard(0x1003);
  EXPECT_EQ("a string is not valid UTF-8 and cannot be saved",
            ErrorOf([this] { File().Set("card0", "serial_number", "\xff\xfe"); }));
}

TEST_F(StateFiles, RejectTwoCardsWithTheSamePath) {
  File().AddCard(0x1003);
  File().AddCard(0x1003);
  const std::string before = Slurp();
  EXPECT_EQ("cards[1].device_path: /dev/fct0 is used by another card",
            ErrorOf([this] { File().Set("card1", "device_path", "/dev/fct0"); }));
  EXPECT_EQ(before, Slurp());
}

struct UnknownNameCase {
  const char* name;
  void (*act)(CardSim::StateFile file);
  const char* text;
};

const UnknownNameCase kUnknownNames[] = {
    {"Card", [](CardSim::StateFile f) { f.Set("card9", "pci_bus", "1"); },
     "no card named card9; did you mean card0?"},
    {"RemovedCard", [](CardSim::StateFile f) { f.RemoveCard("nothing"); }, "no card named nothing"},
    {"SetAttribute", [](CardSim::StateFile f) { f.Set("card0", "pci_buss", "1"); },
     "unknown attribute pci_buss; did you mean pci_bus?"},
    {"GetAttribute", [](CardSim::StateFile f) { f.Get("card0", "serial"); },
     "unknown attribute serial; did you mean serial_number?"},
    {"AbsentAttribute", [](CardSim::StateFile f) { f.MakeAbsent("card0", "xyz"); },
     "unknown attribute xyz"},
    {"Bit", [](CardSim::StateFile f) { f.Raise("card0", "warnings.FLASHBACK"); },
     "unknown status bit warnings.FLASHBACK; did you mean errors.FLASHBACK?"},
    {"Function", [](CardSim::StateFile f) { f.Fail("vsl_opened", 1, ""); },
     "unknown function vsl_opened; did you mean vsl_open?"},
    {"ClearedFunction", [](CardSim::StateFile f) { f.ClearFailure("open"); },
     "unknown function open"},
};

class UnknownNames : public SimulatedCards,
                     public ::testing::WithParamInterface<UnknownNameCase> {};

TEST_P(UnknownNames, AreReportedAndChangeNothing) {
  File().AddCard(0x1003);
  const std::string before = Slurp();
  try {
    GetParam().act(File());
    FAIL() << "accepted";
  } catch (const CardSim::UnknownName& error) {
    EXPECT_STREQ(GetParam().text, error.what());
  }
  EXPECT_EQ(before, Slurp());
}

INSTANTIATE_TEST_SUITE_P(Table, UnknownNames, ::testing::ValuesIn(kUnknownNames),
                         [](const auto& row) { return std::string(row.param.name); });

struct Bit {
  const char* name;
  const char* attribute;
  const char* value;
};

const Bit kBits[] = {
    {"INTERNAL_ERROR", "current_errors", "1"},
    {"NONCORRECTABLE_PCI_ERRORS", "current_errors", "512"},
    {"errors.FLASHBACK", "current_errors", "256"},
    {"TEMPERATURE_ABOVE_WARN", "current_warnings", "1"},
    {"RESERVES_DEPLETED", "current_warnings", "4096"},
    {"POWER_WRITE_REGULATION", "current_warnings", "32"},
    {"info.POWER_WRITE_REGULATION", "current_info", "1"},
    {"UNACTIVATED_FIRMWARE", "current_info", "2"},
    {"minimal.FORCED", "minimal_mode_reason", "8"},
    {"GENERAL_CHANNEL_INIT_FAIL", "minimal_mode_reason", "8192"},
};

class StatusBits : public SimulatedCards, public ::testing::WithParamInterface<Bit> {};

TEST_P(StatusBits, AreRaisedAndClearedByName) {
  File().AddCard(0x1003);
  File().Raise("card0", GetParam().name);
  File().Raise("card0", GetParam().name);
  EXPECT_EQ(GetParam().value, File().Get("card0", GetParam().attribute));
  File().Clear("card0", GetParam().name);
  EXPECT_EQ("0", File().Get("card0", GetParam().attribute));
}

INSTANTIATE_TEST_SUITE_P(Table, StatusBits, ::testing::ValuesIn(kBits), [](const auto& row) {
  std::string name = row.param.name;
  for (char& character : name) character = character == '.' ? '_' : character;
  return name;
});

// Each status bit of the host has the same name and number in the simulator, and is raised alone.
TEST_F(StateFiles, EachStatusBitOfTheHostIsRaisedByItsName) {
  File().AddCard(0x1003);
  const auto expectRaised = [this](const std::string& mask, int bit, const std::string& name) {
    const std::string attribute = mask == "minimal" ? "minimal_mode_reason" : "current_" + mask;
    File().Set("card0", attribute, "0");
    File().Raise("card0", mask + "." + name);
    EXPECT_EQ(std::to_string(1 << bit), File().Get("card0", attribute)) << name;
  };
#define EXPECT_RAISED(mask, bit, reason, event, status) expectRaised(#mask, bit, #reason);
  HOST_STATUS_BITS(EXPECT_RAISED)
#undef EXPECT_RAISED
  const char* const minimal[] = {"FIRMWARE_OUT_OF_DATE",
                                 "INSUFFICIENT_POWER",
                                 "DUAL_PLANE_FAIL",
                                 "FORCED",
                                 "INTERNAL",
                                 "CARD_LIMIT_EXCEEDED",
                                 "UNSUPPORTED_OS",
                                 "INSUFFICIENT_MEMORY",
                                 "SMP_BOOTLOADER_MODE",
                                 "MISSING_MIDPROM",
                                 "UNSUPPORTED_NAND",
                                 "DRIVER_OUT_OF_DATE",
                                 "HARDWARE_FAILURE",
                                 "GENERAL_CHANNEL_INIT_FAIL"};
  int bit = 0;
  for (const char* const name : minimal) expectRaised("minimal", bit++, name);
}

TEST_F(StateFiles, RaisingAddsAnAbsentMask) {
  File().AddCard(0x1003);
  File().MakeAbsent("card0", "current_info");
  File().Clear("card0", "UNACTIVATED_FIRMWARE");
  EXPECT_EQ("absent", File().Get("card0", "current_info"));
  File().Raise("card0", "UNACTIVATED_FIRMWARE");
  EXPECT_EQ("2", File().Get("card0", "current_info"));
}

// An invalid file, and the message that reports it.
struct InvalidFile {
  const char* name;
  const char* text;
  const char* message;
};

const InvalidFile kInvalidFiles[] = {
    {"Empty", "", "line 1, column 1: invalid JSON"},
    {"Truncated", "{\"cardsim\": 1,\n \"cards\": [", "line 2, column 12: invalid JSON"},
    {"List", "[]", "file: must be an object"},
    {"HugeNumber", "{\"cardsim\": 1e999}", "contains a number that is out of range"},
    {"NoVersion", "{\"next_id\": 1, \"cards\": []}", "file: has no \"cardsim\""},
    {"OtherVersion", "{\"cardsim\": 2, \"next_id\": 1, \"cards\": []}",
     "cardsim: must be 1, the version of the file"},
    {"UnknownMember", "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [], \"card\": 1}",
     "file.card: unknown; did you mean cards?"},
    {"CardsNotArray", "{\"cardsim\": 1, \"next_id\": 1, \"cards\": {}}", "cards: must be an array"},
    {"CardNotAnObject", "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [3]}",
     "cards[0]: must be an object"},
    {"CardWithoutName", "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"id\": 0}]}",
     "cards[0]: has no \"name\""},
    {"WrongType",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, "
     "\"serial_number\": 5}]}",
     "cards[0].serial_number: must be a string"},
    {"TooLarge",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, \"pci_bus\": "
     "300}]}",
     "cards[0].pci_bus: must be a whole number from 0 to 255"},
    {"Negative",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, \"pci_bus\": -1}]}",
     "cards[0].pci_bus: must be a whole number from 0 to 255"},
    {"UnknownAttribute",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, \"pci_buz\": 1}]}",
     "cards[0].pci_buz: unknown attribute; did you mean pci_bus?"},
    {"SamePath",
     "{\"cardsim\": 1, \"next_id\": 9, \"cards\": ["
     "{\"name\": \"a\", \"id\": 0, \"device_path\": \"/dev/x\"},"
     "{\"name\": \"b\", \"id\": 1, \"device_path\": \"/dev/x\"}]}",
     "cards[1].device_path: /dev/x is used by another card"},
    {"SameName",
     "{\"cardsim\": 1, \"next_id\": 9, \"cards\": [{\"name\": \"a\", \"id\": 0},"
     "{\"name\": \"a\", \"id\": 1}]}",
     "cards[1].name: used by another card"},
    {"SameId",
     "{\"cardsim\": 1, \"next_id\": 9, \"cards\": [{\"name\": \"a\", \"id\": 0},"
     "{\"name\": \"b\", \"id\": 0}]}",
     "cards[1].id: used by another card"},
    {"IdTooLarge", "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 1}]}",
     "cards[0].id: must be below next_id"},
    {"BadVolume",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, "
     "\"volumes\": [{\"state\": 2}]}]}",
     "cards[0].volumes[0].state: must be a whole number from 0 to 1"},
    {"BadJob",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, \"job\": {}}]}",
     "cards[0].job: has no \"kind\""},
    {"UnknownFunction",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [], \"failures\": {\"open\": {}}}",
     "failures.open: unknown function open"},
    {"FailureWithCodeZero",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [], \"failures\": "
     "{\"vsl_open\": {\"code\": 0, \"text\": \"\"}}}",
     "failures.vsl_open.code: must not be 0, which means success"},
    {"FailureOfACardWithCodeZero",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, \"failures\": "
     "{\"vsl_open\": {\"code\": 0, \"text\": \"\"}}}]}",
     "cards[0].failures.vsl_open.code: must not be 0, which means success"},
    {"HangOfAllCards",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, \"hangs\": "
     "{\"vsl_init\": {\"for_ms\": 0}}}]}",
     "cards[0].hangs.vsl_init: vsl_init does not act on a single card"},
    {"LongHang",
     "{\"cardsim\": 1, \"next_id\": 1, \"cards\": [{\"name\": \"a\", \"id\": 0, \"hangs\": "
     "{\"vsl_open\": {\"for_ms\": 86400001}}}]}",
     "cards[0].hangs.vsl_open.for_ms: must be a whole number from 0 to 86400000"},
};

class InvalidFiles : public SimulatedCards, public ::testing::WithParamInterface<InvalidFile> {};

TEST_P(InvalidFiles, AreReportedAndNotChanged) {
  OverwriteFile(GetParam().text);
  const std::string expected = Path().string() + ": " + GetParam().message;
  EXPECT_EQ(expected, ErrorOf([this] { File().AddCard(0x1003); }));
  EXPECT_EQ(expected, ErrorOf([this] { File().Cards(); }));
  EXPECT_NE(0U, vsl_init(0, &m_Error));
  EXPECT_EQ(expected, m_Error.text);
  EXPECT_EQ(GetParam().text, Slurp());
}

INSTANTIATE_TEST_SUITE_P(Table, InvalidFiles, ::testing::ValuesIn(kInvalidFiles),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(StateFiles, AreNotCreatedByAccess) {
  std::filesystem::remove(Path());
  std::filesystem::remove(Path().string() + ".lock");
  const std::string expected = Path().string() + ": no such file; `cardsim new` creates one";
  EXPECT_EQ(expected, ErrorOf([this] { File().AddCard(0x1003); }));
  EXPECT_NE(0U, vsl_init(0, &m_Error));
  EXPECT_EQ(expected, m_Error.text);
  EXPECT_TRUE(std::filesystem::is_empty(m_Directory));
}

TEST_F(StateFiles, AreRejectedIfTheyAreNotRegularFiles) {
  std::filesystem::remove(Path());
  std::filesystem::create_directory(Path());
  EXPECT_EQ(Path().string() + ": not a regular file", ErrorOf([this] { File().Cards(); }));
  std::filesystem::remove(Path());
  ASSERT_EQ(0, mkfifo(Path().c_str(), 0600));
  EXPECT_EQ(Path().string() + ": not a regular file", ErrorOf([this] { File().Cards(); }));
  EXPECT_EQ(Path().string() + ": not a regular file", ErrorOf([this] { File().Create(true); }));
}

}  // namespace
