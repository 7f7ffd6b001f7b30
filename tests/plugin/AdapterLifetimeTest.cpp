// An adapter's age and wear as the host reads them: lifetime, endurance, reserve, byte counters,
// manufacture date. Time is virtual and starts at 2026-01-01 00:00; the plug-in's startup takes a
// little over a second.

#include <gmock/gmock.h>

#include <cstdlib>

#include "hostkit/Scheduler.h"
#include "tests/support/NullHandleSeam.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSupersetOf;

constexpr std::uint32_t LIFETIME = PI::Property::ESTIMATED_LIFETIME;
constexpr std::uint32_t ENDURANCE = PI::Property::RATED_ENDURANCE_PERCENT;
constexpr const char* ABSENT = "result ERR_GENERAL";

struct Case {
  const char* name;
  Settings settings;
  const char* row;
};

void PrintTo(const Case& value, std::ostream* out) {
  *out << value.name;
}

std::string NameOfCase(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

void ExpectRow(const Case& each, std::uint32_t property) {
  OneCard host(each.settings);
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, property), each.row);
  EXPECT_EQ(host.RowInList(OneCard::ADAPTER, property), each.row);
}

// Parameters: time of first use, bytes written, rating in units of 2^40 bytes, and percentage of
// the rated writes remaining.
Settings Wear(const char* firstUse, const char* written, const char* rated, const char* remaining) {
  return {{"first_use_ts", firstUse},
          {"total_physical_bytes_written", written},
          {"rated_endurance_tbytes", rated},
          {"rated_writes_remaining_percent", remaining}};
}

constexpr const char* A_YEAR_AGO = "1735689600";            // 2025-01-01 00:00, 8760 hours
constexpr const char* ALMOST_TWO_HOURS_AGO = "1767218430";  // 2025-12-31 22:00:30
constexpr const char* IN_A_YEAR = "1798761600";             // 2027-01-01 00:00

class EstimatedLifetime : public testing::TestWithParam<Case> {};

TEST_P(EstimatedLifetime, IsTheDayTheCardWearsOut) {
  ExpectRow(GetParam(), LIFETIME);
}

INSTANTIATE_TEST_SUITE_P(
    All, EstimatedLifetime,
    testing::Values(
        // Half of the rating was used in a year, so the other half lasts another year.
        Case{"HalfWornInAYear", Wear(A_YEAR_AGO, "54975581388800", "100", "50.0"),
             R"(ESTIMATED_LIFETIME = "2027-01-01" (sort 23045))"},
        // 50.9 counts as 50; 51 would add nine days.
        Case{"PercentCutTowardZero", Wear(A_YEAR_AGO, "0", "100", "50.9"),
             R"(ESTIMATED_LIFETIME = "2027-01-01" (sort 23045))"},
        // 1 percent used in one full hour leaves 99 hours; an age of two hours would leave 198.
        Case{"AgeInWholeHours", Wear(ALMOST_TWO_HOURS_AGO, "0", "100", "99.0"),
             R"(ESTIMATED_LIFETIME = "2026-01-05" (sort 23045))"},
        // 80 of 100 units written in 8760 hours leave 2190 hours, although the card reports less
        // wear.
        Case{"BytesWritten", Wear(A_YEAR_AGO, "87960930222080", "100", "90.0"),
             R"(ESTIMATED_LIFETIME = "2026-04-02" (sort 23045))"},
        Case{"WornOut", Wear(A_YEAR_AGO, "0", "100", "0.0"),
             R"(ESTIMATED_LIFETIME = "2026-01-01" (sort 23045))"},
        Case{"WornOutBelowZero", Wear(A_YEAR_AGO, "0", "100", "-5.0"),
             R"(ESTIMATED_LIFETIME = "2026-01-01" (sort 23045))"},
        Case{"WrittenBeyondTheRating", Wear(A_YEAR_AGO, "274877906944000", "100", "50.0"),
             R"(ESTIMATED_LIFETIME = "2026-01-01" (sort 23045))"},
        // The host's longest lifetime, 61,360,000 hours.
        Case{"Unworn", Wear(A_YEAR_AGO, "0", "100", "100.0"),
             R"(ESTIMATED_LIFETIME = "9025-12-01" (sort 23045))"},
        Case{"AboveHundredPercent", Wear(A_YEAR_AGO, "0", "100", "150.0"),
             R"(ESTIMATED_LIFETIME = "9025-12-01" (sort 23045))"},
        // The negative age wraps around to a very large one.
        Case{"FirstUsedInTheFuture", Wear(IN_A_YEAR, "0", "100", "50.0"),
             R"(ESTIMATED_LIFETIME = "9025-12-01" (sort 23045))"},
        // Without a rating, only the wear that the card reports counts.
        Case{"NoRating", Wear(A_YEAR_AGO, "54975581388800", "0", "50.0"),
             R"(ESTIMATED_LIFETIME = "2027-01-01" (sort 23045))"},
        Case{"NoFirstUse", Wear(nullptr, "0", "100", "50.0"), ABSENT}),
    NameOfCase);

