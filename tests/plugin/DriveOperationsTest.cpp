// The operations of a physical drive other than the format: bringing its storage units online or
// offline.

#include <gmock/gmock.h>

#include <ostream>

#include "hostkit/Inspect.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr std::uint64_t DRIVE = 0x0130000000000002;
constexpr std::size_t PRIVATE_EVENT = 2;  // after m_ForceWorker and m_StopRequest

using Lines = std::vector<std::string>;

class DriveOperations : public testing::Test {
 protected:
  // `volumes` is the card's list of storage units.
  void StartWith(const std::string& volumes) {
    m_Card = m_Host.AddCard();
    m_Host.Cards().Set(m_Card, "volumes", volumes);
    ASSERT_EQ(m_Host.Initialize(), 0U);
    Clear();
  }

  void Clear() {
    m_Host.ClearCalls();
    m_Host.ClearTraces();
  }

  Lines Traces() { return m_Host.TracesWithLevel(2 | 16); }
  static bool WorkerIsWoken() { return HostKit::Events().at(PRIVATE_EVENT).set; }

  SimulatedHost m_Host;
  std::string m_Card;
};

TEST_F(DriveOperations, AreNeverListed) {
  constexpr std::uint16_t KINDS[] = {0x1000, 0x1006, 0x3002};
  for (const std::uint16_t kind : KINDS) m_Host.AddCard(kind);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  for (std::size_t i = 0; i < 3; ++i) {
    const std::uint64_t drive = m_Host.DriveId(i);
    ASSERT_NE(drive, 0U);
    std::vector<PI::COperation> operations(3);
    EXPECT_EQ(m_Host.Execute(PI::CMD_GET_OPERATIONS, drive, &operations), 0U);
    EXPECT_THAT(operations, IsEmpty());
    EXPECT_THAT(m_Host.ObjectOf(drive).m_Operations, IsEmpty());
  }
}

struct FormatCheck {
  const char* name;
  const char* attribute;
  const char* value;
  std::uint32_t result;
};

std::ostream& operator<<(std::ostream& out, const FormatCheck& check) {
  return out << check.name;
}

class CheckFormat : public DriveOperations, public testing::WithParamInterface<FormatCheck> {};

TEST_P(CheckFormat, RequiresAnAvailableDrive) {
  m_Card = m_Host.AddCard();
  m_Host.Cards().Set(m_Card, GetParam().attribute, GetParam().value);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  Clear();
  EXPECT_EQ(m_Host.Check(DRIVE, PI::OP_FORMAT_DEVICE), GetParam().result);
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_THAT(Traces(), ElementsAre("2 ENTER CheckPhysicalDriveOperation()",
                                    "2 LEAVE CheckPhysicalDriveOperation() -> " +
                                        std::to_string(GetParam().result)));
}

INSTANTIATE_TEST_SUITE_P(
    Cards, CheckFormat,
    testing::Values(
        FormatCheck{"Attached", "iom_state", "2", 0}, FormatCheck{"Detached", "iom_state", "0", 0},
        FormatCheck{"WithAWarning", "current_warnings", "1", 0},
        FormatCheck{"WithAnError", "current_errors", "1", Number::ERR_PHYSICALDRIVE_NOT_AVAILABLE},
        FormatCheck{"InMinimalMode", "iom_state", "5", Number::ERR_PHYSICALDRIVE_NOT_AVAILABLE},
        FormatCheck{"Failed", "iom_state", "6", Number::ERR_PHYSICALDRIVE_NOT_AVAILABLE}),
    [](const auto& test) { return std::string(test.param.name); });

struct UnitCheck {
  const char* name;
  const char* volumes;
  std::uint32_t online;   // result of the check for OP_MAKE_ONLINE
  std::uint32_t offline;  // and for OP_MAKE_OFFLINE
  Lines calls;            // to the card
};

std::ostream& operator<<(std::ostream& out, const UnitCheck& check) {
  return out << check.name;
}

