// Formatting a drive: the host's parameters, the calls to the card, and the failures.

#include <gmock/gmock.h>

#include <ostream>

#include "hostkit/Inspect.h"
#include "hostkit/Scheduler.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Lines = std::vector<std::string>;
using Parameters = std::vector<PI::CProperty>;

constexpr std::uint64_t DRIVE = 0x0130000000000002;
constexpr std::size_t PRIVATE_EVENT = 2;  // after m_ForceWorker and m_StopRequest

// A parameter is identified by its name.
constexpr std::uint32_t BLOCK_SIZE = PI::Property::BLOCK_SIZE;
constexpr std::uint32_t FORMATTING = PI::Property::FORMATTING;
constexpr std::uint32_t SIZE = PI::Property::SIZE;

PI::CProperty Choice(std::uint32_t name, int value) {
  PI::CProperty parameter(PI::Property::CHOICE_PARAM, true);
  parameter.m_NameID = name;
  parameter.SetValue(value, std::vector<int>{value});
  return parameter;
}

PI::CProperty Range(std::uint32_t name, int value) {
  PI::CProperty parameter(PI::Property::RANGE_PARAM, true);
  parameter.m_NameID = name;
  parameter.SetValue(value, 10, 100, 1);
  return parameter;
}

PI::CProperty Text(std::uint32_t name, const char* value) {
  PI::CProperty parameter(PI::Property::CHOICE_PARAM, true);
  parameter.m_NameID = name;
  parameter.SetValue(value);
  return parameter;
}

PI::CProperty NumberProperty(std::uint32_t name, unsigned long value) {
  PI::CProperty parameter(PI::Property::RANGE_PARAM, true);
  parameter.m_NameID = name;
  parameter.SetValue(value);
  return parameter;
}

// A parameter that is identified by its id instead of its name.
PI::CProperty MisnamedParameter(PI::_PROPERTY_ID id, int value) {
  PI::CProperty parameter(id, true);
  parameter.m_NameID = PI::Property::NAME;
  parameter.SetValue(value, std::vector<int>{value});
  return parameter;
}

// A detached card with a sector size of 4096 bytes (512 to 8192 allowed) and a maximum size of
// 800,000,000,000 bytes, or 900,000,000,000 when over-formatted.
class Format : public testing::Test {
 protected:
  Format() : m_Card(m_Host.AddCard(0x1006)) {
    for (const auto& [attribute, value] :
         {std::pair{"iom_state", "0"}, std::pair{"sector_size_bytes", "4096"},
          std::pair{"iom_format_max_size_bytes", "800000000000"},
          std::pair{"overformat_size_bytes", "900000000000"}}) {
      Set(attribute, value);
    }
  }

  void Set(const char* attribute, const char* value) {
    m_Host.Cards().Set(m_Card, attribute, value);
  }

  void Start() {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    Clear();
  }

  void Clear() {
    m_Host.ClearCalls();
    m_Host.ClearTraces();
  }

  unsigned int Run(Parameters parameters = {}) {
    return m_Host.Run(DRIVE, PI::OP_FORMAT_DEVICE, std::move(parameters));
  }

  // Returns the calls that configure the format job.
  Lines Requests() {
    Lines requests;
    for (const std::string& call : m_Host.Calls()) {
      if (call.find("vsl_iom_format_") == 0 && call != "vsl_iom_format_create card#1") {
        requests.push_back(call);
      }
    }
    return requests;
  }

  static bool WorkerIsWoken() { return HostKit::Events().at(PRIVATE_EVENT).set; }

  SimulatedHost m_Host;
  std::string m_Card;
};

TEST_F(Format, UsesTheSmallestSectorsAndTheFactorySizeByDefault) {
  Set("iom_format_min_sector_size_bytes", "1024");
  Start();
  EXPECT_EQ(Run(), 0U);
  EXPECT_THAT(
      m_Host.Calls(),
      ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
                  "vsl_iom_format_set_sector_size_bytes format#1 1024",
                  "vsl_iom_format_set_size_pct format#1 100", "vsl_op_start format#1",
                  "vsl_op_wait_for_result format#1", "vsl_destroy format#1", "vsl_destroy card#1"));
  EXPECT_THAT(m_Host.TracesWithLevel(2 | 16),
              ElementsAre("2 ENTER ExecutePhysicalDriveOperation()",
                          "2 LEAVE ExecutePhysicalDriveOperation() -> 0"));
  EXPECT_TRUE(WorkerIsWoken());
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "sector_size_bytes"), "1024");
}

