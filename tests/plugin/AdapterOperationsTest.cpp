// The operations of an adapter: which are listed, which are rejected, and the locate LED.

#include <gmock/gmock.h>

#include <ostream>
#include <utility>

#include "hostkit/Inspect.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t ADAPTER = 0x0130000000000001;
constexpr std::uint32_t UNKNOWN_OPERATION = 50099;

// Renders the identifier, the name, the other fields in the order of `OperationRow`, and the number
// of parameters.
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

// One card and an initialized plug-in, with traces and calls cleared.
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
    Clear();
  }

  void Clear() {
    m_Host.ClearCalls();
    m_Host.ClearTraces();
  }

  std::vector<std::string> Results() { return m_Host.TracesWithLevel(16); }

  void TearDown() override { EXPECT_THAT(CardSim::OpenHandles(), IsEmpty()); }

  SimulatedHost m_Host;
  std::string m_Card;
};

TEST_F(AdapterOperations, ListLocateAttachAndDetach) {
  StartWith();
  const std::vector<std::string> rows = Rows(m_Host.Operations(ADAPTER));
  EXPECT_THAT(rows, ElementsAre("50034 50034 1 2 1 1 0 -1 1 1, 0 parameters",
                                "50035 50035 1 2 1 1 0 -1 1 1, 0 parameters",
                                "50126 50126 1 2 1 1 0 -1 2 22110, 0 parameters",
                                "50127 50127 1 2 1 1 0 -1 2 22111, 0 parameters"));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_EQ(Rows(m_Host.ObjectOf(ADAPTER).m_Operations), rows);
}

TEST_F(AdapterOperations, OmitLocateWithoutALocateLED) {
  StartWith("beacon_state", "absent");
  EXPECT_THAT(Rows(m_Host.Operations(ADAPTER)),
              ElementsAre("50126 50126 1 2 1 1 0 -1 2 22110, 0 parameters",
                          "50127 50127 1 2 1 1 0 -1 2 22111, 0 parameters"));
}

TEST_F(AdapterOperations, ReplaceThePreviousContentsOfTheList) {
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

TEST_P(CheckByState, AcceptsAttachOnlyIfDetachedAndDetachOnlyIfAttached) {
  StartWith("iom_state", GetParam().state);
  const std::vector<std::pair<std::uint32_t, std::uint32_t>> expected = {
      {Number::OP_ATTACH, GetParam().attach},
      {Number::OP_DETACH, GetParam().detach},
      {Number::OP_FORCE_DETACH, GetParam().detach}};
  for (const auto& [operation, result] : expected) {
    Clear();
    EXPECT_EQ(m_Host.Check(ADAPTER, operation), result) << operation;
    // These return paths do not write an exit line.
    EXPECT_THAT(Results(), ElementsAre("16 ENTER CheckAdapterOperation operation=" +
                                       std::to_string(operation)));
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(
    States, CheckByState,
    testing::Values(CardInState{"Detached", "0", 0, Number::ERR_GENERAL},
                    CardInState{"Attaching", "1", Number::ERR_GENERAL, Number::ERR_GENERAL},
                    CardInState{"Attached", "2", Number::ERR_GENERAL, 0},
                    CardInState{"Detaching", "3", Number::ERR_GENERAL, Number::ERR_GENERAL},
                    CardInState{"Busy", "4", Number::ERR_GENERAL, Number::ERR_GENERAL},
                    CardInState{"Minimal", "5", Number::ERR_GENERAL, Number::ERR_GENERAL},
                    CardInState{"Failed", "6", Number::ERR_GENERAL, Number::ERR_GENERAL},
                    CardInState{"Stopped", "7", Number::ERR_GENERAL, Number::ERR_GENERAL},
                    CardInState{"UnknownState", "8", Number::ERR_GENERAL, Number::ERR_GENERAL},
                    CardInState{"NoState", "absent", Number::ERR_GENERAL, Number::ERR_GENERAL}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(AdapterOperations, CheckUsesTheStateOfTheLastScan) {
  StartWith("iom_state", "0");
  m_Host.Cards().Set(m_Card, "iom_state", "2");
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_DETACH), Number::ERR_GENERAL);
}

struct LocateLEDCheck {
  const char* name;
  std::uint32_t operation;
  const char* led;
  std::uint32_t result;
};

std::ostream& operator<<(std::ostream& out, const LocateLEDCheck& check) {
  return out << check.name;
}

class CheckLocateLED : public AdapterOperations,
                       public testing::WithParamInterface<LocateLEDCheck> {};

TEST_P(CheckLocateLED, QueriesTheCard) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().led);
  EXPECT_EQ(m_Host.Check(ADAPTER, GetParam().operation), GetParam().result);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0",
                                          "vsl_beacon_state card#1", "vsl_destroy card#1"));
  const std::string operation = std::to_string(GetParam().operation);
  const std::string result = std::to_string(GetParam().result);
  EXPECT_THAT(Results(), ElementsAre("16 ENTER CheckAdapterOperation operation=" + operation,
                                     "16 LEAVE CheckAdapterOperation -> " + result));
}

