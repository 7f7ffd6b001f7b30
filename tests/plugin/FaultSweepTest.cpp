// Makes each card-library call of every flow fail once: the result is as expected, all locks are
// released, handles do not leak, and the next pass succeeds.

#include <gmock/gmock.h>

#include <functional>
#include <ostream>

#include "hostkit/Inspect.h"
#include "tests/support/HeldCall.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowHandles.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t PLUGIN = 0x0130000000000000;
constexpr std::uint64_t ADAPTER = 0x0130000000000001;
constexpr std::uint64_t DRIVE = 0x0130000000000002;
constexpr unsigned int ANY = 0;

struct Attribute {
  const char* name;
  const char* value;
};

// The result of the flow when the nth call of a function fails.
struct Consequence {
  const char* function;
  unsigned int nth;  // or ANY
  std::size_t result;
};

struct Flow {
  const char* name;
  std::vector<Attribute> card;  // set before each pass
  std::function<std::size_t(SimulatedHost&)> run;
  std::size_t expected;  // the result without a failure
  std::vector<Consequence> consequences;
  bool inPairs;  // short enough to test every pair of failures
};

std::ostream& operator<<(std::ostream& out, const Flow& flow) {
  return out << flow.name;
}

// One call of a flow: the function, and how often it has been called so far, including this call.
struct Step {
  std::string function;
  unsigned int nth;
};

std::vector<Step> StepsOf(const std::vector<CardSim::Call>& calls) {
  std::vector<Step> steps;
  for (const CardSim::Call& call : calls) {
    unsigned int nth = 1;
    for (const Step& step : steps) nth += step.function == call.function ? 1 : 0;
    steps.push_back({call.function, nth});
  }
  return steps;
}

// Stopping the library has no result that could report a failure.
bool CanFail(const Step& step) {
  return step.function != "vsl_fini";
}

std::size_t ResultAfter(const Flow& flow, const Step& step) {
  for (const Consequence& consequence : flow.consequences) {
    const bool hit = consequence.nth == ANY || consequence.nth == step.nth;
    if (hit && step.function == consequence.function) return consequence.result;
  }
  return flow.expected;
}

std::string LocksHeld() {
  std::string text;
  for (const HostKit::LockView& lock : HostKit::Locks()) {
    if (lock.depth != 0) text += std::to_string(lock.ordinal) + " by " + lock.owner + " ";
  }
  return text;
}

// The failing steps.
struct Faults {
  std::vector<Step> steps;

  void Inject() const {
    for (const Step& step : steps) CardSim::FailCall(step.function, step.nth, 99, "injected");
  }
  std::size_t Count(const char* function) const {
    std::size_t count = 0;
    for (const Step& step : steps) count += step.function == function ? 1 : 0;
    return count;
  }
  std::string Text() const {
    std::string text;
    for (const Step& step : steps) text += step.function + " #" + std::to_string(step.nth) + " ";
    return text;
  }
};

// A handle that could not be destroyed remains, and a card that could not be closed is destroyed
// while open. Nothing else may remain.
void ExpectNoLeaks(const Faults& faults) {
  EXPECT_EQ(LocksHeld(), "");
  EXPECT_LE(HandlesExceptRows().size(), faults.Count("vsl_destroy"));
  if (faults.Count("vsl_close") > 0) {
    EXPECT_THAT(CardSim::Misuse(), ElementsAre("vsl_destroy card#1: destroyed while open"));
  } else {
    EXPECT_THAT(CardSim::Misuse(), IsEmpty());
  }
}

class FaultSweep : public testing::TestWithParam<Flow> {
 protected:
  static void Prepare(SimulatedHost& host) {
    for (const Attribute& attribute : GetParam().card) {
      host.Cards().Set("card0", attribute.name, attribute.value);
    }
    host.ClearCalls();
  }

  static std::size_t Run(SimulatedHost& host) { return GetParam().run(host); }

