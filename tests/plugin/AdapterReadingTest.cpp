// Reading an adapter's properties from its card: the order of calls and traces, and the rows that
// remain if the card or an attribute cannot be read.

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>

#include "hostkit/Inspect.h"
#include "tests/plugin/AdapterRows.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

namespace Property = PI::Property;

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// A card for which all rows are shown.
const Settings CARD_WITH_ALL_ROWS = {
    {"first_use_ts", "1735689600"},
    {"reserve_space_pct", "97.9"},
    {"reserve_status", "2"},
    {"total_physical_bytes_read", "1649267441664"},
    {"total_physical_bytes_written", "54975581388800"},
    {"rated_endurance_tbytes", "100"},
    {"rated_writes_remaining_percent", "50.0"},
    {"external_power_requirement", "2"},
};

std::vector<std::uint32_t> AllIds() {
  std::vector<std::uint32_t> ids;
  for (const RowNumbers& row : ALL_NUMBERS) ids.push_back(row.property);
  return ids;
}
const std::vector<std::uint32_t> ALL_IDS = AllIds();

std::vector<std::uint32_t> IdsWithout(const std::set<std::uint32_t>& missing) {
  std::vector<std::uint32_t> ids;
  for (const std::uint32_t id : ALL_IDS) {
    if (missing.count(id) == 0) ids.push_back(id);
  }
  return ids;
}

std::vector<std::uint32_t> IdsOf(OneCard& host) {
  std::vector<std::uint32_t> ids;
  for (const PI::CProperty& property : host.Properties(OneCard::ADAPTER)) {
    ids.push_back(property.m_PropertyID);
  }
  return ids;
}

void ExpectNoLeaks() {
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.depth, 0U);
}

// No worker runs until the host assigns numbers, so all calls come from the request.
class AdapterReading : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Host.ClearRecords();
  }

  OneCard m_Host{CARD_WITH_ALL_ROWS};
};

TEST_F(AdapterReading, QueriesTheCardInTheOrderOfTheRows) {
  EXPECT_THAT(IdsOf(m_Host), ElementsAreArray(ALL_IDS)) << kListsOfRows;
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(ALL_CALLS))
      << "The expected calls are in LIVE_ROWS of tests/plugin/AdapterRows.h.";
  ExpectNoLeaks();
}

TEST_F(AdapterReading, TracesEntryExitAndTheCardsValues) {
  m_Host.Properties(OneCard::ADAPTER);
  EXPECT_THAT(
      m_Host.TracesWithLevel(),
      ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                  "4 GetProperties() Adapter = 1", "2 ENTER AdapterGetProperties (0)",
                  "16 GetAdapterProperties, vsl_has_reserve_space_pct = 97",
                  "16 GetAdapterProperties, vsl_has_reserve_status = 2",
                  "16 GetAdapterProperties, vsl_has_total_physical_bytes_read = 1649267441664",
                  "16 GetAdapterProperties, vsl_has_total_physical_bytes_written = 54975581388800",
                  "16 GetAdapterProperties, vsl_has_rated_endurance_percent = 50",
                  "2 LEAVE AdapterGetProperties -> 0"));
}

TEST_F(AdapterReading, TracesOnlyTheRequestedRow) {
  m_Host.Row(OneCard::ADAPTER, Property::RATED_ENDURANCE_PERCENT);
  EXPECT_THAT(m_Host.TracesWithLevel(),
              ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                          "4 GetProperty() Adapter = 1", "2 ENTER AdapterGetProperties (0)",
                          "16 GetAdapterProperties, vsl_has_rated_endurance_percent = 50",
                          "2 LEAVE AdapterGetProperties -> 0"));
}

TEST(AdapterReadingOfTwoCards, TracesTheCardsNumber) {
  OneCard host;
  host.AddCard();
  ASSERT_EQ(host.Initialize(), 0U);
  const std::uint64_t second = host.AdapterId(1);
  host.ClearRecords();
  host.Row(second, Property::NAME);
  EXPECT_THAT(host.Traces(2),
              ElementsAre("ENTER AdapterGetProperties (1)", "LEAVE AdapterGetProperties -> 0"));
  EXPECT_EQ(host.Calls().front(), "vsl_iom_create_by_name /dev/fct1");
}