TEST(EstimatedLifetimeOverTime, CountsFromTheTimeOfTheRequest) {
  OneCard host(Wear(A_YEAR_AGO, "0", "100", "50.0"));
  ASSERT_EQ(host.Initialize(), 0U);
  constexpr std::int64_t ONE_DAY_NS = 86'400'000'000'000;
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + ONE_DAY_NS);
  // On 2026-01-02, 366 days of use leave 366 more.
  EXPECT_EQ(host.Row(OneCard::ADAPTER, LIFETIME),
            R"(ESTIMATED_LIFETIME = "2027-01-03" (sort 23045))");
}

TEST(EstimatedLifetimeOverTime, IsNotTraced) {
  OneCard host(Wear(A_YEAR_AGO, "0", "100", "50.0"));
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  EXPECT_NE(host.Row(OneCard::ADAPTER, LIFETIME), ABSENT);
  EXPECT_THAT(host.Traces(16), IsEmpty());
}

class RatedEndurance : public testing::TestWithParam<Case> {};

TEST_P(RatedEndurance, IsBytesWrittenAsPercentOfTheRating) {
  ExpectRow(GetParam(), ENDURANCE);
}

#define ENDURANCE_ROW(percent) \
  "RATED_ENDURANCE_PERCENT = " percent " in 0..100 step 1 (sort 23105, unit 21010, fixed 0)"

INSTANTIATE_TEST_SUITE_P(
    All, RatedEndurance,
    testing::Values(
        Case{"New", Wear(A_YEAR_AGO, "0", "100", "100.0"), ENDURANCE_ROW("0")},
        Case{"Half", Wear(A_YEAR_AGO, "54975581388800", "100", "50.0"), ENDURANCE_ROW("50")},
        // One byte below 1 %.
        Case{"CutTowardZero", Wear(A_YEAR_AGO, "1099511627775", "100", "50.0"), ENDURANCE_ROW("0")},
        Case{"OnePercent", Wear(A_YEAR_AGO, "1099511627776", "100", "50.0"), ENDURANCE_ROW("1")},
        Case{"Full", Wear(A_YEAR_AGO, "109951162777600", "100", "50.0"), ENDURANCE_ROW("100")},
        Case{"BeyondTheRating", Wear(A_YEAR_AGO, "274877906944000", "100", "50.0"),
             ENDURANCE_ROW("250")},
        // A hundred times this many bytes overflows 64 bits.
        Case{"Overflow", Wear(A_YEAR_AGO, "400000000000000000", "1", "50.0"),
             ENDURANCE_ROW("2825356")},
        // The percentage needs neither first use nor remaining writes.
        Case{"WithoutAnAge", Wear(nullptr, "54975581388800", "100", nullptr), ENDURANCE_ROW("50")},
        Case{"NoRating", Wear(A_YEAR_AGO, "54975581388800", nullptr, "50.0"), ABSENT},
        Case{"NoWriteCounter", Wear(A_YEAR_AGO, nullptr, "100", "50.0"), ABSENT},
        Case{"RatingOfZero", Wear(A_YEAR_AGO, "54975581388800", "0", "50.0"), ABSENT}),
    NameOfCase);

TEST(RatedEnduranceTrace, TracesThePercentage) {
  OneCard host(Wear(A_YEAR_AGO, "274877906944000", "100", "50.0"));
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  host.Row(OneCard::ADAPTER, ENDURANCE);
  EXPECT_THAT(host.Traces(16),
              ElementsAre("GetAdapterProperties, vsl_has_rated_endurance_percent = 250"));
}

TEST(RatedEnduranceTrace, TracesNothingForARatingOfZero) {
  OneCard host(Wear(A_YEAR_AGO, "274877906944000", "0", "50.0"));
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  host.Row(OneCard::ADAPTER, ENDURANCE);
  EXPECT_THAT(host.Traces(16), IsEmpty());
}

// A rating of 2^24 units of 2^40 bytes overflows 64 bits to 0, which counts as no rating. Runs in a
// child process, because a division by zero would terminate it.
TEST(RatedEnduranceDeathTest, AcceptsARatingThatOverflows) {
  const auto read = [] {
    OneCard host(Wear(A_YEAR_AGO, "54975581388800", "16777216", "50.0"));
    host.Initialize();
    return host.Row(OneCard::ADAPTER, ENDURANCE);
  };
  EXPECT_EXIT(std::_Exit(read() == ABSENT ? 0 : 1), testing::ExitedWithCode(0), "");
}

