// Initialize: its card calls and their order, its results, and the state after a failed step.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

#include "hostkit/Inspect.h"
#include "tests/plugin/ScanView.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

// The result, output and duration of one call to `Initialize`.
struct Outcome {
  unsigned int result = 0;
  std::string printed;
  unsigned long elapsedMs = 0;
};

Outcome RunInitialize(SimulatedHost& host) {
  Outcome outcome;
  host.ClearTraces();
  testing::internal::CaptureStdout();
  outcome.elapsedMs = ElapsedMs([&] { outcome.result = host.Initialize(); });
  outcome.printed = testing::internal::GetCapturedStdout();
  return outcome;
}

constexpr const char* ZERO_ADAPTERS_LINE = "Corvane:  Initialize:  adapter count is 0\n";

class Initialize : public testing::Test {
 protected:
  void AddCards(int count) {
    for (int i = 0; i < count; ++i) m_Host.AddCard();
  }
  Outcome Run() { return RunInitialize(m_Host); }
  std::vector<PI::CObject> Objects() { return m_Host.Topology(); }

  SimulatedHost m_Host;
};

// Initializing the locks and events.

struct InitFailure {
  const char* name;
  void (*fail)(std::size_t ordinal);
  std::size_t ordinal;      // which initialization fails, starting at 1
  std::size_t usableLocks;  // locks and events initialized before the failing one
  std::size_t usableEvents;
};

void PrintTo(const InitFailure& value, std::ostream* stream) {
  *stream << value.name;
}

template <class View>
std::size_t Usable(const std::vector<View>& views) {
  return static_cast<std::size_t>(
      std::count_if(views.begin(), views.end(), [](const View& each) { return each.initialized; }));
}

class InitializeLockOrEventFailure : public testing::TestWithParam<InitFailure> {};

TEST_P(InitializeLockOrEventFailure, FailsImmediatelyAndTracesTheNameOfTheLockOrEvent) {
  SimulatedHost host;
  host.AddCard();
  GetParam().fail(GetParam().ordinal);
  const Outcome outcome = RunInitialize(host);
  EXPECT_EQ(outcome.result, Number::ERR_LOCK_INITIALIZATION_FAILED);
  EXPECT_EQ(outcome.printed, "");
  EXPECT_EQ(outcome.elapsedMs, 0U);
  EXPECT_THAT(host.Calls(), IsEmpty());
  EXPECT_THAT(TracesWithLevel(host),
              ElementsAre(std::string("2 LEAVE Initialize() ") + GetParam().name +
                          ".Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED 20011"));
  EXPECT_EQ(Usable(HostKit::Locks()), GetParam().usableLocks);
  EXPECT_EQ(Usable(HostKit::Events()), GetParam().usableEvents);
}

constexpr InitFailure INIT_FAILURES[] = {
    {"m_DataLock", HostKit::FailLockInit, 1, 0, 0},
    {"m_PrivateEventsLock", HostKit::FailLockInit, 2, 1, 0},
    {"m_ForceWorker", HostKit::FailEventInit, 1, 2, 0},
    {"m_StopRequest", HostKit::FailEventInit, 2, 2, 1},
    {"m_PrivateEvent", HostKit::FailEventInit, 3, 2, 2},
};

INSTANTIATE_TEST_SUITE_P(Step, InitializeLockOrEventFailure, testing::ValuesIn(INIT_FAILURES),
                         [](const auto& test) { return test.param.name; });

TEST_F(Initialize, LeavesOneManualResetAndTwoAutoResetEventsUnset) {
  AddCards(1);
  ASSERT_EQ(Run().result, 0U);
  const std::vector<HostKit::EventView> events = HostKit::Events();
  ASSERT_EQ(events.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(events[i].initialized);
    EXPECT_FALSE(events[i].set);
    EXPECT_EQ(events[i].manualReset, i == 1);
  }
}

// Looking for supported cards on the PCI bus.

