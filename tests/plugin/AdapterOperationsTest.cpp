// What the host may do to an adapter: what is offered, what refuses, and the locating light.

#include <gmock/gmock.h>

#include <ostream>
#include <utility>

#include "hostkit/Inspect.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t ADAPTER = 0x0130000000000001;
constexpr std::uint32_t UNKNOWN_OPERATION = 50099;

// The nine numbers of a row, with the name behind the identifier, and how many parameters.
std::string Row(const PI::COperation& operation) {
  std::string text;
  for (const std::uint32_t number :
       {operation.m_OperationID, operation.m_NameID, operation.m_Class, operation.m_Access,
        operation.m_Scope, operation.m_Flags, std::uint32_t{operation.m_Async}}) {
    text += std::to_string(number) + " ";
  }
  return text + std::to_string(operation.m_Timeout) + " " +
         std::to_string(operation.m_ConfirmKind) + " " + std::to_string(operation.m_ConfirmText) +
         ", " + std::to_string(operation.m_Properties.size()) + " parameters";
}

std::vector<std::string> Rows(const std::vector<PI::COperation>& operations) {
  std::vector<std::string> rows;
  for (const PI::COperation& operation : operations) rows.push_back(Row(operation));
  return rows;
}

// One card behind an initialized plug-in, with nothing traced and nothing called yet.
class AdapterOperations : public testing::Test {
 protected:
  void StartWith(const std::string& attribute = "", const std::string& value = "") {
    m_Card = m_Host.AddCard();
    if (value == "absent") {
      m_Host.Cards().MakeAbsent(m_Card, attribute);
    } else if (!attribute.empty()) {
      m_Host.Cards().Set(m_Card, attribute, value);
    }
    ASSERT_EQ(m_Host.Initialize(), 0U);
    Forget();
  }

  void Forget() {
    m_Host.ForgetCalls();
    m_Host.ForgetTraces();
  }

  std::vector<std::string> Results() { return m_Host.LeveledTraces(16); }

  void TearDown() override { EXPECT_THAT(CardSim::OpenHandles(), IsEmpty()); }

  SimulatedHost m_Host;
  std::string m_Card;
};

TEST_F(AdapterOperations, ListLightAttachAndDetachWithTheirNineNumbers) {
  StartWith();
  const std::vector<std::string> rows = Rows(m_Host.Operations(ADAPTER));
  EXPECT_THAT(rows, ElementsAre("50034 50034 1 2 1 1 0 -1 1 1, 0 parameters",
                                "50035 50035 1 2 1 1 0 -1 1 1, 0 parameters",
                                "50126 50126 1 2 1 1 0 -1 2 22110, 0 parameters",
                                "50127 50127 1 2 1 1 0 -1 2 22111, 0 parameters"));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_EQ(Rows(m_Host.ObjectOf(ADAPTER).m_Operations), rows);
}

TEST_F(AdapterOperations, ListNoLightOnACardWithoutOne) {
  StartWith("beacon_state", "absent");
  EXPECT_THAT(Rows(m_Host.Operations(ADAPTER)),
              ElementsAre("50126 50126 1 2 1 1 0 -1 2 22110, 0 parameters",
                          "50127 50127 1 2 1 1 0 -1 2 22111, 0 parameters"));
}

TEST_F(AdapterOperations, ReplaceWhatTheListHeldBefore) {
  StartWith();
  std::vector<PI::COperation> operations(7);
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_OPERATIONS, ADAPTER, &operations), 0U);
  EXPECT_EQ(operations.size(), 4U);
}

struct CardInState {
  const char* name;
  const char* state;
  std::uint32_t attach;
  std::uint32_t detach;
};

std::ostream& operator<<(std::ostream& out, const CardInState& card) {
  return out << card.name;
}

class CheckByState : public AdapterOperations, public testing::WithParamInterface<CardInState> {};