class ReserveStatus : public testing::TestWithParam<Case> {};

TEST_P(ReserveStatus, IsTheStatusOfTheCard) {
  ExpectRow(GetParam(), PI::Property::RESERVE_STATUS);
}

#define RESERVE_ROW(value) \
  "RESERVE_STATUS = " value " of [HEALTHY WARNING DEPLETED] (label STATUS, sort 23112, fixed 0)"

INSTANTIATE_TEST_SUITE_P(
    All, ReserveStatus,
    testing::Values(
        Case{"Zero", {{"reserve_status", "0"}}, RESERVE_ROW("HEALTHY")},
        Case{"One", {{"reserve_status", "1"}}, RESERVE_ROW("WARNING")},
        Case{"Two", {{"reserve_status", "2"}}, RESERVE_ROW("DEPLETED")},
        Case{"Three", {{"reserve_status", "3"}}, RESERVE_ROW("HEALTHY")},
        Case{"Largest", {{"reserve_status", "4294967295"}}, RESERVE_ROW("HEALTHY")},
        // Without the reserve space, the status row is left out.
        Case{"NoSpace", {{"reserve_space_pct", nullptr}, {"reserve_status", "2"}}, ABSENT}),
    NameOfCase);

TEST(ReserveTraces, ShowTheValuesOfTheCard) {
  OneCard host(Settings{{"reserve_space_pct", "12.99"}, {"reserve_status", "3"}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  host.Row(OneCard::ADAPTER, PI::Property::REMAINING_RESERVE_SPACE);
  host.Row(OneCard::ADAPTER, PI::Property::RESERVE_STATUS);
  EXPECT_THAT(host.Traces(16), ElementsAre("GetAdapterProperties, vsl_has_reserve_space_pct = 12",
                                           "GetAdapterProperties, vsl_has_reserve_status = 3"));
}

class ReserveSpace : public testing::TestWithParam<Case> {};

TEST_P(ReserveSpace, IsTruncatedTowardZero) {
  ExpectRow(GetParam(), PI::Property::REMAINING_RESERVE_SPACE);
}

#define SPACE_ROW(percent)             \
  "REMAINING_RESERVE_SPACE = " percent \
  " in 1..100 step 1 (label REMAINING_RESERVE_SPACE, sort 23110, unit 21010, fixed 0)"

INSTANTIATE_TEST_SUITE_P(
    All, ReserveSpace,
    testing::Values(Case{"None", {{"reserve_space_pct", "0.0"}}, SPACE_ROW("0")},
                    Case{"AlmostOne", {{"reserve_space_pct", "0.99"}}, SPACE_ROW("0")},
                    Case{"One", {{"reserve_space_pct", "1.0"}}, SPACE_ROW("1")},
                    Case{"AlmostAll", {{"reserve_space_pct", "99.75"}}, SPACE_ROW("99")},
                    Case{"All", {{"reserve_space_pct", "100.0"}}, SPACE_ROW("100")},
                    Case{"MoreThanAll", {{"reserve_space_pct", "250.5"}}, SPACE_ROW("250")},
                    Case{"Negative", {{"reserve_space_pct", "-1.75"}}, SPACE_ROW("-1")}),
    NameOfCase);

// A byte counter and its row, in the largest unit for which the value is at least 1.
struct Count {
  const char* name;
  const char* bytes;
  const char* shown;
};

void PrintTo(const Count& value, std::ostream* out) {
  *out << value.name;
}

class ByteCounters : public testing::TestWithParam<Count> {};

TEST_P(ByteCounters, AreShownInTheLargestUnitThatFits) {
  const auto& [name, bytes, shown] = GetParam();
  OneCard host(
      Settings{{"total_physical_bytes_read", bytes}, {"total_physical_bytes_written", bytes}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  const std::string rest = std::string(shown) + ", format 8, fixed 0)";
  const auto expected = [&rest](const std::string& head, const std::string& sort) {
    const std::size_t unit = rest.find(" unit");
    return head + " = " + rest.substr(0, unit) + " (sort " + sort + "," + rest.substr(unit);
  };
  EXPECT_EQ(host.Row(OneCard::ADAPTER, PI::Property::BYTES_READ), expected("BYTES_READ", "23017"));
  EXPECT_EQ(host.Row(OneCard::ADAPTER, PI::Property::BYTES_WRITTEN),
            expected("BYTES_WRITTEN", "23018"));
  const std::string trace = "GetAdapterProperties, vsl_has_total_physical_bytes_";
  EXPECT_THAT(host.Traces(16),
              ElementsAre(trace + "read = " + bytes, trace + "written = " + bytes));
}

INSTANTIATE_TEST_SUITE_P(
    All, ByteCounters,
    testing::Values(Count{"None", "0", "0f unit 21025"},
                    Count{"AlmostOneKiB", "1023", "1023f unit 21025"},
                    Count{"OneKiB", "1024", "1f unit 21001"},
                    Count{"OneMiB", "1048576", "1f unit 21002"},
                    Count{"OneGiB", "1073741824", "1f unit 21003"},
                    Count{"OneAndAHalfTiB", "1649267441664", "1.5f unit 21004"},
                    Count{"OnePiB", "1125899906842624", "1f unit 21005"},
                    Count{"Largest", "18446744073709551615", "16384f unit 21005"}),
    [](const auto& test) { return test.param.name; });

TEST(AbsentByteCounters, HaveNoRowAndNoTrace) {
  OneCard host(
      Settings{{"total_physical_bytes_read", nullptr}, {"total_physical_bytes_written", nullptr}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  EXPECT_EQ(host.Row(OneCard::ADAPTER, PI::Property::BYTES_READ), ABSENT);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, PI::Property::BYTES_WRITTEN), ABSENT);
  EXPECT_THAT(host.Traces(16), IsEmpty());
}

// Both counters are still read.
TEST(ByteCountersWithoutAUnit, HaveNoRowAndNoTrace) {
  OneCard host(Settings{{"total_physical_bytes_read", "4096"},
                        {"total_physical_bytes_written", "8192"},
                        {"rated_endurance_tbytes", nullptr}});
  ASSERT_EQ(host.Initialize(), 0U);
  const std::vector<std::string> all = host.Rows(OneCard::ADAPTER);
  const ScopedUnitConversionFailure failure;
  host.ClearRecords();
  EXPECT_EQ(host.Row(OneCard::ADAPTER, PI::Property::BYTES_READ), ABSENT);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, PI::Property::BYTES_WRITTEN), ABSENT);
  EXPECT_THAT(host.Traces(16), IsEmpty());
  EXPECT_THAT(host.Calls(), IsSupersetOf({"vsl_total_physical_bytes_read card#1",
                                          "vsl_total_physical_bytes_written card#2"}));
  std::vector<std::string> others;
  for (const std::string& row : all) {
    if (row.rfind("BYTES_", 0) != 0) others.push_back(row);
  }
  EXPECT_EQ(others.size() + 2, all.size());
  EXPECT_THAT(host.Rows(OneCard::ADAPTER), ElementsAreArray(others));
}

class ManufactureDate : public testing::TestWithParam<Case> {};

TEST_P(ManufactureDate, ShowsDateHourAndMinute) {
  ExpectRow(GetParam(), PI::Property::MANUFACTURE_DATE);
}

INSTANTIATE_TEST_SUITE_P(
    All, ManufactureDate,
    testing::Values(Case{"OrdinaryDay",
                         {{"origin_ts", "1330837560"}},
                         R"(MANUFACTURE_DATE = "2012-03-04 05:06" (sort 23070))"},
                    Case{"LastSecondOfALeapDay",
                         {{"origin_ts", "1330559999"}},
                         R"(MANUFACTURE_DATE = "2012-02-29 23:59" (sort 23070))"},
                    Case{"TheEpoch",
                         {{"origin_ts", "0"}},
                         R"(MANUFACTURE_DATE = "1970-01-01 00:00" (sort 23070))"},
                    Case{"LastOfFourDigits",
                         {{"origin_ts", "253402300799"}},
                         R"(MANUFACTURE_DATE = "9999-12-31 23:59" (sort 23070))"},
                    Case{"Absent", {{"origin_ts", nullptr}}, ABSENT},
                    Case{"WithoutAFirstUse",
                         {{"first_use_ts", nullptr}, {"origin_ts", "1330837560"}},
                         R"(MANUFACTURE_DATE = "2012-03-04 05:06" (sort 23070))"}),
    NameOfCase);

TEST(MissingManufactureDate, DoesNotAffectTheLifetime) {
  OneCard host(Wear(A_YEAR_AGO, "0", "100", "50.0"));
  host.Set({{"origin_ts", nullptr}});
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(host.Rows(OneCard::ADAPTER),
              Contains(R"(ESTIMATED_LIFETIME = "2027-01-01" (sort 23045))"));
}

}  // namespace
}  // namespace CorvaneTest