TEST_F(AdapterReading, OpensTheCardEvenForARecordedRow) {
  for (const std::uint32_t id : IdsWithout(LIVE)) {
    m_Host.ClearRecords();
    EXPECT_NE(m_Host.Row(OneCard::ADAPTER, id), "result ERR_GENERAL") << id;
    EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                                            "vsl_close card#1", "vsl_destroy card#1"))
        << id;
    EXPECT_THAT(m_Host.Traces(16), IsEmpty()) << id;
    ExpectNoLeaks();
  }
}

TEST_F(AdapterReading, OpensTheCardEvenForAnUnknownProperty) {
  EXPECT_EQ(m_Host.Row(OneCard::ADAPTER, Property::POLL_INTERVAL), "result ERR_GENERAL");
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                                          "vsl_close card#1", "vsl_destroy card#1"));
}

// Reading one row makes the same attribute calls as that row in the list.
class AdapterReadingOfOneRow : public testing::TestWithParam<LiveRow> {};

TEST_P(AdapterReadingOfOneRow, CallsTheCardForThatRowOnly) {
  OneCard host(CARD_WITH_ALL_ROWS);
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  EXPECT_NE(host.Row(OneCard::ADAPTER, GetParam().property), "result ERR_GENERAL");
  EXPECT_THAT(host.Calls(), ElementsAreArray(WithOpenCard(GetParam().calls)));
  ExpectNoLeaks();
}

INSTANTIATE_TEST_SUITE_P(All, AdapterReadingOfOneRow, testing::ValuesIn(LIVE_ROWS),
                         [](const auto& test) {
                           return NameOrNumber(HostKit::Family::Property, test.param.property);
                         });

// Live rows show the card's values at the time of the request; the other rows show the values of
// the last scan.
TEST_F(AdapterReading, ShowsLiveAndRecordedValues) {
  m_Host.Set({{"temp_internal_deg_c", "99.5"},
              {"total_physical_bytes_read", "2048"},
              {"reserve_status", "0"}});
  EXPECT_EQ(m_Host.Row(OneCard::ADAPTER, Property::CHIP_TEMPERATURE),
            "CHIP_TEMPERATURE = 51.7f (sort 23024, unit 21000, format 8)");
  EXPECT_EQ(m_Host.Row(OneCard::ADAPTER, Property::BYTES_READ),
            "BYTES_READ = 2f (sort 23017, unit 21001, format 8, fixed 0)");
  EXPECT_EQ(m_Host.Row(OneCard::ADAPTER, Property::RESERVE_STATUS),
            "RESERVE_STATUS = HEALTHY of [HEALTHY WARNING DEPLETED] (label STATUS, sort 23112, "
            "fixed 0)");
}

TEST_F(AdapterReading, OmitsTheLiveRowsWhenTheCardCannotBeFound) {
  CardSim::FailCall("vsl_iom_create_by_name", 1, 19, "no such card");
  std::vector<PI::CProperty> list;
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTIES, OneCard::ADAPTER, &list), 0U);
  EXPECT_EQ(list.size(), ALL_IDS.size() - LIVE.size());
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_destroy null"));
  EXPECT_THAT(m_Host.Traces(16), IsEmpty());
  EXPECT_THAT(m_Host.Traces(2),
              ElementsAre("ENTER AdapterGetProperties (0)", "LEAVE AdapterGetProperties -> 0"));
  ExpectNoLeaks();
}

TEST_F(AdapterReading, OmitsTheLiveRowsWhenTheCardCannotBeOpened) {
  CardSim::FailCall("vsl_open", 1, 5, "open failed");
  EXPECT_THAT(IdsOf(m_Host), ElementsAreArray(IdsWithout(LIVE)));
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                                          "vsl_destroy card#1"));
  EXPECT_THAT(m_Host.Traces(16), IsEmpty());
  ExpectNoLeaks();
}

TEST_F(AdapterReading, OmitsTheLiveRowsWhenTheCardHasBeenRemoved) {
  m_Host.Cards().RemoveCard(m_Host.Card());
  EXPECT_THAT(IdsOf(m_Host), ElementsAreArray(IdsWithout(LIVE)));
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_destroy null"));
  ExpectNoLeaks();
}