// Returns the calls that query the state of each unit.
Lines UnitQueries(std::size_t units) {
  Lines calls = {"vsl_iom_create_by_name /dev/fct0"};
  for (std::size_t i = 1; i <= units; ++i) {
    calls.push_back("vsl_vsu_iterate card#1");
    calls.push_back("vsl_vsu_state volume#" + std::to_string(i));
  }
  calls.push_back("vsl_vsu_iterate card#1");
  calls.push_back("vsl_destroy card#1");
  return calls;
}

class CheckUnits : public DriveOperations, public testing::WithParamInterface<UnitCheck> {};

TEST_P(CheckUnits, ReadsEveryUnit) {
  StartWith(GetParam().volumes);
  const std::pair<std::uint32_t, std::uint32_t> expected[] = {
      {Number::OP_MAKE_ONLINE, GetParam().online}, {Number::OP_MAKE_OFFLINE, GetParam().offline}};
  for (const auto& [operation, result] : expected) {
    Clear();
    EXPECT_EQ(m_Host.Check(DRIVE, operation), result) << operation;
    EXPECT_THAT(m_Host.Calls(), ElementsAreArray(GetParam().calls));
    EXPECT_THAT(Traces(),
                ElementsAre("2 ENTER CheckPhysicalDriveOperation()",
                            "2 LEAVE CheckPhysicalDriveOperation() -> " + std::to_string(result)));
    EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
    EXPECT_THAT(CardSim::Misuse(), IsEmpty());
    EXPECT_FALSE(WorkerIsWoken());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cards, CheckUnits,
    testing::Values(
        UnitCheck{"WithoutUnits", "[]", Number::ERR_GENERAL, Number::ERR_GENERAL, UnitQueries(0)},
        UnitCheck{"WithOneOnline", R"([{"state": 1}])", Number::ERR_GENERAL, 0, UnitQueries(1)},
        UnitCheck{"WithOneOffline", R"([{"state": 0}])", 0, Number::ERR_GENERAL, UnitQueries(1)},
        UnitCheck{"WithBoth", R"([{"state": 0}, {"state": 1}])", 0, 0, UnitQueries(2)},
        UnitCheck{"WithBothReversed", R"([{"state": 1}, {"state": 0}])", 0, 0, UnitQueries(2)},
        // The check does not query whether a state can be set.
        UnitCheck{"WithOneThatIsFixed", R"([{"state": 0, "settable": false}])", 0,
                  Number::ERR_GENERAL, UnitQueries(1)}),
    [](const auto& test) { return std::string(test.param.name); });

// The two checks differ deliberately in how they treat a handle that was never created.
TEST_F(DriveOperations, CheckForOnlineDoesNotDestroyAHandleThatWasNotCreated) {
  StartWith(R"([{"state": 0}])");
  CardSim::FailCall("vsl_iom_create_by_name", 1, 81, "gone");
  EXPECT_EQ(m_Host.Check(DRIVE, PI::OP_MAKE_ONLINE), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0"));
  EXPECT_THAT(Traces(), ElementsAre("2 ENTER CheckPhysicalDriveOperation()",
                                    "16 CheckPhysicalDriveOperation, vsl_iom_create_by_name = 81 "
                                    "(gone)",
                                    "2 LEAVE CheckPhysicalDriveOperation() -> 20003"));
}

TEST_F(DriveOperations, CheckForOfflineDestroysAHandleThatWasNotCreated) {
  StartWith(R"([{"state": 1}])");
  CardSim::FailCall("vsl_iom_create_by_name", 1, 82, "gone");
  EXPECT_EQ(m_Host.Check(DRIVE, PI::OP_MAKE_OFFLINE), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_destroy null"));
  EXPECT_THAT(Traces(), ElementsAre("2 ENTER CheckPhysicalDriveOperation()",
                                    "16 CheckPhysicalDriveOperation, vsl_iom_create_by_name = 82 "
                                    "(gone)",
                                    "2 LEAVE CheckPhysicalDriveOperation() -> 20003"));
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_F(DriveOperations, CheckAcceptsAnUnknownOperation) {
  StartWith("[]");
  for (const std::uint32_t operation :
       {Number::OP_LOCATE_DEVICE, Number::OP_ATTACH, Number::OP_FORCE_DETACH, 0U}) {
    Clear();
    EXPECT_EQ(m_Host.Check(DRIVE, operation), 0U);
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre("2 ENTER CheckPhysicalDriveOperation()",
                                      "2 LEAVE CheckPhysicalDriveOperation() -> 0"));
  }
}

// A command that switches all storage units, with its calls and traces.
struct UnitSwitch {
  const char* name;
  const char* volumes;
  std::uint32_t operation;
  std::uint32_t result;
  Lines calls;   // between vsl_iom_create_by_name and vsl_destroy
  Lines traces;  // between entry and exit
};

std::ostream& operator<<(std::ostream& out, const UnitSwitch& row) {
  return out << row.name;
}

class SwitchUnits : public DriveOperations, public testing::WithParamInterface<UnitSwitch> {};

TEST_P(SwitchUnits, SucceedsIfOneUnitAcceptsTheNewState) {
  StartWith(GetParam().volumes);
  EXPECT_EQ(m_Host.Run(DRIVE, GetParam().operation), GetParam().result);
  Lines calls = {"vsl_iom_create_by_name /dev/fct0"};
  calls.insert(calls.end(), GetParam().calls.begin(), GetParam().calls.end());
  calls.push_back("vsl_destroy card#1");
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(calls));
  Lines traces = {"2 ENTER ExecutePhysicalDriveOperation()"};
  traces.insert(traces.end(), GetParam().traces.begin(), GetParam().traces.end());
  traces.push_back("2 LEAVE ExecutePhysicalDriveOperation() -> " +
                   std::to_string(GetParam().result));
  EXPECT_THAT(Traces(), ElementsAreArray(traces));
  EXPECT_EQ(WorkerIsWoken(), GetParam().result == 0);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

const UnitSwitch UNIT_SWITCHES[] = {
    {"OnlineWithoutUnits",
     "[]",
     Number::OP_MAKE_ONLINE,
     Number::ERR_COMMAND_ERROR,
     {"vsl_vsu_iterate card#1"},
     {}},
    {"OnlineOne",
     R"([{"state": 0}])",
     Number::OP_MAKE_ONLINE,
     0,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 1",
      "vsl_vsu_iterate card#1"},
     {"16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 ()"}},
    {"OfflineOne",
     R"([{"state": 1}])",
     Number::OP_MAKE_OFFLINE,
     0,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 0",
      "vsl_vsu_iterate card#1"},
     {"16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 ()"}},
    {"OnlineOneThatIsFixed",
     R"([{"state": 0, "settable": false}])",
     Number::OP_MAKE_ONLINE,
     Number::ERR_COMMAND_ERROR,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_vsu_iterate card#1"},
     {}},
    {"OfflineOneThatRefuses",
     R"([{"state": 1, "refuses": true}])",
     Number::OP_MAKE_OFFLINE,
     Number::ERR_COMMAND_ERROR,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 0",
      "vsl_vsu_iterate card#1"},
     {}},
    // The success line shows the text that the earlier failure left in the record.
    {"OnlineTwoOfWhichTheFirstRefuses",
     R"([{"state": 0, "refuses": true}, {"state": 0}])",
     Number::OP_MAKE_ONLINE,
     0,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 1",
      "vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#2", "vsl_set_vsu_state volume#2 1",
      "vsl_vsu_iterate card#1"},
     {"16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 (the volume rejected the new "
      "state)"}},
    {"OfflineTwoOfWhichTheLastRefuses",
     R"([{"state": 1}, {"state": 1, "refuses": true}])",
     Number::OP_MAKE_OFFLINE,
     0,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 0",
      "vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#2", "vsl_set_vsu_state volume#2 0",
      "vsl_vsu_iterate card#1"},
     {"16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 ()"}},
    {"OnlineTwo",
     R"([{"state": 0}, {"state": 1}])",
     Number::OP_MAKE_ONLINE,
     0,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 1",
      "vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#2", "vsl_set_vsu_state volume#2 1",
      "vsl_vsu_iterate card#1"},
     {"16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 ()",
      "16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 ()"}},
};