TEST_P(CheckLocateLED, FailsWithoutDestroyingAHandleWhenTheCardCannotBeFound) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().led);
  CardSim::FailCall("vsl_iom_create_by_name", 1, 71, "no such device");
  EXPECT_EQ(m_Host.Check(ADAPTER, GetParam().operation), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0"));
  const std::string operation = std::to_string(GetParam().operation);
  EXPECT_THAT(Results(),
              ElementsAre("16 ENTER CheckAdapterOperation operation=" + operation,
                          "16 CheckAdapterOperation, vsl_iom_create_by_name = 71 (no such device)",
                          "16 LEAVE CheckAdapterOperation -> 20003"));
}

INSTANTIATE_TEST_SUITE_P(
    LocateLEDs, CheckLocateLED,
    testing::Values(LocateLEDCheck{"LocateWhenOff", Number::OP_LOCATE_DEVICE, "false", 0},
                    LocateLEDCheck{"LocateWhenOn", Number::OP_LOCATE_DEVICE, "true",
                                   Number::ERR_LOCATE_IN_PROGRESS},
                    LocateLEDCheck{"StopWhenOff", Number::OP_STOP_LOCATE_DEVICE, "false",
                                   Number::ERR_NO_LOCATE_STARTED},
                    LocateLEDCheck{"StopWhenOn", Number::OP_STOP_LOCATE_DEVICE, "true", 0}),
    [](const auto& test) { return std::string(test.param.name); });

// The state that the library returns is used even if the call fails.
TEST_F(AdapterOperations, CheckTreatsAnUnreadableLocateLEDAsOff) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", "true");
  const std::pair<std::uint32_t, std::uint32_t> expected[] = {
      {Number::OP_LOCATE_DEVICE, 0},
      {Number::OP_STOP_LOCATE_DEVICE, Number::ERR_NO_LOCATE_STARTED}};
  for (const auto& [operation, result] : expected) {
    Clear();
    CardSim::FailCall("vsl_beacon_state", 1, 72, "no response");
    EXPECT_EQ(m_Host.Check(ADAPTER, operation), result);
    EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0",
                                            "vsl_beacon_state card#1", "vsl_destroy card#1"));
    EXPECT_THAT(Results(),
                ElementsAre("16 ENTER CheckAdapterOperation operation=" + std::to_string(operation),
                            "16 LEAVE CheckAdapterOperation -> " + std::to_string(result)));
  }
}

TEST_F(AdapterOperations, CheckReadsALocateLEDThatTheCardDoesNotHave) {
  StartWith("beacon_state", "absent");
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0",
                                          "vsl_beacon_state card#1", "vsl_destroy card#1"));
}

TEST_F(AdapterOperations, CheckAcceptsAnUnknownOperation) {
  StartWith();
  for (const std::uint32_t operation :
       {UNKNOWN_OPERATION, Number::OP_GET_EVENTS, Number::OP_FORMAT_DEVICE, 0U}) {
    Clear();
    EXPECT_EQ(m_Host.Check(ADAPTER, operation), 0U);
    EXPECT_THAT(Results(),
                ElementsAre("16 ENTER CheckAdapterOperation operation=" + std::to_string(operation),
                            "16 LEAVE CheckAdapterOperation -> 0"));
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
  }
}

struct LocateLEDSwitch {
  const char* name;
  std::uint32_t operation;
  const char* before;
  const char* after;
  const char* call;
};

std::ostream& operator<<(std::ostream& out, const LocateLEDSwitch& row) {
  return out << row.name;
}

class SwitchLocateLED : public AdapterOperations,
                        public testing::WithParamInterface<LocateLEDSwitch> {
 protected:
  std::string Enter() const {
    return "2 ENTER ExecuteAdapterOperation(" + std::to_string(GetParam().operation) + ") (0)";
  }
};

