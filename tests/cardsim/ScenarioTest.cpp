#include "cardsim/scenario/Scenario.h"
#include "tests/cardsim/Fixture.h"

namespace {

using CardSim::ParseScenario;
using CardSim::PlayScenario;

// Returns a scenario with these steps.
std::string WithSteps(const std::string& steps) {
  return R"({"title": "t", "steps": [)" + steps + "]}";
}

class Scenarios : public SimulatedCards {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    for (int i = 0; i < 3; ++i) File().AddCard(0x1003);
  }

  // Plays the steps. Returns the time and text of each step that the observer receives, one line
  // per step.
  std::string PlaySteps(const std::string& steps) {
    std::string observed;
    auto file = File();
    PlayScenario(ParseScenario(WithSteps(steps)), file, 1000,
                 {[&](std::uint64_t atMs, const std::string& text) {
                    observed += std::to_string(atMs) + " " + text + "\n";
                  },
                  [] { return false; }});
    return observed;
  }

  std::string Get(const char* attribute) { return File().Get("card1", attribute); }
};

TEST_F(Scenarios, ACardIsAddedByItsProfileOrDeviceId) {
  EXPECT_EQ("0 added card3, flash-5200g\n0 added card4, 0x1008\n",
            PlaySteps(R"({"do": "add", "what": "flash-5200g"}, {"do": "add", "what": "0x1008"})"));
  EXPECT_EQ("\"Flash Adapter 5.2TB\"", File().Get("card3", "board_name"));
  EXPECT_EQ("\"Flash Adapter 3.2TB\"", File().Get("card4", "board_name"));
}

TEST_F(Scenarios, ACardIsRemoved) {
  EXPECT_EQ("0 removed card1\n", PlaySteps(R"({"do": "remove", "card": "card1"})"));
  EXPECT_EQ("card0\ncard2", Joined(File().Cards()));
}