TEST_F(AdapterReading, ASingleReadFailsOnlyForALiveRowWhenTheCardCannotBeOpened) {
  for (const char* function : {"vsl_iom_create_by_name", "vsl_open"}) {
    for (const std::uint32_t id : ALL_IDS) {
      CardSim::FailCall(function, 1, 5, "unavailable");
      const bool missing = m_Host.Row(OneCard::ADAPTER, id) == "result ERR_GENERAL";
      EXPECT_EQ(missing, LIVE.count(id) == 1) << function << " " << id;
    }
  }
  ExpectNoLeaks();
}

TEST_F(AdapterReading, LeavesThePayloadUnchangedWhenTheCardCannotBeOpened) {
  CardSim::FailCall("vsl_open", 1, 5, "open failed");
  PI::CProperty payload(Property::BYTES_READ, true);
  payload.SetValue(std::string("mine"));
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTY, OneCard::ADAPTER, &payload), Number::ERR_GENERAL);
  EXPECT_EQ(payload.m_Value.m_String.m_Text, "mine");
  EXPECT_TRUE(payload.m_Writable);
}

// An attribute that the card lacks, and the IDs of the rows that are then omitted.
struct MissingAttribute {
  const char* attribute;
  std::set<std::uint32_t> missing;
};

void PrintTo(const MissingAttribute& value, std::ostream* out) {
  *out << value.attribute;
}

class AdapterWithoutAnAttribute : public testing::TestWithParam<MissingAttribute> {};