TEST_P(SwitchLocateLED, CompletesWithoutOpeningTheCard) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().before);
  EXPECT_EQ(m_Host.Run(ADAPTER, GetParam().operation), 0U);
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "beacon_state"), GetParam().after);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", GetParam().call,
                                          "vsl_destroy card#1"));
  EXPECT_THAT(m_Host.TracesWithLevel(2 | 16),
              ElementsAre(Enter(), "2 LEAVE AdapterExecuteOperation() -> 0"));
}

TEST_P(SwitchLocateLED, FailsWhenTheCardCannotBeFound) {
  StartWith();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 73, "gone");
  EXPECT_EQ(m_Host.Run(ADAPTER, GetParam().operation), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0"));
  EXPECT_THAT(m_Host.TracesWithLevel(2 | 16),
              ElementsAre(Enter(), "16 ExecuteAdapterOperation, vsl_iom_create_by_name = 73 (gone)",
                          "2 LEAVE AdapterExecuteOperation() -> 20003"));
}

TEST_P(SwitchLocateLED, DestroysTheHandleWhenTheLocateLEDCannotBeSwitched) {
  StartWith();
  m_Host.Cards().Set(m_Card, "beacon_state", GetParam().before);
  CardSim::FailCall("vsl_set_beacon_state", 1, 74, "broken LED");
  EXPECT_EQ(m_Host.Run(ADAPTER, GetParam().operation), Number::ERR_COMMAND_ERROR);
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "beacon_state"), GetParam().before);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", GetParam().call,
                                          "vsl_destroy card#1"));
  EXPECT_THAT(
      m_Host.TracesWithLevel(2 | 16),
      ElementsAre(Enter(), "16 ExecuteAdapterOperation, vsl_set_beacon_state = 74 (broken LED)",
                  "2 LEAVE AdapterExecuteOperation() -> 20003"));
}

INSTANTIATE_TEST_SUITE_P(LocateLEDs, SwitchLocateLED,
                         testing::Values(LocateLEDSwitch{"On", Number::OP_LOCATE_DEVICE, "false",
                                                         "true", "vsl_set_beacon_state card#1 1"},
                                         LocateLEDSwitch{"Off", Number::OP_STOP_LOCATE_DEVICE,
                                                         "true", "false",
                                                         "vsl_set_beacon_state card#1 0"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(AdapterOperations, ExecuteDoesNotRepeatTheCheck) {
  StartWith();
  EXPECT_EQ(m_Host.Run(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_LOCATE_DEVICE), Number::ERR_LOCATE_IN_PROGRESS);
  EXPECT_EQ(m_Host.Run(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "beacon_state"), "true");
}

TEST_F(AdapterOperations, ExecuteRejectsUnknownOperations) {
  StartWith();
  for (const std::uint32_t operation :
       {UNKNOWN_OPERATION, Number::OP_GET_EVENTS, Number::OP_FORMAT_DEVICE}) {
    Clear();
    const std::string number = std::to_string(operation);
    EXPECT_EQ(m_Host.Run(ADAPTER, operation), Number::ERR_INVALID_OPERATION);
    EXPECT_THAT(m_Host.TracesWithLevel(2 | 16),
                ElementsAre("2 ENTER ExecuteAdapterOperation(" + number + ") (0)",
                            "16 ExecuteAdapterOperation() OpCode(" + number + ")",
                            "2 LEAVE AdapterExecuteOperation() -> 20005"));
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
  }
}

TEST_F(AdapterOperations, ShowThePositionOfTheCardInTheTrace) {
  m_Host.AddCard();
  StartWith();
  EXPECT_EQ(m_Host.Run(0x0130000000000003, UNKNOWN_OPERATION), Number::ERR_INVALID_OPERATION);
  EXPECT_EQ(m_Host.Traces(2).front(), "ENTER ExecuteAdapterOperation(50099) (1)");
}

TEST_F(AdapterOperations, AreCheckedAndTracedUnderTheDataLock) {
  StartWith();
  EXPECT_EQ(m_Host.Check(ADAPTER, UNKNOWN_OPERATION), 0U);
  EXPECT_THAT(
      m_Host.TracesWithLevel(8 | 16),
      ElementsAre("8 ENTER CheckOperation operation=50099", "8 Before m_DataLock.Wait (sg)",
                  "8 After m_DataLock.Wait (sg)", "16 ENTER CheckAdapterOperation operation=50099",
                  "16 LEAVE CheckAdapterOperation -> 0", "8 LEAVE CheckOperation(0)"));
}

TEST_F(AdapterOperations, HoldTheDataLockWhileSwitchingTheLocateLED) {
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