  static void StartWithOneCard(SimulatedHost& host) {
    host.AddCard(0x1006);
    for (const Attribute& attribute : GetParam().card) {
      host.Cards().Set("card0", attribute.name, attribute.value);
    }
    ASSERT_EQ(host.Initialize(), 0U);
  }

  // Runs the flow without failures and returns its calls.
  static std::vector<Step> PassWithoutFailures(SimulatedHost& host) {
    Prepare(host);
    EXPECT_EQ(Run(host), GetParam().expected);
    ExpectNoLeaks({});
    return StepsOf(CardSim::CallLog());
  }

  static void Sweep(const Faults& faults, std::size_t result, const std::vector<Step>& good) {
    SCOPED_TRACE("failing: " + faults.Text());
    SimulatedHost host;
    StartWithOneCard(host);
    Prepare(host);
    faults.Inject();
    EXPECT_EQ(Run(host), result);
    ExpectNoLeaks(faults);
    EXPECT_EQ(PassWithoutFailures(host).size(), good.size());
  }
};

TEST_P(FaultSweep, SurvivesEachCallFailing) {
  std::vector<Step> good;
  {
    SimulatedHost host;
    StartWithOneCard(host);
    good = PassWithoutFailures(host);
  }
  ASSERT_FALSE(good.empty());
  for (const Step& step : good) {
    if (CanFail(step)) Sweep({{step}}, ResultAfter(GetParam(), step), good);
  }
}

class FaultSweepInPairs : public FaultSweep {};

TEST_P(FaultSweepInPairs, SurvivesEachPairOfCallsFailing) {
  std::vector<Step> good;
  {
    SimulatedHost host;
    StartWithOneCard(host);
    good = PassWithoutFailures(host);
  }
  for (std::size_t first = 0; first < good.size(); ++first) {
    for (std::size_t second = first + 1; second < good.size(); ++second) {
      // The failure that ends the flow first determines the result.
      const std::size_t one = ResultAfter(GetParam(), good[first]);
      const std::size_t other = ResultAfter(GetParam(), good[second]);
      Sweep({{good[first], good[second]}}, one != GetParam().expected ? one : other, good);
    }
  }
}

// The flows.

std::size_t Topology(SimulatedHost& host) {
  return host.Topology().size();
}

// At least 22 properties are shown without the card.
std::size_t AdapterProperties(SimulatedHost& host) {
  std::vector<PI::CProperty> properties;
  const unsigned int result = host.Execute(PI::CMD_GET_PROPERTIES, ADAPTER, &properties);
  EXPECT_GE(properties.size(), 22U);
  return result;
}

auto Check(std::uint64_t id, std::uint32_t operation) {
  return [id, operation](SimulatedHost& host) { return host.Check(id, operation); };
}

auto Execute(std::uint64_t id, std::uint32_t operation) {
  return [id, operation](SimulatedHost& host) { return host.Run(id, operation); };
}

std::size_t FormatToTheMaximum(SimulatedHost& host) {
  PI::CProperty formatting(PI::Property::CHOICE_PARAM, true);
  formatting.m_NameID = PI::Property::FORMATTING;
  formatting.SetValue(PI::Value::MAXIMUM_CAPACITY, std::vector<int>{PI::Value::MAXIMUM_CAPACITY});
  return host.Run(DRIVE, PI::OP_FORMAT_DEVICE, {formatting});
}

// Runs a job and returns the number of events that it has queued.
auto Job(std::uint32_t operation) {
  return [operation](SimulatedHost& host) {
    EXPECT_EQ(host.Run(ADAPTER, operation), 0U);
    SleepFor(10000);
    PI::COperation collect;
    collect.m_OperationID = PI::OP_GET_EVENTS;
    EXPECT_EQ(host.Execute(PI::CMD_EXECUTE_OPERATION, PLUGIN, &collect), 0U);
    return collect.m_Events.size();
  };
}