TEST_P(AdapterWithoutAnAttribute, OmitsOnlyTheRowsThatNeedIt) {
  OneCard host(CARD_WITH_ALL_ROWS);
  host.Set({{GetParam().attribute, nullptr}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  EXPECT_THAT(IdsOf(host), ElementsAreArray(IdsWithout(GetParam().missing)));
  for (const std::uint32_t id : ALL_IDS) {
    const bool missing = host.Row(OneCard::ADAPTER, id) == "result ERR_GENERAL";
    EXPECT_EQ(missing, GetParam().missing.count(id) == 1) << id;
  }
  ExpectNoLeaks();
}

INSTANTIATE_TEST_SUITE_P(
    Each, AdapterWithoutAnAttribute,
    testing::Values(
        MissingAttribute{"rated_endurance_tbytes",
                         {Property::ESTIMATED_LIFETIME, Property::RATED_ENDURANCE_PERCENT}},
        MissingAttribute{"total_physical_bytes_written",
                         {Property::ESTIMATED_LIFETIME, Property::BYTES_WRITTEN,
                          Property::RATED_ENDURANCE_PERCENT}},
        MissingAttribute{"rated_writes_remaining_percent", {Property::ESTIMATED_LIFETIME}},
        MissingAttribute{"reserve_space_pct",
                         {Property::REMAINING_RESERVE_SPACE, Property::RESERVE_STATUS}},
        MissingAttribute{"total_physical_bytes_read", {Property::BYTES_READ}},
        MissingAttribute{"first_use_ts", {Property::ESTIMATED_LIFETIME}},
        MissingAttribute{"origin_ts", {Property::MANUFACTURE_DATE}},
        MissingAttribute{"pci_slot_num", {Property::PCI_SLOT}},
        MissingAttribute{"driver_version", {Property::DRIVER_VERSION}},
        MissingAttribute{"pcie_slot_power_watts", {Property::SLOT_POWER}},
        MissingAttribute{"power_limit_watts", {Property::POWER_LIMIT}},
        MissingAttribute{"temp_internal_warn_deg_c", {Property::HIGH_WARNING_TEMPERATURE}},
        MissingAttribute{"temp_setpoint_high_deg_c", {Property::HIGH_CRITICAL_TEMPERATURE}},
        MissingAttribute{"external_power_requirement", {Property::EXTERNAL_POWER_CONNECTED}},
        MissingAttribute{"iom_state", {Property::ADDITIONAL_STATUS}},
        MissingAttribute{"external_power_connected", {}},
        MissingAttribute{"temp_internal_deg_c", {}}, MissingAttribute{"board_name", {}},
        MissingAttribute{"fw_current_version", {}}, MissingAttribute{"fw_current_major_ver", {}},
        MissingAttribute{"pci_domain", {}}, MissingAttribute{"pci_bus", {}},
        MissingAttribute{"pci_device", {}}, MissingAttribute{"pci_function", {}},
        MissingAttribute{"factory_size_bytes", {}}, MissingAttribute{"current_errors", {}},
        MissingAttribute{"write_throttling_state", {}},
        MissingAttribute{"reserve_warning_threshold_percent", {}}),
    [](const auto& test) { return test.param.attribute; });

// The lifetime needs three attributes; the read stops at the first missing one.
TEST(AdapterReadingOfTheLifetime, StopsAtTheFirstMissingAttribute) {
  const char* const attributes[] = {"rated_endurance_tbytes", "total_physical_bytes_written",
                                    "rated_writes_remaining_percent"};
  std::vector<std::string> expected = {"vsl_iom_create_by_name /dev/fct0", "vsl_open card#1"};
  for (const char* attribute : attributes) {
    OneCard host(CARD_WITH_ALL_ROWS);
    host.Set({{attribute, nullptr}});
    ASSERT_EQ(host.Initialize(), 0U);
    host.ClearRecords();
    EXPECT_EQ(host.Row(OneCard::ADAPTER, Property::ESTIMATED_LIFETIME), "result ERR_GENERAL");
    expected.push_back(std::string("vsl_has_") + attribute + " card#1");
    std::vector<std::string> calls = expected;
    calls.insert(calls.end(), {"vsl_close card#1", "vsl_destroy card#1"});
    EXPECT_THAT(host.Calls(), ElementsAreArray(calls));
  }
}

TEST(AdapterReadingOfTheLifetime, ReadsNothingWithoutAFirstUse) {
  OneCard host(CARD_WITH_ALL_ROWS);
  host.Set({{"first_use_ts", nullptr}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  EXPECT_EQ(host.Row(OneCard::ADAPTER, Property::ESTIMATED_LIFETIME), "result ERR_GENERAL");
  EXPECT_THAT(host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                                        "vsl_close card#1", "vsl_destroy card#1"));
}

// Reading the endurance also stops at its first missing attribute.
TEST(AdapterReadingOfTheEndurance, ReadsTheRatingFirst) {
  OneCard host(CARD_WITH_ALL_ROWS);
  host.Set({{"rated_endurance_tbytes", nullptr}});
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  EXPECT_EQ(host.Row(OneCard::ADAPTER, Property::RATED_ENDURANCE_PERCENT), "result ERR_GENERAL");
  EXPECT_THAT(host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                                        "vsl_has_rated_endurance_tbytes card#1", "vsl_close card#1",
                                        "vsl_destroy card#1"));
}

// The request succeeds even if one of its calls fails: no handle remains open, and the next request
// is not affected. Handles are not checked after a failed destroy or close.
TEST_F(AdapterReading, SucceedsWhenAnyOneCallFails) {
  const std::vector<std::string> complete = m_Host.Rows(OneCard::ADAPTER);
  std::map<std::string, unsigned int> seen;
  for (const std::string& call : ALL_CALLS) {
    const std::string function = call.substr(0, call.find(' '));
    m_Host.ClearRecords();
    CardSim::FailCall(function, ++seen[function], 5, "unavailable");
    std::vector<PI::CProperty> list;
    EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTIES, OneCard::ADAPTER, &list), 0U) << function;
    if (function != "vsl_destroy" && function != "vsl_close") ExpectNoLeaks();
    EXPECT_EQ(m_Host.Rows(OneCard::ADAPTER), complete) << function;
  }
}

// One failing call on an open card while the complete list is read. If the query for an attribute
// fails, its row is missing; if the read fails, the value is 0 and the failure is ignored.
struct FailedCall {
  const char* name;
  std::size_t call;     // in the calls of the property's row
  std::size_t skipped;  // number of calls after it that are skipped
  std::uint32_t property;
  const char* row;  // MISSING if this row, and no other, is missing
  std::vector<std::string> traces;
};

void PrintTo(const FailedCall& value, std::ostream* out) {
  *out << value.name;
}

