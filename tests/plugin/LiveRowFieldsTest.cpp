// The fields of a drive's row that are read from the card when the row is written, and the calls
// that read them; and the calls for an adapter's row, whose results are not used.

#include "tests/support/RangeSeam.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

const Cells LIVE_COLUMNS = {
    "pd_end_of_life_date=",         "pd_hours_of_use=",    "pd_rated_endurance_percent=",
    "pd_remaining_reserve=",        "pd_bytes_read_ki_b=", "pd_bytes_written_ki_b=",
    "pd_writes_remaining_percent=", "pd_write_throttling="};

// The cells of the live columns.
Cells LiveCells(const Cells& row) {
  Cells live;
  for (const std::string& cell : row) {
    for (const std::string& column : LIVE_COLUMNS) {
      if (cell.rfind(column, 0) == 0) live.push_back(cell);
    }
  }
  return live;
}

struct Case {
  const char* name;
  Settings settings;
  Cells live;
};

void PrintTo(const Case& value, std::ostream* out) {
  *out << value.name;
}

std::string NameOfCase(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

class LiveRowFields : public testing::TestWithParam<Case> {};

TEST_P(LiveRowFields, AreReadFromTheCard) {
  OneCard host(PlainCard());
  const ScopedDatabase database;
  host.Set(GetParam().settings);
  ASSERT_EQ(host.Initialize(), 0U);
  ASSERT_THAT(DriveRows(), SizeIs(1));
  EXPECT_THAT(LiveCells(DriveRows()[0]), ElementsAreArray(GetParam().live));
  EXPECT_THAT(DriveRows()[0], IsSupersetOf({"pd_serial_number=S100", "pd_reserve_warning=12"}));
}

// The values are in the order of the columns: end of life, hours of use, endurance, reserve, bytes
// read and written, remaining writes, throttling.
Cells Live(const char* date, const char* hours, const char* endurance, const char* reserve,
           const char* read, const char* written, const char* remaining, const char* throttling) {
  const char* values[] = {date, hours, endurance, reserve, read, written, remaining, throttling};
  Cells cells;
  for (std::size_t i = 0; i < LIVE_COLUMNS.size(); ++i) {
    if (values[i] != nullptr) cells.push_back(LIVE_COLUMNS[i] + values[i]);
  }
  return cells;
}

constexpr const char* READ = "2147483648";
constexpr const char* WRITTEN = "10737418240.0";
constexpr const char* NO_THROTTLING = "40252";

// A fifth of the rating used up in 8760 hours leaves 35,040 hours, or 1460 days.
INSTANTIATE_TEST_SUITE_P(
    Present, LiveRowFields,
    testing::Values(
        Case{"AllOfThem",
             {},
             Live("2029-12-31", "8760", "10", "97.0", READ, WRITTEN, "80", NO_THROTTLING)},
        Case{"NoBytesRead",
             {{"total_physical_bytes_read", "1023"}},
             Live("2029-12-31", "8760", "10", "97.0", "0", WRITTEN, "80", NO_THROTTLING)},
        // The counter is read without a query for its presence.
        Case{"NoReadCounter",
             {{"total_physical_bytes_read", nullptr}},
             Live("2029-12-31", "8760", "10", "97.0", "0", WRITTEN, "80", NO_THROTTLING)},
        // The hours wrap around, and their low 32 bits are kept.
        Case{"FirstUsedInTheFuture",
             {{"first_use_ts", "1798761600"}},
             Live("9025-12-01", "199583142", "10", "97.0", READ, WRITTEN, "80", NO_THROTTLING)},
        // A double that prints as 0.000000 is stored as NULL.
        Case{"NoBytesWritten",
             {{"total_physical_bytes_written", "0"}},
             Live("2029-12-31", "8760", "0", "97.0", READ, nullptr, "80", NO_THROTTLING)},
        Case{"WornOut",
             {{"rated_writes_remaining_percent", "0.0"}},
             Live("2026-01-01", "8760", "10", "97.0", READ, WRITTEN, "0", NO_THROTTLING)},
        Case{"WornOutBelowZero",
             {{"rated_writes_remaining_percent", "-5.9"}},
             Live("2026-01-01", "8760", "10", "97.0", READ, WRITTEN, "-5", NO_THROTTLING)},
        Case{
            "BeyondTheRating",
            {{"total_physical_bytes_written", "274877906944000"}},
            Live("2026-01-01", "8760", "250", "97.0", READ, "268435456000.0", "80", NO_THROTTLING)},
        // One byte below 1 %.
        Case{"AlmostOnePercent",
             {{"total_physical_bytes_written", "1099511627775"}},
             Live("2029-12-31", "8760", "0", "97.0", READ, "1073741823.0", "80", NO_THROTTLING)},
        Case{"OnePercent",
             {{"total_physical_bytes_written", "1099511627776"}},
             Live("2029-12-31", "8760", "1", "97.0", READ, "1073741824.0", "80", NO_THROTTLING)},
        // With a rating of 0, only the percentage is left out.
        Case{"RatingOfZero",
             {{"rated_endurance_tbytes", "0"}},
             Live("2029-12-31", "8760", nullptr, "97.0", READ, WRITTEN, "80", NO_THROTTLING)},
        Case{"NoReserve",
             {{"reserve_space_pct", nullptr}},
             Live("2029-12-31", "8760", "10", nullptr, READ, WRITTEN, "80", NO_THROTTLING)},
        Case{"ReserveUsedUp",
             {{"reserve_space_pct", "0.9"}},
             Live("2029-12-31", "8760", "10", nullptr, READ, WRITTEN, "80", NO_THROTTLING)},
        Case{"ReserveAboveItsRange",
             {{"reserve_space_pct", "104.5"}},
             Live("2029-12-31", "8760", "10", "104.0", READ, WRITTEN, "80", NO_THROTTLING)},
        // 90 minutes before the first scan.
        Case{"HoursRoundedDown",
             {{"first_use_ts", "1767220200"}},
             Live("2026-01-01", "1", "10", "97.0", READ, WRITTEN, "80", NO_THROTTLING)},
        Case{"Throttled",
             {{"write_throttling_state", "2"}},
             Live("2029-12-31", "8760", "10", "97.0", READ, WRITTEN, "80", "40411")}),
    NameOfCase);

INSTANTIATE_TEST_SUITE_P(
    Absent, LiveRowFields,
    testing::Values(Case{"NoFirstUse", {{"first_use_ts", nullptr}}, {}},
                    Case{"NoRating", {{"rated_endurance_tbytes", nullptr}}, {}},
                    Case{"NoWriteCounter", {{"total_physical_bytes_written", nullptr}}, {}},
                    Case{"NoRemainingWrites", {{"rated_writes_remaining_percent", nullptr}}, {}}),
    NameOfCase);

class RowCalls : public testing::Test {
 protected:
  // Returns the card calls between the end of the first scan and the end of startup.
  Cells CallsForRows(const Settings& more = {}) {
    m_Host.Set(PlainCard());
    m_Host.Set(more);
    HostKit::SetTraceSink([](const HostKit::TraceLine& line) {
      if (line.text == "LEAVE ScanSystem() -> 0") CardSim::Reset();
    });
    EXPECT_EQ(m_Host.Initialize(), 0U);
    return CardSim::CallTexts();
  }

  OneCard m_Host;
  ScopedDatabase m_Database;
};

// An adapter's row is read through a null handle, so every attribute is missing.
const Cells ADAPTER_CALLS = {
    "vsl_has_rated_endurance_tbytes null", "vsl_has_total_physical_bytes_read null",
    "vsl_has_total_physical_bytes_written null", "vsl_has_rated_endurance_tbytes null"};

Cells operator+(Cells first, const Cells& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST_F(RowCalls, CreateAHandleAndDoNotOpenTheCard) {
  EXPECT_THAT(
      CallsForRows(),
      ElementsAreArray(
          ADAPTER_CALLS +
          Cells{"vsl_iom_create_by_name /dev/fct0", "vsl_has_rated_endurance_tbytes card#1",
                "vsl_has_total_physical_bytes_written card#1",
                "vsl_has_rated_writes_remaining_percent card#1",
                "vsl_total_physical_bytes_written card#1", "vsl_total_physical_bytes_read card#1",
                "vsl_rated_endurance_tbytes card#1", "vsl_rated_writes_remaining_percent card#1",
                "vsl_has_reserve_space_pct card#1", "vsl_reserve_space_pct card#1"}));
}

TEST_F(RowCalls, LeakTheirHandle) {
  CallsForRows();
  EXPECT_THAT(CardSim::OpenHandles(), ElementsAre("card#1"));
}

TEST_F(RowCalls, StopAtTheFirstMissingAttribute) {
  EXPECT_THAT(CallsForRows({{"rated_endurance_tbytes", nullptr}}),
              ElementsAreArray(ADAPTER_CALLS + Cells{"vsl_iom_create_by_name /dev/fct0",
                                                     "vsl_has_rated_endurance_tbytes card#1"}));
}

TEST_F(RowCalls, CreateAHandleEvenWithoutAFirstUse) {
  EXPECT_THAT(
      CallsForRows({{"first_use_ts", nullptr}}),
      ElementsAre("vsl_has_total_physical_bytes_read null",
                  "vsl_has_total_physical_bytes_written null",
                  "vsl_has_rated_endurance_tbytes null", "vsl_iom_create_by_name /dev/fct0"));
}

TEST_F(RowCalls, DoNotReadAMissingReserve) {
  const Cells calls = CallsForRows({{"reserve_space_pct", nullptr}});
  EXPECT_THAT(calls, Contains("vsl_has_reserve_space_pct card#1"));
  EXPECT_THAT(calls, Not(Contains("vsl_reserve_space_pct card#1")));
}

TEST_F(RowCalls, UseTheLibraryCorrectly) {
  CallsForRows();
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_F(RowCalls, DoNotTraceAdapterProperties) {
  m_Host.Set(PlainCard());
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Host.Traces(16), Not(Contains(StartsWith("GetAdapterProperties"))));
}

TEST(CardThatCannotBeFound, KeepsItsRowWithoutLiveFields) {
  OneCard host(PlainCard());
  const ScopedDatabase database;
  // The scan makes the first call.
  CardSim::FailCall("vsl_iom_create_by_name", 2, 5, "failed");
  ASSERT_EQ(host.Initialize(), 0U);
  ASSERT_THAT(DriveRows(), SizeIs(1));
  EXPECT_THAT(LiveCells(DriveRows()[0]), IsEmpty());
  EXPECT_THAT(DriveRows()[0], Contains("pd_reserve_warning=12"));
  EXPECT_EQ(host.Calls().back(), "vsl_iom_create_by_name /dev/fct0");
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
}

// Reserve, endurance and reserve warning threshold.
TEST(PercentagesOfARow, ArePassedThroughPropertiesWithARange) {
  OneCard host(PlainCard());
  const ScopedDatabase database;
  const RangeWatch ranges;
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(ranges.m_Values,
              ElementsAre("30486: 97 in 1..100", "30494: 10 in 1..100", "30488: 12 in 1..100"));
}

TEST(LiveFieldsOverTime, AreReadAgainAtEachScan) {
  OneCard host(PlainCard());
  const ScopedDatabase database;
  host.WriteIni("PollInterval=255\n");
  ASSERT_EQ(host.Start(), 0U);
  host.Set({{"total_physical_bytes_read", "4096"}, {"reserve_space_pct", "50.0"}});
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + 7'500'000'000'000);
  EXPECT_THAT(
      LiveCells(DriveRows().at(0)),
      IsSupersetOf({"pd_bytes_read_ki_b=4", "pd_remaining_reserve=50.0", "pd_hours_of_use=8762"}));
}

TEST(LiveFieldsOverTime, BecomeNullWhenAnAttributeDisappears) {
  OneCard host(PlainCard());
  const ScopedDatabase database;
  host.WriteIni("PollInterval=2\n");
  ASSERT_EQ(host.Start(), 0U);
  ASSERT_THAT(LiveCells(DriveRows().at(0)), SizeIs(8));
  host.Set({{"rated_endurance_tbytes", nullptr}});
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + 10'000'000'000);
  EXPECT_THAT(LiveCells(DriveRows().at(0)), IsEmpty());
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
}

}  // namespace
}  // namespace CorvaneTest