INSTANTIATE_TEST_SUITE_P(Cards, SwitchUnits, testing::ValuesIn(UNIT_SWITCHES),
                         [](const auto& test) { return std::string(test.param.name); });

// A failing call for the storage units. A failed iteration ends the enumeration; a unit whose state
// cannot be read counts as offline, and a unit that cannot report whether it has a state counts as
// having none.
struct UnitFailure {
  const char* name;
  const char* volumes;
  PI::_COMMAND command;
  std::uint32_t operation;
  const char* function;
  unsigned int nth;
  std::uint32_t result;
  Lines calls;   // between vsl_iom_create_by_name and vsl_destroy
  Lines traces;  // between entry and exit
};

std::ostream& operator<<(std::ostream& out, const UnitFailure& failure) {
  return out << failure.name;
}

class FailingUnits : public DriveOperations, public testing::WithParamInterface<UnitFailure> {};

TEST_P(FailingUnits, LetTheOtherUnitsDetermineTheResult) {
  StartWith(GetParam().volumes);
  CardSim::FailCall(GetParam().function, GetParam().nth, 84, "failed");
  const bool checks = GetParam().command == PI::CMD_CHECK_OPERATION;
  PI::COperation operation;
  operation.m_OperationID = GetParam().operation;
  EXPECT_EQ(m_Host.Execute(GetParam().command, DRIVE, &operation), GetParam().result);
  Lines calls = {"vsl_iom_create_by_name /dev/fct0"};
  calls.insert(calls.end(), GetParam().calls.begin(), GetParam().calls.end());
  calls.push_back("vsl_destroy card#1");
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(calls));
  const std::string name =
      checks ? "CheckPhysicalDriveOperation()" : "ExecutePhysicalDriveOperation()";
  Lines traces = {"2 ENTER " + name};
  traces.insert(traces.end(), GetParam().traces.begin(), GetParam().traces.end());
  traces.push_back("2 LEAVE " + name + " -> " + std::to_string(GetParam().result));
  EXPECT_THAT(Traces(), ElementsAreArray(traces));
  EXPECT_EQ(WorkerIsWoken(), !checks && GetParam().result == 0);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