TEST_P(CheckByState, DecidesFromTheLastScan) {
  StartWith("iom_state", GetParam().state);
  const std::vector<std::pair<std::uint32_t, std::uint32_t>> wanted = {
      {50126, GetParam().attach}, {50127, GetParam().detach}, {50128, GetParam().detach}};
  for (const auto& [operation, result] : wanted) {
    Forget();
    EXPECT_EQ(m_Host.Check(ADAPTER, operation), result) << operation;
    // These returns have no exit line.
    EXPECT_THAT(Results(), ElementsAre("16 ENTER CheckAdapterOperation operation=" +
                                       std::to_string(operation)));
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(States, CheckByState,
                         testing::Values(CardInState{"Detached", "0", 0, 20000},
                                         CardInState{"Attaching", "1", 20000, 20000},
                                         CardInState{"Attached", "2", 20000, 0},
                                         CardInState{"Detaching", "3", 20000, 20000},
                                         CardInState{"Busy", "4", 20000, 20000},
                                         CardInState{"Minimal", "5", 20000, 20000},
                                         CardInState{"Failed", "6", 20000, 20000},
                                         CardInState{"Stopped", "7", 20000, 20000},
                                         CardInState{"Unheard", "8", 20000, 20000},
                                         CardInState{"Untold", "absent", 20000, 20000}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(AdapterOperations, CheckDoesNotAskTheCardForItsStateAnew) {
  StartWith("iom_state", "0");
  m_Host.Cards().Set(m_Card, "iom_state", "2");
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_DETACH), 20000U);
}

struct LightCheck {
  const char* name;
  std::uint32_t operation;
  const char* light;
  std::uint32_t result;
};

std::ostream& operator<<(std::ostream& out, const LightCheck& check) {
  return out << check.name;
}

class CheckLight : public AdapterOperations, public testing::WithParamInterface<LightCheck> {};

TEST_P(CheckLight, AsksTheCardItself) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().light);
  EXPECT_EQ(m_Host.Check(ADAPTER, GetParam().operation), GetParam().result);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0",
                                          "vsl_beacon_state card#1", "vsl_destroy card#1"));
  const std::string operation = std::to_string(GetParam().operation);
  const std::string result = std::to_string(GetParam().result);
  EXPECT_THAT(Results(), ElementsAre("16 ENTER CheckAdapterOperation operation=" + operation,
                                     "16 LEAVE CheckAdapterOperation -> " + result));
}

TEST_P(CheckLight, RefusesAndDestroysNothingWhenTheCardCannotBeNamed) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().light);
  CardSim::FailCall("vsl_iom_create_by_name", 1, 71, "no such device");
  EXPECT_EQ(m_Host.Check(ADAPTER, GetParam().operation), 20003U);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0"));
  const std::string operation = std::to_string(GetParam().operation);
  EXPECT_THAT(Results(),
              ElementsAre("16 ENTER CheckAdapterOperation operation=" + operation,
                          "16 CheckAdapterOperation, vsl_iom_create_by_name = 71 (no such device)",
                          "16 LEAVE CheckAdapterOperation -> 20003"));
}

INSTANTIATE_TEST_SUITE_P(Lights, CheckLight,
                         testing::Values(LightCheck{"LocateDark", 50034, "false", 0},
                                         LightCheck{"LocateLit", 50034, "true", 20040},
                                         LightCheck{"StopDark", 50035, "false", 20041},
                                         LightCheck{"StopLit", 50035, "true", 0}),
                         [](const auto& each) { return std::string(each.param.name); });

// The answer counts as it is; an error behind it is not looked at.
TEST_F(AdapterOperations, CheckTakesALightThatCannotBeReadAsDark) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", "true");
  const std::pair<std::uint32_t, std::uint32_t> wanted[] = {{50034, 0}, {50035, 20041}};
  for (const auto& [operation, result] : wanted) {
    Forget();
    CardSim::FailCall("vsl_beacon_state", 1, 72, "asleep");
    EXPECT_EQ(m_Host.Check(ADAPTER, operation), result);
    EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0",
                                            "vsl_beacon_state card#1", "vsl_destroy card#1"));
    EXPECT_THAT(Results(),
                ElementsAre("16 ENTER CheckAdapterOperation operation=" + std::to_string(operation),
                            "16 LEAVE CheckAdapterOperation -> " + std::to_string(result)));
  }
}

TEST_F(AdapterOperations, CheckAsksForALightThatTheCardDoesNotHave) {
  StartWith("beacon_state", "absent");
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0",
                                          "vsl_beacon_state card#1", "vsl_destroy card#1"));
}

TEST_F(AdapterOperations, CheckLetsAnUnknownOperationPass) {
  StartWith();
  for (const std::uint32_t operation : {UNKNOWN_OPERATION, 50002U, 50026U, 0U}) {
    Forget();
    EXPECT_EQ(m_Host.Check(ADAPTER, operation), 0U);
    EXPECT_THAT(Results(),
                ElementsAre("16 ENTER CheckAdapterOperation operation=" + std::to_string(operation),
                            "16 LEAVE CheckAdapterOperation -> 0"));
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
  }
}

struct LightSwitch {
  const char* name;
  std::uint32_t operation;
  const char* before;
  const char* after;
  const char* call;
};

std::ostream& operator<<(std::ostream& out, const LightSwitch& row) {
  return out << row.name;
}

class SwitchLight : public AdapterOperations, public testing::WithParamInterface<LightSwitch> {
 protected:
  std::string Enter() const {
    return "2 ENTER ExecuteAdapterOperation(" + std::to_string(GetParam().operation) + ") (0)";
  }
};