class AdapterReadingWithAFailedCall : public testing::TestWithParam<FailedCall> {
 protected:
  void SetUp() override {
    // 80 of 100 units are written, but the reported wear is 10 percent: the two lead to different
    // lifetimes.
    m_Host.Set({{"total_physical_bytes_written", "87960930222080"},
                {"rated_writes_remaining_percent", "90.0"}});
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Host.ClearRecords();
  }
  // The position of the failing call in `ALL_CALLS`, which starts with finding and opening the
  // card.
  static std::size_t FailingCall() {
    return 2 + CallsBefore(GetParam().property).size() + GetParam().call;
  }
  static void Fail() {
    const auto functionOf = [](std::size_t call) {
      return ALL_CALLS[call].substr(0, ALL_CALLS[call].find(' '));
    };
    const std::string function = functionOf(FailingCall());
    unsigned int nth = 1;
    for (std::size_t i = 0; i < FailingCall(); ++i) nth += functionOf(i) == function ? 1 : 0;
    CardSim::FailCall(function, nth, 5, "unreadable");
  }

  OneCard m_Host{CARD_WITH_ALL_ROWS};
};

TEST_P(AdapterReadingWithAFailedCall, OmitsOrChangesOnlyTheRowOfThatCall) {
  const std::vector<std::string> complete = m_Host.Rows(OneCard::ADAPTER);
  m_Host.ClearRecords();
  Fail();
  std::vector<std::string> expected = complete;
  for (std::size_t i = 0; i < ALL_IDS.size(); ++i) {
    if (ALL_IDS[i] == GetParam().property) expected[i] = GetParam().row;
  }
  EXPECT_NE(expected, complete);
  expected.erase(std::remove(expected.begin(), expected.end(), "result ERR_GENERAL"),
                 expected.end());
  EXPECT_THAT(m_Host.Rows(OneCard::ADAPTER), ElementsAreArray(expected));
  ExpectNoLeaks();
}

TEST_P(AdapterReadingWithAFailedCall, ContinuesWithTheNextRow) {
  Fail();
  m_Host.Properties(OneCard::ADAPTER);
  std::vector<std::string> calls = ALL_CALLS;
  const auto next = calls.begin() + static_cast<std::ptrdiff_t>(FailingCall()) + 1;
  calls.erase(next, next + static_cast<std::ptrdiff_t>(GetParam().skipped));
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(calls));
  EXPECT_THAT(m_Host.Traces(16), ElementsAreArray(GetParam().traces));
}

const std::string SPACE = "GetAdapterProperties, vsl_has_reserve_space_pct = 97";
const std::string NO_SPACE = "GetAdapterProperties, vsl_has_reserve_space_pct = 0";
const std::string STATE = "GetAdapterProperties, vsl_has_reserve_status = 2";
const std::string NO_STATE = "GetAdapterProperties, vsl_has_reserve_status = 0";
const std::string READ = "GetAdapterProperties, vsl_has_total_physical_bytes_read = 1649267441664";
const std::string NO_READ = "GetAdapterProperties, vsl_has_total_physical_bytes_read = 0";
const std::string WRITTEN =
    "GetAdapterProperties, vsl_has_total_physical_bytes_written = 87960930222080";
const std::string NO_WRITTEN = "GetAdapterProperties, vsl_has_total_physical_bytes_written = 0";
const std::string USED = "GetAdapterProperties, vsl_has_rated_endurance_percent = 80";
const std::string UNUSED = "GetAdapterProperties, vsl_has_rated_endurance_percent = 0";
const std::vector<std::string> ALL_TRACES = {SPACE, STATE, READ, WRITTEN, USED};
constexpr const char* MISSING = "result ERR_GENERAL";