const UnitFailure UNIT_FAILURES[] = {
    {"CheckFirstUnit",
     R"([{"state": 0}])",
     PI::CMD_CHECK_OPERATION,
     Number::OP_MAKE_ONLINE,
     "vsl_vsu_iterate",
     1,
     Number::ERR_GENERAL,
     {"vsl_vsu_iterate card#1"},
     {}},
    {"CheckSecondUnit",
     R"([{"state": 1}, {"state": 0}])",
     PI::CMD_CHECK_OPERATION,
     Number::OP_MAKE_ONLINE,
     "vsl_vsu_iterate",
     2,
     Number::ERR_GENERAL,
     {"vsl_vsu_iterate card#1", "vsl_vsu_state volume#1", "vsl_vsu_iterate card#1"},
     {}},
    {"CheckOnlineState",
     R"([{"state": 1}])",
     PI::CMD_CHECK_OPERATION,
     Number::OP_MAKE_ONLINE,
     "vsl_vsu_state",
     1,
     0,
     {"vsl_vsu_iterate card#1", "vsl_vsu_state volume#1", "vsl_vsu_iterate card#1"},
     {}},
    {"CheckOfflineState",
     R"([{"state": 1}])",
     PI::CMD_CHECK_OPERATION,
     Number::OP_MAKE_OFFLINE,
     "vsl_vsu_state",
     1,
     Number::ERR_GENERAL,
     {"vsl_vsu_iterate card#1", "vsl_vsu_state volume#1", "vsl_vsu_iterate card#1"},
     {}},
    {"SwitchFirstUnit",
     R"([{"state": 1}])",
     PI::CMD_EXECUTE_OPERATION,
     Number::OP_MAKE_OFFLINE,
     "vsl_vsu_iterate",
     1,
     Number::ERR_COMMAND_ERROR,
     {"vsl_vsu_iterate card#1"},
     {}},
    {"SwitchSecondUnit",
     R"([{"state": 0}, {"state": 0}])",
     PI::CMD_EXECUTE_OPERATION,
     Number::OP_MAKE_ONLINE,
     "vsl_vsu_iterate",
     2,
     0,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 1",
      "vsl_vsu_iterate card#1"},
     {"16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 ()"}},
    {"SwitchHasState",
     R"([{"state": 1}])",
     PI::CMD_EXECUTE_OPERATION,
     Number::OP_MAKE_OFFLINE,
     "vsl_has_vsu_state",
     1,
     Number::ERR_COMMAND_ERROR,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_vsu_iterate card#1"},
     {}},
    {"SwitchHasStateOfTheFirst",
     R"([{"state": 0}, {"state": 0}])",
     PI::CMD_EXECUTE_OPERATION,
     Number::OP_MAKE_ONLINE,
     "vsl_has_vsu_state",
     1,
     0,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_vsu_iterate card#1",
      "vsl_has_vsu_state volume#2", "vsl_set_vsu_state volume#2 1", "vsl_vsu_iterate card#1"},
     {"16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 (failed)"}},
    {"SwitchState",
     R"([{"state": 1}])",
     PI::CMD_EXECUTE_OPERATION,
     Number::OP_MAKE_OFFLINE,
     "vsl_set_vsu_state",
     1,
     Number::ERR_COMMAND_ERROR,
     {"vsl_vsu_iterate card#1", "vsl_has_vsu_state volume#1", "vsl_set_vsu_state volume#1 0",
      "vsl_vsu_iterate card#1"},
     {}},
};