TEST_F(Format, WakesTheWorkerOnlyAfterTheCardIsReleased) {
  Start();
  bool wokenBefore = true;
  CardSim::SetHook([&wokenBefore](const CardSim::Call& call) {
    if (call.text() == "vsl_destroy card#1") wokenBefore = WorkerIsWoken();
  });
  EXPECT_EQ(Run(), 0U);
  EXPECT_FALSE(wokenBefore);
  EXPECT_TRUE(WorkerIsWoken());
}

TEST_F(Format, BlocksTheCallerAndHoldsTheDataLockUntilTheCardIsDone) {
  Set("format_ms", "90000");
  Start();
  HostKit::LockView lock{};
  CardSim::SetHook([&lock](const CardSim::Call& call) {
    if (call.function == "vsl_op_wait_for_result") lock = HostKit::Locks().at(0);
  });
  const std::int64_t begin = HostKit::SteadyNowNs();
  EXPECT_EQ(Run(), 0U);
  // The simulator counts some real time toward the progress.
  EXPECT_NEAR(static_cast<double>(HostKit::SteadyNowNs() - begin) / 1e9, 90, 5);
  EXPECT_EQ(lock.depth, 1U);
  EXPECT_EQ(HostKit::Locks().at(0).depth, 0U);
}

struct Request {
  const char* name;
  Parameters parameters;
  const char* sector;   // requested from the card, in bytes
  const char* percent;  // requested from the card
};

std::ostream& operator<<(std::ostream& out, const Request& request) {
  return out << request.name;
}

class FormatRequest : public Format, public testing::WithParamInterface<Request> {};

// The card validates the values, so only the request matters here.
TEST_P(FormatRequest, ReachesTheCard) {
  Start();
  Run(GetParam().parameters);
  const std::string sector = GetParam().sector;
  const std::string percent = GetParam().percent;
  EXPECT_EQ(Requests().at(0), "vsl_iom_format_set_sector_size_bytes format#1 " + sector);
  if (percent.empty()) {
    EXPECT_EQ(Requests().size(), 1U);  // the card rejected the sector size
  } else {
    ASSERT_EQ(Requests().size(), 2U);
    EXPECT_EQ(Requests().at(1), "vsl_iom_format_set_size_pct format#1 " + percent);
  }
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
}

constexpr int CUSTOM = PI::Value::CUSTOM;
constexpr int FACTORY = PI::Value::FACTORY_CAPACITY;
constexpr int IMPROVED = PI::Value::IMPROVED_PERFORMANCE;
constexpr int HIGH = PI::Value::HIGH_PERFORMANCE;