const FailedCall FAILED_CALLS[] = {
    {"HasRating", 0, 5, Property::ESTIMATED_LIFETIME, MISSING, ALL_TRACES},
    {"HasWritten", 1, 4, Property::ESTIMATED_LIFETIME, MISSING, ALL_TRACES},
    {"HasRemaining", 2, 3, Property::ESTIMATED_LIFETIME, MISSING, ALL_TRACES},
    // From the wear alone: 10 percent took 8760 hours, so 90 percent take 78,840.
    {"Written", 3, 0, Property::ESTIMATED_LIFETIME,
     R"(ESTIMATED_LIFETIME = "2034-12-30" (sort 23045))", ALL_TRACES},
    {"Rating", 4, 0, Property::ESTIMATED_LIFETIME,
     R"(ESTIMATED_LIFETIME = "2034-12-30" (sort 23045))", ALL_TRACES},
    {"Remaining", 5, 0, Property::ESTIMATED_LIFETIME,
     R"(ESTIMATED_LIFETIME = "2026-01-01" (sort 23045))", ALL_TRACES},
    {"HasReserve", 0, 1, Property::REMAINING_RESERVE_SPACE, MISSING, {STATE, READ, WRITTEN, USED}},
    {"Reserve",
     1,
     0,
     Property::REMAINING_RESERVE_SPACE,
     "REMAINING_RESERVE_SPACE = 0 in 1..100 step 1 (label REMAINING_RESERVE_SPACE, sort 23110, "
     "unit 21010, fixed 0)",
     {NO_SPACE, STATE, READ, WRITTEN, USED}},
    {"HasReserveForItsStatus",
     0,
     1,
     Property::RESERVE_STATUS,
     MISSING,
     {SPACE, READ, WRITTEN, USED}},
    {"ReserveStatus",
     1,
     0,
     Property::RESERVE_STATUS,
     "RESERVE_STATUS = HEALTHY of [HEALTHY WARNING DEPLETED] (label STATUS, sort 23112, fixed 0)",
     {SPACE, NO_STATE, READ, WRITTEN, USED}},
    {"HasBytesRead", 0, 1, Property::BYTES_READ, MISSING, {SPACE, STATE, WRITTEN, USED}},
    {"BytesRead",
     1,
     0,
     Property::BYTES_READ,
     "BYTES_READ = 0f (sort 23017, unit 21025, format 8, fixed 0)",
     {SPACE, STATE, NO_READ, WRITTEN, USED}},
    {"HasBytesWritten", 0, 1, Property::BYTES_WRITTEN, MISSING, {SPACE, STATE, READ, USED}},
    {"BytesWritten",
     1,
     0,
     Property::BYTES_WRITTEN,
     "BYTES_WRITTEN = 0f (sort 23018, unit 21025, format 8, fixed 0)",
     {SPACE, STATE, READ, NO_WRITTEN, USED}},
    {"HasRatingForThePercentage",
     0,
     3,
     Property::RATED_ENDURANCE_PERCENT,
     MISSING,
     {SPACE, STATE, READ, WRITTEN}},
    {"HasWrittenForThePercentage",
     1,
     2,
     Property::RATED_ENDURANCE_PERCENT,
     MISSING,
     {SPACE, STATE, READ, WRITTEN}},
    {"WrittenForThePercentage",
     2,
     0,
     Property::RATED_ENDURANCE_PERCENT,
     "RATED_ENDURANCE_PERCENT = 0 in 0..100 step 1 (sort 23105, unit 21010, fixed 0)",
     {SPACE, STATE, READ, WRITTEN, UNUSED}},
    // With a rating of 0, the percentage row is left out.
    {"RatingForThePercentage",
     3,
     0,
     Property::RATED_ENDURANCE_PERCENT,
     MISSING,
     {SPACE, STATE, READ, WRITTEN}},
};

INSTANTIATE_TEST_SUITE_P(Each, AdapterReadingWithAFailedCall, testing::ValuesIn(FAILED_CALLS),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(AdapterReading, IsCompleteWhenTheHandleCannotBeDestroyed) {
  CardSim::FailCall("vsl_destroy", 1, 5, "stuck");
  EXPECT_THAT(IdsOf(m_Host), ElementsAreArray(ALL_IDS));
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(ALL_CALLS));
  EXPECT_THAT(CardSim::OpenHandles(), ElementsAre("card#1"));
}

TEST_F(AdapterReading, DestroysTheHandleEvenWhenTheCardCannotBeClosed) {
  CardSim::FailCall("vsl_close", 1, 5, "stuck");
  EXPECT_THAT(IdsOf(m_Host), ElementsAreArray(ALL_IDS));
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(ALL_CALLS));
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
