#include "tests/cardsim/ProgramFixture.h"

namespace {

TEST_F(Program, AddsRemovesAndListsCards) {
  EXPECT_EQ("created " + Path().string() + " without cards\n[0]", Run("new --force"));
  EXPECT_EQ("added card0: Flash Adapter 785GB, /dev/fct0\n[0]", Run("add 0x1003"));
  EXPECT_EQ(
      "added card1: Flash Adapter 5.2TB, /dev/fct1\n"
      "added card2: Flash Adapter 5.2TB, /dev/fct2\n[0]",
      Run("add flash-5200g --count 2"));
  EXPECT_EQ("removed card1\n[0]", Run("remove card1"));
  EXPECT_EQ("card2: iom_state 2 -> 5\n[0]", Run("set card2 iom_state 5"));
  EXPECT_EQ(
      "CARD     DEVICE       PCI          ID     SERIAL       STATE\n"
      "card0    /dev/fct0    0000:03:00.0 0x1003 FA00000001   attached\n"
      "card2    /dev/fct2    0000:05:00.0 0x3002 FA00000003   minimal\n[0]",
      Run("list"));
}

TEST_F(Program, ShowsAndChangesAttributes) {
  Run("add 1003");
  EXPECT_EQ("card0: serial_number FA00000001 -> my card\n[0]",
            Run("set card0 serial_number 'my card'"));
  EXPECT_EQ("my card\n[0]", Run("get card0 serial_number"));
  EXPECT_EQ("card0: temp_internal_deg_c 51.7 -> -5.5\n[0]",
            Run("set card0 temp_internal_deg_c -5.5"));
  EXPECT_EQ("card0: beacon_state false -> absent\n[0]", Run("set card0 beacon_state absent"));
  EXPECT_EQ("absent\n[0]", Run("get card0 beacon_state"));
}

// The width of the first column is that of the longest name.
TEST_F(Program, ShowsAllAttributesOfACard) {
  Run("add 1003");
  Run("set card0 beacon_state absent");
  Run("set card0 serial_number 'my card'");
  const std::string shown = Run("show card0");
  for (const char* line :
       {"\nserial_number                       my card\n",
        "\ntemp_internal_deg_c                 51.7\n",
        "\nbeacon_state                        absent\n",
        "\niom_format_power_of_two_sector_size true\n",
        "\nformat_ms                           20000\n",
        "\nvolumes                             [{\"state\":1,\"settable\":true}]\n[0]"}) {
    EXPECT_NE(std::string::npos, shown.find(line)) << line << shown;
  }
  EXPECT_EQ(0U, shown.find("device_path                         /dev/fct0\n")) << shown;
}

TEST_F(Program, RaisesAndClearsBits) {
  Run("add 1003");
  EXPECT_EQ("card0: raised FLASHBACK\n[0]", Run("raise card0 FLASHBACK"));
  EXPECT_EQ("256\n[0]", Run("get card0 current_errors"));
  EXPECT_EQ("card0: cleared errors.FLASHBACK\n[0]", Run("clear card0 errors.FLASHBACK"));
  EXPECT_EQ("0\n[0]", Run("get card0 current_errors"));
}

TEST_F(Program, MakesFunctionsFailInAnotherProcess) {
  StartWithCard();
  EXPECT_EQ("vsl_open fails with 12: no luck\n[0]",
            Run("fail vsl_open --code 12 --text 'no luck'"));
  EXPECT_EQ(12U, vsl_open(CreateCard(), &m_Error));
  EXPECT_STREQ("no luck", m_Error.text);
  EXPECT_EQ("vsl_open works again\n[0]", Run("clear-failure vsl_open"));
  EXPECT_EQ(0U, vsl_open(CreateCard(), &m_Error));
}

TEST_F(Program, MakesFunctionsFailOrHangForOneCard) {
  File().AddCard(0x1003);
  StartWithCard();
  EXPECT_EQ("card1: vsl_open fails with 12: no luck\n[0]",
            Run("fail vsl_open card1 --code 12 --text 'no luck'"));
  EXPECT_EQ(0U, vsl_open(CreateCard("/dev/fct0"), &m_Error));
  EXPECT_EQ(12U, vsl_open(CreateCard("/dev/fct1"), &m_Error));
  EXPECT_EQ("card1: vsl_open works again\n[0]", Run("clear-failure vsl_open card1"));
  EXPECT_EQ(0U, vsl_open(CreateCard("/dev/fct1"), &m_Error));
  EXPECT_EQ("card1: vsl_close hangs for 20 ms\n[0]", Run("hang vsl_close card1 --ms 20"));
  EXPECT_EQ("card1: vsl_open hangs\n[0]", Run("hang vsl_open card1"));
  const std::string hang = "\"vsl_close\": {\n          \"for_ms\": 20\n        }";
  EXPECT_NE(std::string::npos, Slurp().find(hang)) << Slurp();
}

TEST_F(Program, WritesASysfsTree) {
  Run("add 1003");
  const std::string tree = (m_Directory / "sys").string();
  EXPECT_EQ("wrote 1 PCI device to " + tree + "\n[0]", Run("sysfs " + tree));
  EXPECT_EQ("0x1003\n", Slurp(tree + "/bus/pci/devices/0000:03:00.0/device"));
}

TEST_F(Program, UsesTheGivenStateFile) {
  const std::string other = (m_Directory / "other.json").string();
  EXPECT_EQ("created " + other + " without cards\n[0]", Run("--state " + other + " new"));
  EXPECT_EQ("added card0: Flash Adapter 365GB, /dev/fct0\n[0]", Run("add 1000 --state " + other));
  EXPECT_EQ("", Joined(File().Cards()));
}

struct RejectedCommand {
  const char* name;
  const char* arguments;
  const char* output;
};

const RejectedCommand kRejectedCommands[] = {
    {"NoCommand", "", "cardsim: missing command; see cardsim --help\n[2]"},
    {"MissingArgument", "remove", "cardsim: CARD is required\n[2]"},
    {"BadOption", "list --wrong", "cardsim: unknown option --wrong\n[2]"},
    {"UnknownCommand", "lits", "cardsim: unknown command lits; did you mean list?\n[2]"},
    {"FormerCommand", "heal vsl_open",
     "cardsim: unknown command heal; did you mean clear-failure?\n[2]"},
    {"ExtraArgument", "list card0", "cardsim: unexpected argument card0\n[2]"},
    {"NotANumber", "play --speed fast file", "cardsim: --speed: fast is not a number\n[2]"},
    {"ZeroCount", "add 0x1003 --count 0", "cardsim: --count: 0 is out of range (1 to 250)\n[2]"},
    {"LargeCount", "add 0x1003 --count 251",
     "cardsim: --count: 251 is out of range (1 to 250)\n[2]"},
    {"UnknownCard", "set card7 pci_bus 1",
     "cardsim: no card named card7; did you mean card0?\n[3]"},
    {"UnknownCardForShow", "show card7", "cardsim: no card named card7; did you mean card0?\n[3]"},
    {"UnknownAttribute", "get card0 pci_buz",
     "cardsim: unknown attribute pci_buz; did you mean pci_bus?\n[3]"},
    {"UnknownBit", "raise card0 FLASHBAK",
     "cardsim: unknown status bit FLASHBAK; did you mean FLASHBACK?\n[3]"},
    {"UnknownKind", "add floppy", "cardsim: unknown kind of card floppy\n[3]"},
    {"UnknownFunction", "fail vsl_opne",
     "cardsim: unknown function vsl_opne; did you mean vsl_open?\n[3]"},
    {"FunctionOfAllCards", "hang vsl_init card0",
     "cardsim: vsl_init does not act on a single card\n[3]"},
    {"UnknownCardForFail", "fail vsl_open card7",
     "cardsim: no card named card7; did you mean card0?\n[3]"},
    {"HangWithoutCard", "hang vsl_open", "cardsim: CARD is required\n[2]"},
    {"LongHang", "hang vsl_open card0 --ms 86400001",
     "cardsim: a call hangs for at most one day\n[1]"},
    {"BadValue", "set card0 pci_bus 256",
     "cardsim: pci_bus: must be a whole number from 0 to 255\n[1]"},
    {"SuccessCode", "fail vsl_open --code 0",
     "cardsim: the code must not be 0, which means success\n[1]"},
};

class RejectedCommands : public Program, public ::testing::WithParamInterface<RejectedCommand> {};

TEST_P(RejectedCommands, PrintOneLine) {
  File().AddCard(0x1003);
  const std::string before = Slurp();
  EXPECT_EQ(GetParam().output, Run(GetParam().arguments));
  EXPECT_EQ(before, Slurp());
}

INSTANTIATE_TEST_SUITE_P(Table, RejectedCommands, ::testing::ValuesIn(kRejectedCommands),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Program, DoesNotChangeAnExistingOrDamagedFile) {
  File().AddCard(0x1003);
  EXPECT_EQ(
      "cardsim: " + Path().string() + ": already exists; `cardsim new --force` replaces it\n[1]",
      Run("new"));
  EXPECT_EQ("card0", Joined(File().Cards()));
  OverwriteFile("{broken");
  EXPECT_EQ("cardsim: " + Path().string() + ": line 1, column 2: invalid JSON\n[1]", Run("list"));
  EXPECT_EQ("{broken", Slurp());
}

TEST_F(Program, PrintsHelp) {
  EXPECT_EQ(
      "Create and change simulated flash cards\n"
      "Usage: cardsim [OPTIONS] COMMAND\n"
      "\n"
      "Options:\n"
      "  -h,--help                 print help and exit\n"
      "  --state FILE              file of the simulated cards (default: " +
          Path().string() +
          ")\n"
          "\n"
          "Commands:\n"
          "  new                       create a state file without cards\n"
          "  add                       add cards\n"
          "  remove                    remove a card\n"
          "  list                      list the cards\n"
          "  sysfs                     write a sysfs tree with the PCI devices of the cards\n"
          "  show                      show all attributes of a card\n"
          "  set                       set an attribute of a card\n"
          "  get                       show an attribute of a card\n"
          "  raise                     set a status bit of a card\n"
          "  clear                     clear a status bit of a card\n"
          "  fail                      make every call to a library function fail, in all "
          "processes\n"
          "  hang                      make the calls for one card wait, in all processes\n"
          "  clear-failure             clear what fail or hang has set\n"
          "  play                      play a scenario; Ctrl-C stops it\n"
          "\n[0]",
      Run("--help"));
}

}  // namespace