const Request REQUESTS[] = {
    {"Custom50", {Choice(FORMATTING, CUSTOM), Range(SIZE, 50)}, "512", "50"},
    {"Custom50AfterItsSize", {Range(SIZE, 50), Choice(FORMATTING, CUSTOM)}, "512", "50"},
    {"CustomWithoutASize", {Choice(FORMATTING, CUSTOM)}, "512", "100"},
    {"Custom300TruncatedTo44", {Choice(FORMATTING, CUSTOM), Range(SIZE, 300)}, "512", "44"},
    {"Custom255", {Choice(FORMATTING, CUSTOM), Range(SIZE, 255)}, "512", "255"},
    {"Custom256TruncatedTo0", {Choice(FORMATTING, CUSTOM), Range(SIZE, 256)}, "512", "0"},
    {"CustomBelowZeroTruncatedTo255", {Choice(FORMATTING, CUSTOM), Range(SIZE, -1)}, "512", "255"},
    {"CustomBelowItsRange", {Choice(FORMATTING, CUSTOM), Range(SIZE, 1)}, "512", "1"},
    {"Factory50", {Choice(FORMATTING, FACTORY), Range(SIZE, 50)}, "512", "100"},
    {"Improved50", {Choice(FORMATTING, IMPROVED), Range(SIZE, 50)}, "512", "90"},
    {"High50", {Choice(FORMATTING, HIGH), Range(SIZE, 50)}, "512", "80"},
    {"SizeWithoutFormatting", {Range(SIZE, 50)}, "512", "100"},
    {"SizeOfTheWrongKind", {Choice(FORMATTING, CUSTOM), Choice(SIZE, 50)}, "512", "100"},
    {"SizeAsANumber", {Choice(FORMATTING, CUSTOM), NumberProperty(SIZE, 50)}, "512", "100"},
    {"SizeAsAString", {Choice(FORMATTING, CUSTOM), Text(SIZE, "50")}, "512", "100"},
    {"FormattingOfTheWrongKind", {Range(FORMATTING, HIGH)}, "512", "100"},
    {"FormattingAsAString", {Text(FORMATTING, "HIGH_PERFORMANCE")}, "512", "100"},
    {"FormattingTwice", {Choice(FORMATTING, HIGH), Choice(FORMATTING, IMPROVED)}, "512", "90"},
    {"SizeTwice", {Range(SIZE, 20), Choice(FORMATTING, CUSTOM), Range(SIZE, 30)}, "512", "30"},
    {"SizeTwiceOnceOfTheWrongKind",
     {Choice(FORMATTING, CUSTOM), Range(SIZE, 20), Choice(SIZE, 30)},
     "512",
     "20"},
    {"AnUnknownParameter",
     {Choice(PI::Property::NAME, HIGH), Range(PI::Property::POLL_INTERVAL, 20)},
     "512",
     "100"},
    {"AnIdInsteadOfAName", {MisnamedParameter(PI::Property::FORMATTING, HIGH)}, "512", "100"},
    {"SectorsAsARange", {Range(BLOCK_SIZE, 2048)}, "2048", "100"},
    {"SectorsAsARangeBeyondTheCard", {Range(BLOCK_SIZE, 65536)}, "65536", ""},
    {"SectorsAsAString", {Text(BLOCK_SIZE, "2048")}, "512", "100"},
    {"SectorsAsANumber", {NumberProperty(BLOCK_SIZE, 2048)}, "512", "100"},
    {"SectorsOf512", {Choice(BLOCK_SIZE, PI::Value::_512B)}, "512", "100"},
    {"SectorsOf1K", {Choice(BLOCK_SIZE, PI::Value::_1K)}, "1024", "100"},
    {"SectorsOf2K", {Choice(BLOCK_SIZE, PI::Value::_2K)}, "2048", "100"},
    {"SectorsOf4K", {Choice(BLOCK_SIZE, PI::Value::_4K)}, "4096", "100"},
    {"SectorsOf8K", {Choice(BLOCK_SIZE, PI::Value::_8K)}, "8192", "100"},
    {"SectorSizeUnknown",
     {Choice(BLOCK_SIZE, PI::Value::_8K), Choice(BLOCK_SIZE, PI::Value::_8K + 1)},
     "512",
     "100"},
    {"SectorSizeTwice",
     {Choice(BLOCK_SIZE, PI::Value::_2K), Range(BLOCK_SIZE, 4096)},
     "4096",
     "100"},
    {"SectorSizeTwiceReversed",
     {Range(BLOCK_SIZE, 4096), Choice(BLOCK_SIZE, PI::Value::_2K)},
     "2048",
     "100"},
    {"AllParameters",
     {Choice(FORMATTING, CUSTOM), Range(SIZE, 75), Choice(BLOCK_SIZE, PI::Value::_4K)},
     "4096",
     "75"},
};

INSTANTIATE_TEST_SUITE_P(Parameters, FormatRequest, testing::ValuesIn(REQUESTS),
                         [](const auto& test) { return std::string(test.param.name); });

struct Capacity {
  const char* name;
  int formatting;
  Lines ordinary;    // size requests if the card disallows over-formatting
  Lines overformat;  // size requests if the card allows it
};

std::ostream& operator<<(std::ostream& out, const Capacity& capacity) {
  return out << capacity.name;
}

class FormatCapacity : public Format, public testing::WithParamInterface<Capacity> {
 protected:
  Lines SizeRequests() {
    Lines requests = Requests();
    if (!requests.empty()) requests.erase(requests.begin());
    return requests;
  }
};

TEST_P(FormatCapacity, IsLimitedWithoutOverformatting) {
  Set("iom_format_disallow_overformat", "true");
  Start();
  EXPECT_EQ(Run({Choice(FORMATTING, GetParam().formatting), Range(SIZE, 60)}), 0U);
  EXPECT_THAT(SizeRequests(), ElementsAreArray(GetParam().ordinary));
}