const Flow FLOWS[] = {
    {"Topology", {}, Topology, 3, {}, false},
    {"AdapterProperties", {}, AdapterProperties, 0, {}, false},
    {"CheckLocate",
     {{"beacon_state", "false"}},
     Check(ADAPTER, Number::OP_LOCATE_DEVICE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR}},
     true},
    {"CheckStopLocate",
     {{"beacon_state", "true"}},
     Check(ADAPTER, Number::OP_STOP_LOCATE_DEVICE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_beacon_state", ANY, Number::ERR_NO_LOCATE_STARTED}},
     true},
    {"Locate",
     {{"beacon_state", "false"}},
     Execute(ADAPTER, Number::OP_LOCATE_DEVICE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_set_beacon_state", ANY, Number::ERR_COMMAND_ERROR}},
     true},
    {"StopLocate",
     {{"beacon_state", "true"}},
     Execute(ADAPTER, Number::OP_STOP_LOCATE_DEVICE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_set_beacon_state", ANY, Number::ERR_COMMAND_ERROR}},
     true},
    // A unit whose state cannot be read counts as offline.
    {"CheckOnline",
     {{"volumes", R"([{"state": 0}, {"state": 1}])"}},
     Check(DRIVE, Number::OP_MAKE_ONLINE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_vsu_iterate", 1, Number::ERR_GENERAL}},
     true},
    {"CheckOffline",
     {{"volumes", R"([{"state": 0}, {"state": 1}])"}},
     Check(DRIVE, Number::OP_MAKE_OFFLINE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_vsu_iterate", 1, Number::ERR_GENERAL},
      {"vsl_vsu_iterate", 2, Number::ERR_GENERAL},
      {"vsl_vsu_state", 2, Number::ERR_GENERAL}},
     true},
    {"Online",
     {{"volumes", R"([{"state": 0}])"}},
     Execute(DRIVE, Number::OP_MAKE_ONLINE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_vsu_iterate", 1, Number::ERR_COMMAND_ERROR},
      {"vsl_has_vsu_state", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_set_vsu_state", ANY, Number::ERR_COMMAND_ERROR}},
     true},
    {"Offline",
     {{"volumes", R"([{"state": 1}])"}},
     Execute(DRIVE, Number::OP_MAKE_OFFLINE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_vsu_iterate", 1, Number::ERR_COMMAND_ERROR},
      {"vsl_has_vsu_state", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_set_vsu_state", ANY, Number::ERR_COMMAND_ERROR}},
     true},
    {"Format",
     {{"iom_state", "0"}},
     Execute(DRIVE, Number::OP_FORMAT_DEVICE),
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_iom_format_create", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_iom_format_set_sector_size_bytes", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_iom_format_set_size_pct", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_op_start", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_op_wait_for_result", ANY, Number::ERR_COMMAND_ERROR}},
     true},
    {"FormatToTheMaximum",
     {{"iom_state", "0"}},
     FormatToTheMaximum,
     0,
     {{"vsl_iom_create_by_name", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_iom_format_create", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_iom_format_set_sector_size_bytes", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_iom_format_set_size_bytes", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_op_start", ANY, Number::ERR_COMMAND_ERROR},
      {"vsl_op_wait_for_result", ANY, Number::ERR_COMMAND_ERROR}},
     false},
    {"Attach",
     {{"iom_state", "0"}},
     Job(Number::OP_ATTACH),
     0,
     {{"vsl_iom_create_by_name", ANY, 1},
      {"vsl_iom_attach_create", ANY, 1},
      {"vsl_op_start", ANY, 1},
      {"vsl_op_wait_for_result", ANY, 1}},
     true},
    {"Detach",
     {{"iom_state", "2"}},
     Job(Number::OP_DETACH),
     0,
     {{"vsl_iom_create_by_name", ANY, 1},
      {"vsl_iom_detach_create", ANY, 1},
      {"vsl_op_start", ANY, 1},
      {"vsl_op_wait_for_result", ANY, 1}},
     true},
    {"ForceDetach",
     {{"iom_state", "2"}},
     Job(Number::OP_FORCE_DETACH),
     0,
     {{"vsl_iom_create_by_name", ANY, 1},
      {"vsl_iom_detach_create", ANY, 1},
      {"vsl_iom_detach_set_force", ANY, 1},
      {"vsl_op_start", ANY, 1},
      {"vsl_op_wait_for_result", ANY, 1}},
     true},
};

INSTANTIATE_TEST_SUITE_P(Flows, FaultSweep, testing::ValuesIn(FLOWS),
                         [](const auto& test) { return std::string(test.param.name); });

std::vector<Flow> FlowsForPairs() {
  std::vector<Flow> flows;
  for (const Flow& flow : FLOWS) {
    if (flow.inPairs) flows.push_back(flow);
  }
  return flows;
}

INSTANTIATE_TEST_SUITE_P(Flows, FaultSweepInPairs, testing::ValuesIn(FlowsForPairs()),
                         [](const auto& test) { return std::string(test.param.name); });

// Startup creates the plug-in, so it has a separate sweep.

const Flow INITIALIZE = {"Initialize",
                         {},
                         [](SimulatedHost& host) { return host.Initialize(); },
                         0,
                         {{"vsl_init", ANY, Number::ERR_API_INITIALIZATION_FAILED},
                          {"vsl_iom_iterate", 1, Number::ERR_NO_SUPPORTED_HARDWARE},
                          {"vsl_has_serial_number", 1, Number::ERR_NO_SUPPORTED_HARDWARE},
                          {"vsl_has_device_path", 1, Number::ERR_NO_SUPPORTED_HARDWARE},
                          {"vsl_device_path", 1, Number::ERR_NO_SUPPORTED_HARDWARE},
                          {"vsl_iom_create_by_name", 1, Number::ERR_NO_SUPPORTED_HARDWARE},
                          {"vsl_open", 1, Number::ERR_NO_SUPPORTED_HARDWARE}},
                         false};

void ExpectSuccessfulStart(SimulatedHost& host) {
  host.m_AdapterIDs.clear();
  host.ClearCalls();
  EXPECT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.m_AdapterIDs.size(), 1U);
  EXPECT_EQ(host.Topology().size(), 3U);
  EXPECT_THAT(HandlesExceptRows(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

// A failed start does not return adapters, and it stops the library.
void SweepStart(const Faults& faults, std::size_t result) {
  SCOPED_TRACE("failing: " + faults.Text());
  SimulatedHost host;
  host.AddCard(0x1006);
  host.ClearCalls();
  faults.Inject();
  EXPECT_EQ(host.Initialize(), result);
  ExpectNoLeaks(faults);
  EXPECT_EQ(host.m_AdapterIDs.size(), result == 0 ? 1U : 0U);
  const std::string last = host.Calls().back();
  EXPECT_EQ(last == "vsl_fini", result == Number::ERR_NO_SUPPORTED_HARDWARE) << last;
  EXPECT_EQ(host.DeInitialize(), 0U);
  host.Release();
  ExpectSuccessfulStart(host);
}

TEST(FaultSweepOfStartup, SurvivesEachCallFailing) {
  std::vector<Step> good;
  {
    SimulatedHost host;
    host.AddCard(0x1006);
    host.ClearCalls();
    ASSERT_EQ(host.Initialize(), 0U);
    good = StepsOf(CardSim::CallLog());
  }
  // The library is initialized twice, followed by one enumeration and one scan.
  ASSERT_GT(good.size(), 100U);
  for (const Step& step : good) {
    if (CanFail(step)) SweepStart({{step}}, ResultAfter(INITIALIZE, step));
  }
}

}  // namespace
}  // namespace CorvaneTest