TEST_F(Initialize, DoesNotStartTheLibraryWithoutACardOnThePciBus) {
  const Outcome outcome = Run();
  EXPECT_EQ(outcome.result, Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_EQ(outcome.printed, ZERO_ADAPTERS_LINE);
  EXPECT_EQ(outcome.elapsedMs, 0U);
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_THAT(TracesWithLevel(m_Host),
              ElementsAre("2 LEAVE Initialize() -> PI::ERR_NO_SUPPORTED_HARDWARE"));
  EXPECT_THAT(m_Host.m_AdapterIDs, IsEmpty());
}

TEST(InitializeDeviceIds, AcceptsOnlySupportedFamilies) {
  const std::uint16_t accepted[] = {0x1000, 0x1003, 0x1005, 0x1006, 0x1007,
                                    0x1008, 0x2001, 0x3001, 0x3002};
  for (const std::uint16_t id : accepted) {
    SimulatedHost host;
    host.AddCard(id);
    EXPECT_EQ(host.Initialize(), 0U) << id << " is not in Corvane/Src/CardTables.h";
  }
  const std::uint16_t rejected[] = {0x1001, 0x1002, 0x1004, 0x1009, 0x2000, 0x2002, 0x3000, 0x3003};
  for (const std::uint16_t id : rejected) {
    SimulatedHost host;
    host.AddCard(id);
    EXPECT_EQ(host.Initialize(), Number::ERR_NO_SUPPORTED_HARDWARE)
        << id << " is in Corvane/Src/CardTables.h, but not in the accepted ids of this test";
  }
}

TEST_F(Initialize, RejectsDevicesOfOtherVendors) {
  AddCards(1);
  std::ofstream(m_Host.Directory() / "sys/bus/pci/devices/0000:03:00.0/vendor") << "0x8086\n";
  EXPECT_EQ(Run().result, Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

// Starting the card library.

struct StartCase {
  const char* name;
  unsigned int notReady;  // how often vsl_init returns 27
  unsigned int result;
  unsigned long elapsedMs;
};

void PrintTo(const StartCase& value, std::ostream* stream) {
  *stream << value.name;
}

class InitializeNotReady : public testing::TestWithParam<StartCase> {};

// Each rejected start adds a second. A startup without one takes 1,012 ms: the pause between the
// two starts of the library, and the samples of the masks.
TEST_P(InitializeNotReady, RetriesEverySecondForAMinute) {
  SimulatedHost host;
  host.AddCard();
  CardSim::FailCall("vsl_init", 1, 27, "not yet", GetParam().notReady);
  const Outcome outcome = RunInitialize(host);
  EXPECT_EQ(outcome.result, GetParam().result);
  EXPECT_EQ(outcome.elapsedMs, GetParam().elapsedMs);
  const bool good = GetParam().result == 0;
  Lines start(GetParam().notReady + (good ? 1 : 0), "vsl_init");
  if (good) start.insert(start.end(), {"vsl_fini", "vsl_init"});
  Lines calls = host.Calls();
  if (good) calls.resize(start.size());
  EXPECT_THAT(calls, ElementsAreArray(start));
}

constexpr StartCase START_CASES[] = {
    // name, rejected starts, result, milliseconds
    {"Never", 0, 0, 1012},
    {"Once", 1, 0, 2012},
    {"TenTimes", 10, 0, 11012},
    {"FiftyNineTimes", 59, 0, 60012},
    {"SixtyTimes", 60, 0, 61012},
    {"SixtyOneTimes", 61, Number::ERR_API_INITIALIZATION_FAILED, 60000},
};

INSTANTIATE_TEST_SUITE_P(Rejected, InitializeNotReady, testing::ValuesIn(START_CASES),
                         [](const auto& test) { return test.param.name; });

TEST_F(Initialize, GivesUpOnALibraryThatIsNeverReady) {
  AddCards(1);
  CardSim::FailCall("vsl_init", 1, 27, "not yet", 1000);
  const Outcome outcome = Run();
  EXPECT_EQ(outcome.result, Number::ERR_API_INITIALIZATION_FAILED);
  EXPECT_EQ(outcome.printed, ZERO_ADAPTERS_LINE);
  EXPECT_EQ(m_Host.Calls().size(), 61U);
  EXPECT_THAT(TracesWithLevel(m_Host),
              ElementsAre("16 Initialize, vsl_init = 27 (not yet)",
                          "2 LEAVE Initialize() -> PI::ERR_API_INITIALIZATION_FAILED"));
}

TEST(InitializeRetry, TreatsAnyOtherCodeAsFinal) {
  for (const std::uint64_t code : {1UL, 26UL, 28UL, 0x1BUL + (1UL << 32U)}) {
    SimulatedHost host;
    host.AddCard();
    CardSim::FailCall("vsl_init", 1, code, "broken");
    const Outcome outcome = RunInitialize(host);
    EXPECT_EQ(outcome.result, Number::ERR_API_INITIALIZATION_FAILED);
    EXPECT_EQ(outcome.printed, ZERO_ADAPTERS_LINE);
    EXPECT_EQ(outcome.elapsedMs, 0U);
    EXPECT_THAT(host.Calls(), ElementsAre("vsl_init"));
    EXPECT_THAT(host.Traces(16),
                ElementsAre("Initialize, vsl_init = " + std::to_string(code) + " (broken)"));
  }
}

TEST_F(Initialize, TreatsAnotherCodeAfterRetriesAsFinal) {
  AddCards(1);
  CardSim::FailCall("vsl_init", 1, 27, "not yet", 3);
  CardSim::FailCall("vsl_init", 4, 5, "broken");
  const Outcome outcome = Run();
  EXPECT_EQ(outcome.result, Number::ERR_API_INITIALIZATION_FAILED);
  EXPECT_EQ(outcome.elapsedMs, 3000U);
  EXPECT_THAT(m_Host.Traces(16), ElementsAre("Initialize, vsl_init = 5 (broken)"));
}

TEST(InitializeRetry, DoesNotRetryTheSecondStart) {
  for (const std::uint64_t code : {27UL, 5UL}) {
    SimulatedHost host;
    host.AddCard();
    CardSim::FailCall("vsl_init", 2, code, "again");
    const Outcome outcome = RunInitialize(host);
    EXPECT_EQ(outcome.result, Number::ERR_API_INITIALIZATION_FAILED);
    EXPECT_EQ(outcome.printed, ZERO_ADAPTERS_LINE);
    EXPECT_EQ(outcome.elapsedMs, 1000U);
    EXPECT_THAT(host.Calls(), ElementsAre("vsl_init", "vsl_fini", "vsl_init"));
    EXPECT_THAT(TracesWithLevel(host),
                ElementsAre("16 Initialize, vsl_init = " + std::to_string(code) + " (again)",
                            "2 LEAVE Initialize() -> PI::ERR_API_INITIALIZATION_FAILED"));
  }
}

// Enumerating the cards.

TEST_F(Initialize, SkipsCardsWithoutSerialNumberOrPath) {
  AddCards(3);
  m_Host.Cards().MakeAbsent("card0", "serial_number");
  m_Host.Cards().MakeAbsent("card1", "device_path");
  const Outcome outcome = Run();
  EXPECT_EQ(outcome.result, 0U);
  EXPECT_EQ(outcome.printed, "Corvane:  Initialize:  adapter count is 1\n");
  EXPECT_EQ(ShownValue(m_Host, m_Host.AdapterId(0), PI::Property::ADAPTER_NUMBER), "0");
  EXPECT_EQ(ShownValue(m_Host, m_Host.AdapterId(0), PI::Property::OS_DEVICE), "/dev/fct2");
  Lines calls = m_Host.Calls();
  calls.resize(14);
  EXPECT_THAT(calls,
              ElementsAre("vsl_init", "vsl_fini", "vsl_init",                                //
                          "vsl_iom_iterate null", "vsl_has_serial_number iterated#1",        //
                          "vsl_iom_iterate iterated#1", "vsl_has_serial_number iterated#2",  //
                          "vsl_has_device_path iterated#2", "vsl_iom_iterate iterated#2",    //
                          "vsl_has_serial_number iterated#3", "vsl_has_device_path iterated#3",
                          "vsl_device_path iterated#3", "vsl_iom_iterate iterated#3",
                          "vsl_iom_create_by_name /dev/fct2"));
}

TEST_F(Initialize, StopsTheLibraryWithoutAUsableCard) {
  AddCards(1);
  m_Host.Cards().MakeAbsent("card0", "serial_number");
  const Outcome outcome = Run();
  EXPECT_EQ(outcome.result, Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_EQ(outcome.printed, ZERO_ADAPTERS_LINE);
  EXPECT_THAT(m_Host.m_AdapterIDs, IsEmpty());
  EXPECT_THAT(
      m_Host.Calls(),
      ElementsAre("vsl_init", "vsl_fini", "vsl_init", "vsl_iom_iterate null",
                  "vsl_has_serial_number iterated#1", "vsl_iom_iterate iterated#1", "vsl_fini"));
}

TEST_F(Initialize, StopsTheLibraryIfItHasNoCard) {
  AddCards(1);
  m_Host.Cards().RemoveCard("card0");
  EXPECT_EQ(Run().result, Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(m_Host.Calls(),
              ElementsAre("vsl_init", "vsl_fini", "vsl_init", "vsl_iom_iterate null", "vsl_fini"));
}

// The first scan.

TEST_F(Initialize, ReturnsOneEntryPerAdapter) {
  AddCards(2);
  m_Host.Cards().Set("card1", "pci_domain", "5");
  m_Host.Cards().Set("card1", "pci_device", "6");
  m_Host.Cards().Set("card1", "pci_function", "7");
  ASSERT_EQ(Run().result, 0U);
  ASSERT_EQ(m_Host.m_AdapterIDs.size(), 2U);
  const PI::CAdapterID& id = m_Host.m_AdapterIDs[1];
  EXPECT_EQ(id.m_Name, "");
  EXPECT_EQ(id.m_Segment, 5U);
  EXPECT_EQ(id.m_Bus, 4U);
  EXPECT_EQ(id.m_Device, 6U);
  EXPECT_EQ(id.m_Function, 7U);
  EXPECT_EQ(id.m_AdapterNumber, 1U);
  EXPECT_EQ(id.m_GlobalNumber, -1);
  EXPECT_EQ(m_Host.m_AdapterIDs[0].m_AdapterNumber, 0U);
}

TEST_F(Initialize, AppendsToTheHostsList) {
  AddCards(1);
  m_Host.m_AdapterIDs.resize(2);
  ASSERT_EQ(Run().result, 0U);
  EXPECT_EQ(m_Host.m_AdapterIDs.size(), 3U);
}

TEST_F(Initialize, TracesItsScanAndItsExit) {
  AddCards(2);
  const Outcome outcome = Run();
  EXPECT_EQ(outcome.result, 0U);
  EXPECT_EQ(outcome.printed, "Corvane:  Initialize:  adapter count is 2\n");
  EXPECT_THAT(
      TracesWithLevel(m_Host),
      IsSupersetOf({"8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                    "2 ENTER ScanSystem(1) PhyDrive=0", "2 LEAVE ScanSystem() -> 0",
                    "16 ScanSystem() ret = 0 m_PhysicalDrives=2", "2 LEAVE Initialize() -> 0"}));
  EXPECT_EQ(TracesWithLevel(m_Host).back(), "2 LEAVE Initialize() -> 0");
}

// Two control devices; one of them has no adapter.
TEST_F(Initialize, PrintsTheNumberOfAdaptersNotOfDevices) {
  AddCards(2);
  CardSim::FailCall("vsl_iom_create_by_name", 1, 9, "gone");
  const Outcome outcome = Run();
  EXPECT_EQ(outcome.result, 0U);
  EXPECT_EQ(outcome.printed, "Corvane:  Initialize:  adapter count is 1\n");
  EXPECT_EQ(ShownValue(m_Host, m_Host.AdapterId(0), PI::Property::ADAPTER_NUMBER), "1");
}

TEST_F(Initialize, PrintsTheCountEvenWithoutTraces) {
  AddCards(1);
  HostKit::SetTraceMask(0);
  EXPECT_EQ(Run().printed, "Corvane:  Initialize:  adapter count is 1\n");
  EXPECT_THAT(m_Host.Traces(), IsEmpty());
}

TEST_F(Initialize, HoldsTheDataLockForTheScanAndReleasesIt) {
  AddCards(1);
  std::vector<unsigned int> depths;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function == "vsl_iom_iterate" || call.function == "vsl_open") {
      depths.push_back(HostKit::Locks()[0].depth);
    }
  });
  ASSERT_EQ(Run().result, 0U);
  EXPECT_THAT(depths, ElementsAre(0, 0, 1));
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.depth, 0U);
}

TEST_F(Initialize, DoesNotStartAThread) {
  AddCards(1);
  ASSERT_EQ(Run().result, 0U);
  EXPECT_THAT(HostKit::Threads(), IsEmpty());
}

// Expects a start that failed in its scan, stopped the library and left only the plug-in object.
void ExpectCleanFailure(SimulatedHost& host, const Outcome& outcome) {
  EXPECT_EQ(outcome.result, Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_EQ(outcome.printed, ZERO_ADAPTERS_LINE);
  EXPECT_THAT(host.m_AdapterIDs, IsEmpty());
  EXPECT_EQ(host.Calls().back(), "vsl_fini");
  EXPECT_EQ(TracesWithLevel(host).back(), "2 LEAVE Initialize() -> 20001");
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_EQ(HostKit::Locks()[0].depth, 0U);
  const std::vector<PI::CObject> objects = host.Topology();
  ASSERT_EQ(objects.size(), 1U);
  EXPECT_EQ(Render(objects[0]), "object 0130000000000000 type 19006 parents children");
  EXPECT_EQ(objects[0].m_ChangeCount, 1U);
}

TEST_F(Initialize, FailsWhenACardCannotBeOpened) {
  AddCards(1);
  CardSim::FailCall("vsl_open", 1, 7, "no");
  const Outcome outcome = Run();
  EXPECT_THAT(TracesWithLevel(m_Host),
              IsSupersetOf({"16 ScanSystem, vsl_open = 7 (no)",
                            "16 ScanSystem() ret = 20003 m_PhysicalDrives=0"}));
  EXPECT_THAT(TracesWithLevel(m_Host), Not(Contains("2 LEAVE ScanSystem() -> 0")));
  ExpectCleanFailure(m_Host, outcome);
}

TEST_F(Initialize, DestroysTheHandleOfACardThatCannotBeOpened) {
  AddCards(2);
  CardSim::FailCall("vsl_open", 1, 7, "no");
  ASSERT_EQ(Run().result, Number::ERR_NO_SUPPORTED_HARDWARE);
  const Lines calls = m_Host.Calls();
  const Lines tail(calls.end() - 4, calls.end());
  EXPECT_THAT(tail, ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                                "vsl_destroy card#1", "vsl_fini"));
}

TEST_F(Initialize, DiscardsTheCardsScannedBeforeOneThatCannotBeOpened) {
  AddCards(2);
  CardSim::FailCall("vsl_open", 2, 7, "no");
  const Outcome outcome = Run();
  EXPECT_THAT(m_Host.Traces(16), Contains("ScanSystem() ret = 20003 m_PhysicalDrives=1"));
  ExpectCleanFailure(m_Host, outcome);
}

TEST_F(Initialize, FailsWhenNoCardHandleCanBeCreated) {
  AddCards(2);
  CardSim::FailCall("vsl_iom_create_by_name", 1, 9, "gone", 2);
  const Outcome outcome = Run();
  EXPECT_EQ(Count(m_Host.Traces(16), "ScanSystem, vsl_iom_create_by_name = 9 (gone)"), 2);
  EXPECT_THAT(
      TracesWithLevel(m_Host),
      IsSupersetOf({"2 LEAVE ScanSystem() -> 0", "16 ScanSystem() ret = 0 m_PhysicalDrives=0"}));
  ExpectCleanFailure(m_Host, outcome);
}

}  // namespace
}  // namespace CorvaneTest