TEST_P(FormatCapacity, UsesOverformattingWhenAllowed) {
  Set("iom_format_disallow_overformat", "false");
  Start();
  EXPECT_EQ(Run({Choice(FORMATTING, GetParam().formatting), Range(SIZE, 60)}), 0U);
  EXPECT_THAT(SizeRequests(), ElementsAreArray(GetParam().overformat));
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

const Capacity CAPACITIES[] = {
    {"Maximum",
     PI::Value::MAXIMUM_CAPACITY,
     {"vsl_iom_format_set_size_pct format#1 100"},
     {"vsl_iom_format_set_size_mode format#1 11", "vsl_iom_format_max_size_bytes format#1",
      "vsl_iom_format_set_size_bytes format#1 900000000000"}},
    {"Factory",
     PI::Value::FACTORY_CAPACITY,
     {"vsl_iom_format_set_size_pct format#1 100"},
     {"vsl_iom_format_set_size_pct format#1 100"}},
    {"Improved",
     PI::Value::IMPROVED_PERFORMANCE,
     {"vsl_iom_format_set_size_pct format#1 90"},
     {"vsl_iom_format_set_size_pct format#1 90"}},
    {"High",
     PI::Value::HIGH_PERFORMANCE,
     {"vsl_iom_format_set_size_pct format#1 80"},
     {"vsl_iom_format_set_size_pct format#1 80"}},
    {"Custom",
     PI::Value::CUSTOM,
     {"vsl_iom_format_set_size_pct format#1 60"},
     {"vsl_iom_format_set_size_pct format#1 60"}},
    {"Unknown",
     PI::Value::HIGH_PERFORMANCE + 1,
     {"vsl_iom_format_set_size_pct format#1 100"},
     {"vsl_iom_format_set_size_pct format#1 100"}},
    {"Undefined",
     PI::Property::UNDEFINED,
     {"vsl_iom_format_set_size_pct format#1 100"},
     {"vsl_iom_format_set_size_pct format#1 100"}},
};

INSTANTIATE_TEST_SUITE_P(Formattings, FormatCapacity, testing::ValuesIn(CAPACITIES),
                         [](const auto& test) { return std::string(test.param.name); });

// A card-library call that fails during a format.
struct Failure {
  const char* name;
  int formatting;
  const char* function;
  std::uint32_t result;
  Lines traces;  // trace lines of the card library's level
  Lines calls;
};

std::ostream& operator<<(std::ostream& out, const Failure& failure) {
  return out << failure.name;
}

class FormatFailure : public Format, public testing::WithParamInterface<Failure> {};

TEST_P(FormatFailure, FailsOrFallsBack) {
  Start();
  CardSim::FailCall(GetParam().function, 1, 91, "failed");
  EXPECT_EQ(Run({Choice(FORMATTING, GetParam().formatting)}), GetParam().result);
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(GetParam().calls));
  EXPECT_THAT(m_Host.TracesWithLevel(16), ElementsAreArray(GetParam().traces));
  EXPECT_EQ(m_Host.Traces(2).back(),
            "LEAVE ExecutePhysicalDriveOperation() -> " + std::to_string(GetParam().result));
  EXPECT_EQ(WorkerIsWoken(), GetParam().result == 0);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
  EXPECT_EQ(HostKit::Locks().at(0).depth, 0U);
}

TEST_P(FormatFailure, DoesNotAffectTheNextFormat) {
  Start();
  CardSim::FailCall(GetParam().function, 1, 91, "failed");
  Run({Choice(FORMATTING, GetParam().formatting)});
  EXPECT_EQ(Run({Choice(FORMATTING, GetParam().formatting)}), 0U);
  EXPECT_EQ(m_Host.Cards().Get(m_Card, "iom_state"), "0");
}