TEST_F(Scenarios, AttributesOfEveryTypeAreSet) {
  EXPECT_EQ(
      "0 card1: temp_internal_deg_c is 79.5\n"
      "0 card1: serial_number is \"FA 7\"\n"
      "0 card1: external_power_connected is true\n"
      "0 card1: iom_state is 0\n"
      "0 card1: fw_current_micro_ver is -3\n",
      PlaySteps(R"({"do": "set", "card": "card1", "what": "temp_internal_deg_c", "to": 79.5},
                {"do": "set", "card": "card1", "what": "serial_number", "to": "FA 7"},
                {"do": "set", "card": "card1", "what": "external_power_connected", "to": true},
                {"do": "set", "card": "card1", "what": "iom_state", "to": 0},
                {"do": "set", "card": "card1", "what": "fw_current_micro_ver", "to": -3})"));
  EXPECT_EQ("79.5", Get("temp_internal_deg_c"));
  EXPECT_EQ("\"FA 7\"", Get("serial_number"));
  EXPECT_EQ("true", Get("external_power_connected"));
  EXPECT_EQ("0", Get("iom_state"));
  EXPECT_EQ("-3", Get("fw_current_micro_ver"));
}

TEST_F(Scenarios, ANumericStringRemainsAString) {
  PlaySteps(R"({"do": "set", "card": "card1", "what": "serial_number", "to": "5"})");
  EXPECT_EQ("\"5\"", Get("serial_number"));
}

TEST_F(Scenarios, VolumesAreSet) {
  PlaySteps(R"({"do": "set", "card": "card1", "what": "volumes", "to": [{"state": 0}]})");
  EXPECT_EQ(R"([{"state":0,"settable":true}])", Get("volumes"));
}

TEST_F(Scenarios, AnAttributeIsMadeAbsent) {
  EXPECT_EQ("0 card1: beacon_state is absent\n",
            PlaySteps(R"({"do": "set", "card": "card1", "what": "beacon_state", "to": "absent"})"));
  EXPECT_EQ("absent", Get("beacon_state"));
}

TEST_F(Scenarios, BitsAreRaisedAndCleared) {
  EXPECT_EQ("0 card1: raised FLASHBACK\n0 card1: raised errors.INTERNAL_ERROR\n",
            PlaySteps(R"({"do": "raise", "card": "card1", "what": "FLASHBACK"},
                      {"do": "raise", "card": "card1", "what": "errors.INTERNAL_ERROR"})"));
  EXPECT_EQ("257", Get("current_errors"));
  EXPECT_EQ("0 card1: cleared FLASHBACK\n",
            PlaySteps(R"({"do": "clear", "card": "card1", "what": "FLASHBACK"})"));
  EXPECT_EQ("1", Get("current_errors"));
}

TEST_F(Scenarios, AFunctionFailsUntilTheFailureIsCleared) {
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  void* card = CreateCard();
  EXPECT_EQ("0 vsl_open fails with 12: no luck\n",
            PlaySteps(R"({"do": "fail", "what": "vsl_open", "code": 12, "text": "no luck"})"));
  EXPECT_EQ(12U, vsl_open(card, &m_Error));
  EXPECT_STREQ("no luck", m_Error.text);
  EXPECT_EQ("0 vsl_open works again\n",
            PlaySteps(R"({"do": "clear-failure", "what": "vsl_open"})"));
  EXPECT_EQ(0U, vsl_open(card, &m_Error));
}

TEST_F(Scenarios, AFailureNeedsNeitherCodeNorText) {
  EXPECT_EQ("0 vsl_close fails with 1: failure injected by a scenario\n",
            PlaySteps(R"({"do": "fail", "what": "vsl_close"})"));
}

TEST_F(Scenarios, AFunctionFailsAndHangsForOneCard) {
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  EXPECT_EQ(
      "0 card1: vsl_open fails with 12: no luck\n"
      "0 card2: vsl_open hangs for 1 ms\n"
      "0 card2: vsl_close hangs\n",
      PlaySteps(R"({"do": "fail", "card": "card1", "what": "vsl_open", "code": 12,
                    "text": "no luck"},
                   {"do": "hang", "card": "card2", "what": "vsl_open", "for_ms": 1},
                   {"do": "hang", "card": "card2", "what": "vsl_close"})"));
  EXPECT_EQ(0U, vsl_open(CreateCard("/dev/fct0"), &m_Error));
  EXPECT_EQ(12U, vsl_open(CreateCard("/dev/fct1"), &m_Error));
  EXPECT_EQ("0 card1: vsl_open works again\n0 card2: vsl_close works again\n",
            PlaySteps(R"({"do": "clear-failure", "card": "card1", "what": "vsl_open"},
                         {"do": "clear-failure", "card": "card2", "what": "vsl_close"})"));
  EXPECT_EQ(0U, vsl_open(CreateCard("/dev/fct1"), &m_Error));
  EXPECT_EQ(0U, vsl_close(OpenCard("/dev/fct2"), &m_Error));
}

TEST_F(Scenarios, TheObserverGetsTheTimeSinceTheStart) {
  EXPECT_EQ("1500 it warns\n3500 card1: cleared FLASHBACK\n",
            PlaySteps(R"({"after_ms": 1500, "do": "raise", "card": "card1", "what": "FLASHBACK",
                       "say": "it warns"},
                      {"after_ms": 2000, "do": "clear", "card": "card1", "what": "FLASHBACK"})"));
}

TEST_F(Scenarios, ADurationOfOneDayIsAccepted) {
  const auto scenario = ParseScenario(WithSteps(
      R"({"after_ms": 86399999, "do": "clear-failure", "what": "vsl_open"},
         {"after_ms": 1, "do": "clear-failure", "what": "vsl_open"})"));
  EXPECT_EQ(86400000U, scenario.DurationMs());
}

TEST_F(Scenarios, TheObserverStopsTheScenarioBetweenTwoSteps) {
  const auto scenario = ParseScenario(WithSteps(
      R"({"do": "raise", "card": "card1", "what": "FLASHBACK"},
         {"after_ms": 80000000, "do": "clear", "card": "card1", "what": "FLASHBACK"})"));
  int observed = 0;
  int calls = 0;
  auto file = File();
  EXPECT_EQ(1U, PlayScenario(scenario, file, 1,
                             {[&](std::uint64_t, const std::string&) { ++observed; },
                              [&] { return ++calls == 4; }}));
  EXPECT_EQ(1, observed);
  EXPECT_EQ("256", Get("current_errors"));
}

TEST_F(Scenarios, AFailedStepIsReportedAndStopsTheScenario) {
  EXPECT_EQ("step 2 of 3 (it warns): no card named card1; did you mean card0?", ErrorOf([&] {
              PlaySteps(R"({"do": "remove", "card": "card1"},
                  {"do": "raise", "card": "card1", "what": "FLASHBACK", "say": "it warns"},
                  {"do": "remove", "card": "card0"})");
            }));
  EXPECT_EQ("card0\ncard2", Joined(File().Cards()));
}

TEST_F(Scenarios, AStepMayUseACardThatAnEarlierOneAdded) {
  PlaySteps(R"({"do": "add", "what": "flash-365g"},
            {"do": "raise", "card": "card3", "what": "FLASHBACK"})");
  EXPECT_EQ("256", File().Get("card3", "current_errors"));
}

TEST_F(Scenarios, AMissingStateFileIsReportedBeforeTheFirstWait) {
  auto file = CardSim::StateFile(m_Directory / "none.json");
  const auto scenario = ParseScenario(
      WithSteps(R"({"after_ms": 80000000, "do": "clear-failure", "what": "vsl_open"})"));
  EXPECT_EQ((m_Directory / "none.json").string() + ": no such file; `cardsim new` creates one",
            ErrorOf([&] {
              PlayScenario(scenario, file, 1, {nullptr, [] { return false; }});
            }));
}

struct BadCase {
  const char* name;
  const char* text;  // a complete file, or the second step of a scenario
  const char* error;
};

const BadCase kBadSteps[] = {
    {"UnknownVerb", R"({"do": "rase"})", "step 2.do: unknown verb rase; did you mean raise?"},
    {"FormerVerb", R"({"do": "heal", "what": "vsl_open"})",
     "step 2.do: unknown verb heal; did you mean clear-failure?"},
    {"NoDo", R"({"card": "card1"})", R"(step 2: has no "do")"},
    {"NotAnObject", R"("raise")", "step 2: must be an object"},
    {"NoCard", R"({"do": "remove"})", R"(step 2: has no "card")"},
    {"CardIsNumber", R"({"do": "remove", "card": 1})", "step 2.card: must be a string"},
    {"CardIsEmpty", R"({"do": "remove", "card": ""})",
     "step 2.card: must be a card's name, such as card0"},
    {"CardIsPath", R"({"do": "remove", "card": "/dev/fct0"})",
     "step 2.card: must be a card's name, such as card0"},
    {"NoWhat", R"({"do": "raise", "card": "card1"})", R"(step 2: has no "what")"},
    {"UnknownBit", R"({"do": "raise", "card": "card1", "what": "FLASHBAK"})",
     "step 2.what: unknown status bit FLASHBAK; did you mean FLASHBACK?"},
    {"BitIsNumber", R"({"do": "clear", "card": "card1", "what": 8})",
     "step 2.what: must be a string"},
    {"UnknownAttribute", R"({"do": "set", "card": "card1", "what": "pci_buz", "to": 1})",
     "step 2.what: unknown attribute pci_buz; did you mean pci_bus?"},
    {"NoValue", R"({"do": "set", "card": "card1", "what": "pci_bus"})", R"(step 2: has no "to")"},
    {"ValueTooLarge", R"({"do": "set", "card": "card1", "what": "pci_bus", "to": 256})",
     "step 2.to: must be a whole number from 0 to 255"},
    {"NumberForText", R"({"do": "set", "card": "card1", "what": "serial_number", "to": 5})",
     "step 2.to: must be a string"},
    {"TextForNumber", R"({"do": "set", "card": "card1", "what": "pci_bus", "to": "5"})",
     "step 2.to: must be a whole number from 0 to 255"},
    {"TextForFloat",
     R"({"do": "set", "card": "card1", "what": "temp_internal_deg_c", "to": "hot"})",
     "step 2.to: must be a number"},
    {"NumberForFlag", R"({"do": "set", "card": "card1", "what": "in_use", "to": 1})",
     "step 2.to: must be true or false"},
    {"BadVolume", R"({"do": "set", "card": "card1", "what": "volumes", "to": [{"state": 2}]})",
     "step 2.to[0].state: must be a whole number from 0 to 1"},
    {"UnknownKind", R"({"do": "add", "what": "flash-785"})",
     "step 2.what: unknown kind of card flash-785; did you mean flash-785g?"},
    {"UnknownFunction", R"({"do": "fail", "what": "vsl_opne"})",
     "step 2.what: unknown function vsl_opne; did you mean vsl_open?"},
    {"FunctionWithoutResult", R"({"do": "clear-failure", "what": "vsl_fini"})",
     "step 2.what: vsl_fini has no result and cannot fail"},
    {"HangWithoutCard", R"({"do": "hang", "what": "vsl_open"})", R"(step 2: has no "card")"},
    {"HangOfAllCards", R"({"do": "hang", "card": "card1", "what": "vsl_init"})",
     "step 2.what: vsl_init does not act on a single card"},
    {"LongHang", R"({"do": "hang", "card": "card1", "what": "vsl_open", "for_ms": 86400001})",
     "step 2.for_ms: must be a whole number from 0 to 86400000"},
    {"SuccessCode", R"({"do": "fail", "what": "vsl_open", "code": 0})",
     "step 2.code: must not be 0, which means success"},
    {"TextOfTwoLines", R"({"do": "fail", "what": "vsl_open", "text": "a\nb"})",
     "step 2.text: must be one line without control characters"},
    {"SayOfTwoLines", R"({"do": "clear-failure", "what": "vsl_open", "say": "a\nb"})",
     "step 2.say: must be one line without control characters"},
    {"SayIsNumber", R"({"do": "clear-failure", "what": "vsl_open", "say": 1})",
     "step 2.say: must be a string"},
    {"MemberOfAnotherVerb", R"({"do": "remove", "card": "card1", "what": "x"})",
     "step 2.what: unknown"},
    {"MisspelledMember", R"({"do": "remove", "card": "card1", "aftr_ms": 1})",
     "step 2.aftr_ms: unknown; did you mean after_ms?"},
    {"NegativeTime", R"({"after_ms": -1, "do": "remove", "card": "card1"})",
     "step 2.after_ms: must be a whole number from 0 to 86400000"},
    {"FractionalTime", R"({"after_ms": 1.5, "do": "remove", "card": "card1"})",
     "step 2.after_ms: must be a whole number from 0 to 86400000"},
    {"TimeIsText", R"({"after_ms": "1", "do": "remove", "card": "card1"})",
     "step 2.after_ms: must be a whole number from 0 to 86400000"},
    {"StepOfMoreThanADay", R"({"after_ms": 86400001, "do": "remove", "card": "card1"})",
     "step 2.after_ms: must be a whole number from 0 to 86400000"},
    {"LongerThanADay", R"({"after_ms": 86399000, "do": "remove", "card": "card1"})",
     "step 2.after_ms: the scenario lasts more than a day"},
};

class BadSteps : public Scenarios, public ::testing::WithParamInterface<BadCase> {};

TEST_P(BadSteps, AreRejectedWithTheirPosition) {
  const std::string good = R"({"after_ms": 1001, "do": "remove", "card": "card1"})";
  EXPECT_EQ(GetParam().error,
            ErrorOf([&] { ParseScenario(WithSteps(good + "," + GetParam().text)); }));
}

INSTANTIATE_TEST_SUITE_P(Table, BadSteps, ::testing::ValuesIn(kBadSteps),
                         [](const auto& row) { return std::string(row.param.name); });

const BadCase kBadFiles[] = {
    {"Empty", "", "line 1, column 1: invalid JSON"},
    {"InvalidJson", "{\n  ?", "line 2, column 3: invalid JSON"},
    {"HugeNumber", R"({"title": 1e999})", "contains a number that is out of range"},
    {"List", "[]", "file: must be an object"},
    {"NoTitle", R"({"steps": []})", R"(file: has no "title")"},
    {"NoSteps", R"({"title": "t"})", R"(file: has no "steps")"},
    {"StepsAreText", R"({"title": "t", "steps": "s"})", "steps: must be a non-empty array"},
    {"EmptySteps", R"({"title": "t", "steps": []})", "steps: must be a non-empty array"},
    {"TitleOfTwoLines", R"({"title": "a\u001b[2J", "steps": []})",
     "file.title: must be one line without control characters"},
    {"UnknownMember", R"({"title": "t", "step": []})", "file.step: unknown; did you mean steps?"},
};

class BadScenarios : public Scenarios, public ::testing::WithParamInterface<BadCase> {};

TEST_P(BadScenarios, AreRejectedWithTheirPosition) {
  EXPECT_EQ(GetParam().error, ErrorOf([] { ParseScenario(GetParam().text); }));
}

INSTANTIATE_TEST_SUITE_P(Table, BadScenarios, ::testing::ValuesIn(kBadFiles),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