INSTANTIATE_TEST_SUITE_P(Calls, FailingUnits, testing::ValuesIn(UNIT_FAILURES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(DriveOperations, KeepTheNewStateOfTheUnits) {
  StartWith(R"([{"state": 1}])");
  EXPECT_EQ(m_Host.Run(DRIVE, PI::OP_MAKE_OFFLINE), 0U);
  EXPECT_EQ(m_Host.Check(DRIVE, PI::OP_MAKE_OFFLINE), Number::ERR_GENERAL);
  EXPECT_EQ(m_Host.Check(DRIVE, PI::OP_MAKE_ONLINE), 0U);
  EXPECT_EQ(m_Host.Run(DRIVE, PI::OP_MAKE_ONLINE), 0U);
  EXPECT_EQ(m_Host.Check(DRIVE, PI::OP_MAKE_ONLINE), Number::ERR_GENERAL);
}

TEST_F(DriveOperations, FailToSwitchWhenTheCardCannotBeFound) {
  StartWith(R"([{"state": 1}])");
  for (const std::uint32_t operation : {Number::OP_MAKE_ONLINE, Number::OP_MAKE_OFFLINE}) {
    Clear();
    CardSim::FailCall("vsl_iom_create_by_name", 1, 83, "gone");
    EXPECT_EQ(m_Host.Run(DRIVE, operation), Number::ERR_COMMAND_ERROR);
    EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0"));
    EXPECT_THAT(Traces(), ElementsAre("2 ENTER ExecutePhysicalDriveOperation()",
                                      "16 ExecutePhysicalDriveOperation, vsl_iom_create_by_name = "
                                      "83 (gone)",
                                      "2 LEAVE ExecutePhysicalDriveOperation() -> 20003"));
    EXPECT_FALSE(WorkerIsWoken());
  }
}

TEST_F(DriveOperations, RejectUnknownOperations) {
  StartWith("[]");
  for (const std::uint32_t operation : {Number::OP_LOCATE_DEVICE, Number::OP_ATTACH, 0U}) {
    Clear();
    EXPECT_EQ(m_Host.Run(DRIVE, operation), Number::ERR_INVALID_OPERATION);
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre("2 ENTER ExecutePhysicalDriveOperation()",
                                      "2 LEAVE ExecutePhysicalDriveOperation() -> 20005"));
    EXPECT_FALSE(WorkerIsWoken());
  }
}

}  // namespace
}  // namespace CorvaneTest