const Failure FAILURES[] = {
    {"CreateByName",
     PI::Value::FACTORY_CAPACITY,
     "vsl_iom_create_by_name",
     Number::ERR_COMMAND_ERROR,
     {"16 ExecutePhysicalDriveOperation, vsl_iom_create_by_name = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0"}},
    {"CreateFormat",
     PI::Value::FACTORY_CAPACITY,
     "vsl_iom_format_create",
     Number::ERR_COMMAND_ERROR,
     {"16 ExecutePhysicalDriveOperation, vsl_iom_format_create = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1", "vsl_destroy card#1"}},
    {"Sectors",
     PI::Value::FACTORY_CAPACITY,
     "vsl_iom_format_set_sector_size_bytes",
     Number::ERR_COMMAND_ERROR,
     {"16 ExecutePhysicalDriveOperation, vsl_iom_format_set_sector_size_bytes = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
      "vsl_iom_format_set_sector_size_bytes format#1 512", "vsl_destroy format#1",
      "vsl_destroy card#1"}},
    {"Percent",
     PI::Value::FACTORY_CAPACITY,
     "vsl_iom_format_set_size_pct",
     Number::ERR_COMMAND_ERROR,
     {"16 ExecutePhysicalDriveOperation, vsl_iom_format_set_size_pct = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
      "vsl_iom_format_set_sector_size_bytes format#1 512",
      "vsl_iom_format_set_size_pct format#1 100", "vsl_destroy format#1", "vsl_destroy card#1"}},
    // Without the mode, the card is formatted to its regular size.
    {"SizeMode",
     PI::Value::MAXIMUM_CAPACITY,
     "vsl_iom_format_set_size_mode",
     0,
     {"16 ExecutePhysicalDriveOperation, vsl_iom_format_set_size_mode = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
      "vsl_iom_format_set_sector_size_bytes format#1 512",
      "vsl_iom_format_set_size_mode format#1 11", "vsl_iom_format_set_size_pct format#1 100",
      "vsl_op_start format#1", "vsl_op_wait_for_result format#1", "vsl_destroy format#1",
      "vsl_destroy card#1"}},
    {"MaximumSize",
     PI::Value::MAXIMUM_CAPACITY,
     "vsl_iom_format_max_size_bytes",
     0,
     {},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
      "vsl_iom_format_set_sector_size_bytes format#1 512",
      "vsl_iom_format_set_size_mode format#1 11", "vsl_iom_format_max_size_bytes format#1",
      "vsl_iom_format_set_size_pct format#1 100", "vsl_op_start format#1",
      "vsl_op_wait_for_result format#1", "vsl_destroy format#1", "vsl_destroy card#1"}},
    {"Bytes",
     PI::Value::MAXIMUM_CAPACITY,
     "vsl_iom_format_set_size_bytes",
     Number::ERR_COMMAND_ERROR,
     {"16 ExecutePhysicalDriveOperation, vsl_iom_format_set_size_bytes = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
      "vsl_iom_format_set_sector_size_bytes format#1 512",
      "vsl_iom_format_set_size_mode format#1 11", "vsl_iom_format_max_size_bytes format#1",
      "vsl_iom_format_set_size_bytes format#1 900000000000", "vsl_destroy format#1",
      "vsl_destroy card#1"}},
    {"Start",
     PI::Value::FACTORY_CAPACITY,
     "vsl_op_start",
     Number::ERR_COMMAND_ERROR,
     {"16 ExecutePhysicalDriveOperation, vsl_op_start = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
      "vsl_iom_format_set_sector_size_bytes format#1 512",
      "vsl_iom_format_set_size_pct format#1 100", "vsl_op_start format#1", "vsl_destroy format#1",
      "vsl_destroy card#1"}},
    {"WaitForResult",
     PI::Value::FACTORY_CAPACITY,
     "vsl_op_wait_for_result",
     Number::ERR_COMMAND_ERROR,
     {"16 ExecutePhysicalDriveOperation, vsl_op_wait_for_result = 91 (failed)"},
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_format_create card#1",
      "vsl_iom_format_set_sector_size_bytes format#1 512",
      "vsl_iom_format_set_size_pct format#1 100", "vsl_op_start format#1",
      "vsl_op_wait_for_result format#1", "vsl_destroy format#1", "vsl_destroy card#1"}},
};

INSTANTIATE_TEST_SUITE_P(Calls, FormatFailure, testing::ValuesIn(FAILURES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(Format, FailsWhenTheFallbackAlsoFails) {
  Start();
  CardSim::FailCall("vsl_iom_format_set_size_mode", 1, 92, "no modes");
  CardSim::FailCall("vsl_iom_format_set_size_pct", 1, 93, "no sizes");
  EXPECT_EQ(Run({Choice(FORMATTING, PI::Value::MAXIMUM_CAPACITY)}), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(m_Host.TracesWithLevel(16),
              ElementsAre("16 ExecutePhysicalDriveOperation, vsl_iom_format_set_size_mode = 92 "
                          "(no modes)",
                          "16 ExecutePhysicalDriveOperation, vsl_iom_format_set_size_pct = 93 "
                          "(no sizes)"));
}

TEST_F(Format, IsRejectedByAnAttachedCard) {
  Set("iom_state", "2");
  Start();
  EXPECT_EQ(Run(), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(m_Host.TracesWithLevel(16),
              ElementsAre("16 ExecutePhysicalDriveOperation, vsl_op_start = 6 "
                          "(not possible in state attached)"));
}

TEST_F(Format, DoesNotQueueAnEvent) {
  Start();
  EXPECT_EQ(Run(), 0U);
  CardSim::FailCall("vsl_op_start", 1, 94, "no");
  EXPECT_EQ(Run(), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(m_Host.CollectEvents(), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