TEST_P(SwitchLight, IsDoneAtOnceWithoutOpeningTheCard) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().before);
  EXPECT_EQ(m_Host.Run(ADAPTER, GetParam().operation), 0U);
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "beacon_state"), GetParam().after);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", GetParam().call,
                                          "vsl_destroy card#1"));
  EXPECT_THAT(m_Host.LeveledTraces(2 | 16),
              ElementsAre(Enter(), "2 LEAVE AdapterExecuteOperation() -> 0"));
}

TEST_P(SwitchLight, FailsWhenTheCardCannotBeNamed) {
  StartWith();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 73, "gone");
  EXPECT_EQ(m_Host.Run(ADAPTER, GetParam().operation), 20003U);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0"));
  EXPECT_THAT(m_Host.LeveledTraces(2 | 16),
              ElementsAre(Enter(), "16 ExecuteAdapterOperation, vsl_iom_create_by_name = 73 (gone)",
                          "2 LEAVE AdapterExecuteOperation() -> 20003"));
}

TEST_P(SwitchLight, FailsWhenTheLightRefusesAndDestroysTheHandle) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().before);
  CardSim::FailCall("vsl_set_beacon_state", 1, 74, "broken lamp");
  EXPECT_EQ(m_Host.Run(ADAPTER, GetParam().operation), 20003U);
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "beacon_state"), GetParam().before);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", GetParam().call,
                                          "vsl_destroy card#1"));
  EXPECT_THAT(
      m_Host.LeveledTraces(2 | 16),
      ElementsAre(Enter(), "16 ExecuteAdapterOperation, vsl_set_beacon_state = 74 (broken lamp)",
                  "2 LEAVE AdapterExecuteOperation() -> 20003"));
}

INSTANTIATE_TEST_SUITE_P(
    Lights, SwitchLight,
    testing::Values(LightSwitch{"On", 50034, "false", "true", "vsl_set_beacon_state card#1 1"},
                    LightSwitch{"Off", 50035, "true", "false", "vsl_set_beacon_state card#1 0"}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_F(AdapterOperations, ExecuteDoesNotRepeatTheCheck) {
  StartWith();
  EXPECT_EQ(m_Host.Run(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_LOCATE_DEVICE), 20040U);
  EXPECT_EQ(m_Host.Run(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "beacon_state"), "true");
}

TEST_F(AdapterOperations, ExecuteRefusesWhatItDoesNotKnow) {
  StartWith();
  for (const std::uint32_t operation : {UNKNOWN_OPERATION, 50002U, 50026U}) {
    Forget();
    const std::string number = std::to_string(operation);
    EXPECT_EQ(m_Host.Run(ADAPTER, operation), 20005U);
    EXPECT_THAT(m_Host.LeveledTraces(2 | 16),
                ElementsAre("2 ENTER ExecuteAdapterOperation(" + number + ") (0)",
                            "16 ExecuteAdapterOperation() OpCode(" + number + ")",
                            "2 LEAVE AdapterExecuteOperation() -> 20005"));
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
  }
}

TEST_F(AdapterOperations, ShowThePositionOfTheCardInTheTrace) {
  m_Host.AddCard();
  StartWith();
  EXPECT_EQ(m_Host.Run(0x0130000000000003, UNKNOWN_OPERATION), 20005U);
  EXPECT_EQ(m_Host.Traces(2).front(), "ENTER ExecuteAdapterOperation(50099) (1)");
}

TEST_F(AdapterOperations, AreTracedByTheRouterUnderTheDataLock) {
  StartWith();
  EXPECT_EQ(m_Host.Check(ADAPTER, UNKNOWN_OPERATION), 0U);
  EXPECT_THAT(
      m_Host.LeveledTraces(8 | 16),
      ElementsAre("8 ENTER CheckOperation operation=50099", "8 Before m_DataLock.Wait (sg)",
                  "8 After m_DataLock.Wait (sg)", "16 ENTER CheckAdapterOperation operation=50099",
                  "16 LEAVE CheckAdapterOperation -> 0", "8 LEAVE CheckOperation(0)"));
}

TEST_F(AdapterOperations, HoldTheDataLockWhileTheLightIsSwitched) {
  StartWith();
  unsigned int depth = 0;
  CardSim::SetHook([&depth](const CardSim::Call& call) {
    if (call.function == "vsl_set_beacon_state") depth = HostKit::Locks().at(0).depth;
  });
  EXPECT_EQ(m_Host.Run(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(depth, 1U);
  EXPECT_EQ(HostKit::Locks().at(0).depth, 0U);
}

}  // namespace
}  // namespace CorvaneTest
