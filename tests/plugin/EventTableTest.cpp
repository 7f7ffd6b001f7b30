// Every event that polling the cards can raise, with its contents and its conditions.

#include "tests/host/HostNumbers.h"
#include "tests/plugin/Watch.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* NAME = "SanDisk Flash Adapter 785GB (1)";

// An event of the first adapter.
std::string AdapterEvent(const std::string& event, const std::string& severity) {
  return event + " severity " + severity + " object 1 " + NAME + " | " + NAME;
}
std::string DriveEvent(const std::string& event, const std::string& severity) {
  return event + " severity " + severity + " object 2 Flash Adapter G2 (0) | " + NAME +
         " | Flash Adapter G2 (0)";
}

class EventTable : public WorkerFixture {
 protected:
  // Starts with a card whose masks were already set before startup.
  void StartWith(const std::string& errors, const std::string& warnings, const std::string& info) {
    AddCards(1);
    SetMasks(errors, warnings, info);
    StartWatch();
  }
  void SetMasks(const std::string& errors, const std::string& warnings, const std::string& info) {
    Set("card0", "current_errors", errors);
    Set("card0", "current_warnings", warnings);
    Set("card0", "current_info", info);
  }
  // Sets new masks and returns the events of the next three scans.
  Lines EventsAfter(const std::string& errors, const std::string& warnings,
                    const std::string& info) {
    SetMasks(errors, warnings, info);
    WaitForScans(3);
    return Events();
  }
};

struct Bit {
  const char* name;
  const char* mask;
  std::string value;
  const char* severity;
};

void PrintTo(const Bit& bit, std::ostream* stream) {
  *stream << bit.name;
}

#define SEVERITY_OF(name, number, severity, about) \
  [[maybe_unused]] constexpr const char* name = #severity;
namespace SeverityOf {
HOST_EVENTS(SEVERITY_OF)
}  // namespace SeverityOf
#undef SEVERITY_OF

#define BIT(mask, bit, reason, event, status) \
  {#event, "current_" #mask, std::to_string(1U << bit), SeverityOf::event},
const Bit BITS[] = {HOST_STATUS_BITS(BIT)};
#undef BIT

class EachBit : public EventTable, public testing::WithParamInterface<Bit> {};

TEST_P(EachBit, RaisesItsEventWhenItIsSet) {
  StartWith("0", "0", "0");
  Set("card0", GetParam().mask, GetParam().value);
  WaitForScans(2);
  EXPECT_THAT(Events(), IsEmpty());
  WaitForScans();
  EXPECT_THAT(Events(), ElementsAre(AdapterEvent(GetParam().name, GetParam().severity)));
  WaitForScans(2);
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_P(EachBit, RaisesNothingWhenClearedWhileAnotherIsSet) {
  const bool isError = std::string(GetParam().mask) == "current_errors";
  // A bit of the other mask stays set.
  const char* value = GetParam().value.c_str();
  StartWith(isError ? value : "1", isError ? "1" : value, "0");
  Set("card0", GetParam().mask, "0");
  WaitForScans(3);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(TimesOf("16 After UpdateSystem() ret = 0"), SizeIs(3));
}

TEST_P(EachBit, RaisesNormalWhenTheLastIsCleared) {
  StartWith("0", "0", "0");
  Set("card0", GetParam().mask, GetParam().value);
  WaitForScans(3);
  m_Host.CollectEvents();
  Set("card0", GetParam().mask, "0");
  WaitForScans(2);
  EXPECT_THAT(Events(), IsEmpty());
  WaitForScans();
  EXPECT_THAT(Events(), ElementsAre(AdapterEvent("CTRL_NORMAL", "2")));
}

INSTANTIATE_TEST_SUITE_P(Masks, EachBit, testing::ValuesIn(BITS),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(EventTable, IgnoredBitsNeitherRaiseEventsNorCauseAScan) {
  StartWith("0", "0", "0");
  SetMasks("0", "0x200", "0x1");
  WaitForWakeUps(2);
  EXPECT_EQ(Scans(), 0U);
  WaitForScans(4);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(Notifications(), IsEmpty());
}

TEST_F(EventTable, ClearingBitsWithoutAnEventRaisesNormal) {
  StartWith("0", "0", "0");
  EXPECT_THAT(EventsAfter("0x100000000", "0x20000000000", "0x4"), IsEmpty());
  EXPECT_THAT(EventsAfter("0", "0", "0"), ElementsAre(AdapterEvent("CTRL_NORMAL", "2")));
}

TEST_F(EventTable, ABitSetAtStartupDoesNotRaiseAnEvent) {
  StartWith("0x1", "0x1", "0x2");
  WaitForScans(4);
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(EventTable, SeveralBitsRaiseErrorsFirstFromTheLowestBit) {
  StartWith("0x2", "0x1", "0");
  EXPECT_THAT(EventsAfter("0x203", "0x1007", "0"),
              ElementsAre(AdapterEvent("CTRL_INTERNAL_ERROR", "4"),
                          AdapterEvent("CTRL_NONCORRECTABLE_PCI_ERRORS", "4"),
                          AdapterEvent("CTRL_NEAR_WEARING_OUT", "3"),
                          AdapterEvent("CTRL_NONOPTIMAL_PCI_BANDWIDTH", "3"),
                          AdapterEvent("CTRL_RESERVES_DEPLETED", "3")));
}

TEST_F(EventTable, ABitThatReplacesAnotherRaisesOnlyItsOwnEvent) {
  StartWith("0x1", "0", "0");
  EXPECT_THAT(EventsAfter("0x2", "0", "0"),
              ElementsAre(AdapterEvent("CTRL_INCOMPATIBLE_PCI_BANDWIDTH", "4")));
}

struct Information {
  const char* name;
  const char* before[3];  // errors, warnings, information
  const char* after[3];
  Lines events;
};

void PrintTo(const Information& value, std::ostream* stream) {
  *stream << value.name;
}

// Information events require a change of the information mask; the warning bits decide which of
// them are raised.
const Information INFORMATION[] = {
    {"RisesWithoutWarnings", {"0", "0", "0"}, {"0", "0", "0x2"}, {}},
    {"RisesWithAnEarlierWarning", {"0", "0x3", "0"}, {"0", "0x3", "0x2"}, {}},
    {"RisesWithTheFirstWarning",
     {"0", "0", "0"},
     {"0", "0x1", "0x2"},
     {AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3"), AdapterEvent("CTRL_WRITE_REG_POWER", "2")}},
    {"RisesWithTheSecondWarning",
     {"0", "0", "0"},
     {"0", "0x2", "0x2"},
     {AdapterEvent("CTRL_NEAR_WEARING_OUT", "3"), AdapterEvent("CTRL_UNACTIVATED_FIRMWARE", "2")}},
    {"RisesWithBothWarnings",
     {"0", "0", "0"},
     {"0", "0x3", "0x2"},
     {AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3"), AdapterEvent("CTRL_NEAR_WEARING_OUT", "3"),
      AdapterEvent("CTRL_WRITE_REG_POWER", "2"), AdapterEvent("CTRL_UNACTIVATED_FIRMWARE", "2")}},
    {"RisesWithTheThirdWarning",
     {"0", "0", "0"},
     {"0", "0x4", "0x2"},
     {AdapterEvent("CTRL_NONOPTIMAL_PCI_BANDWIDTH", "3")}},
    {"FallsWithTheFirstWarning",
     {"0", "0", "0x2"},
     {"0", "0x1", "0"},
     {AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3"), AdapterEvent("CTRL_WRITE_REG_POWER", "2")}},
    {"ChangesAnUnnamedBitWithTheFirstWarning",
     {"0", "0", "0x2"},
     {"0", "0x1", "0x6"},
     {AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3"), AdapterEvent("CTRL_WRITE_REG_POWER", "2")}},
    {"StaysWhileTheFirstWarningRises",
     {"0", "0", "0x2"},
     {"0", "0x1", "0x2"},
     {AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3")}},
    {"StaysClearWhileBothWarningsRise",
     {"0", "0", "0"},
     {"0", "0x3", "0"},
     {AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3"),
      AdapterEvent("CTRL_NEAR_WEARING_OUT", "3")}},
    {"FallsAndIsTheLast", {"0", "0", "0x2"}, {"0", "0", "0"}, {AdapterEvent("CTRL_NORMAL", "2")}},
    {"FallsWithTheWarnings",
     {"0", "0x3", "0x2"},
     {"0", "0", "0"},
     {AdapterEvent("CTRL_NORMAL", "2")}},
    {"FallsWithAWarning", {"0", "0x1", "0x2"}, {"0", "0x1", "0"}, {}},
    {"StaysWhenTheWarningsFall", {"0", "0x1", "0x2"}, {"0", "0", "0x2"}, {}},
    {"StaysWhenTheErrorsFall", {"0x1", "0", "0x2"}, {"0", "0", "0x2"}, {}},
    {"AllFall", {"0x1", "0x1", "0x2"}, {"0", "0", "0"}, {AdapterEvent("CTRL_NORMAL", "2")}},
    {"AnErrorBecomesAWarning",
     {"0x1", "0", "0"},
     {"0", "0x1", "0"},
     {AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3")}},
};

class EachInformation : public EventTable, public testing::WithParamInterface<Information> {};

TEST_P(EachInformation, RaisesTheExpectedEvents) {
  const auto& before = GetParam().before;
  StartWith(before[0], before[1], before[2]);
  const auto& after = GetParam().after;
  EXPECT_EQ(EventsAfter(after[0], after[1], after[2]), GetParam().events);
}

INSTANTIATE_TEST_SUITE_P(Masks, EachInformation, testing::ValuesIn(INFORMATION),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(EventTable, AnEventHasTheStoredNameOfItsAdapter) {
  StartWith("0", "0", "0");
  Set("card0", "board_name", "New Board");
  Set("card0", "iom_state", "0");
  WaitForScans();
  EXPECT_THAT(Events(), ElementsAre(AdapterEvent("CTRL_DETACHED", "4")));
  EXPECT_EQ(Value(FIRST, PI::Property::NAME), "\"SanDisk New Board (1)\"");
}

TEST_F(EventTable, AnEventHasTheTimeOfTheComparison) {
  StartWith("0", "0", "0");
  Set("card0", "iom_state", "0");
  WaitForScans();
  PassMs(3000);
  const std::vector<PI::CEvent> events = m_Host.CollectEvents();
  ASSERT_THAT(events, SizeIs(1));
  // The quick poll and the scan take 12 ms each.
  EXPECT_EQ(events[0].m_Time - m_Begin, 5024U);
}

struct StateChange {
  const char* name;
  const char* before;
  const char* after;
  Lines events;
};

void PrintTo(const StateChange& change, std::ostream* stream) {
  *stream << change.name;
}

const StateChange STATE_CHANGES[] = {
    {"AttachedToDetached", "2", "0", {AdapterEvent("CTRL_DETACHED", "4")}},
    {"DetachedToAttached", "0", "2", {AdapterEvent("CTRL_ATTACHED", "2")}},
    {"AttachingToAttached", "1", "2", {AdapterEvent("CTRL_ATTACHED", "2")}},
    {"DetachingToDetached", "3", "0", {AdapterEvent("CTRL_DETACHED", "4")}},
    {"BusyToAttached", "4", "2", {AdapterEvent("CTRL_ATTACHED", "2")}},
    {"MinimalToDetached", "5", "0", {AdapterEvent("CTRL_DETACHED", "4")}},
    {"FailedToAttached", "6", "2", {AdapterEvent("CTRL_ATTACHED", "2")}},
    {"AttachedToDetaching", "2", "3", {}},
    {"DetachedToAttaching", "0", "1", {}},
    {"AttachedToBusy", "2", "4", {}},
    {"AttachedToMinimal", "2", "5", {}},
    {"AttachedToFailed", "2", "6", {}},
    {"AttachedToStopped", "2", "7", {}},
};

class EachStateChange : public EventTable, public testing::WithParamInterface<StateChange> {};

TEST_P(EachStateChange, RaisesItsEventImmediatelyAndOnce) {
  AddCards(1);
  Set("card0", "iom_state", GetParam().before);
  StartWatch();
  Set("card0", "iom_state", GetParam().after);
  WaitForScans();
  EXPECT_EQ(Events(), GetParam().events);
  WaitForScans(2);
  EXPECT_THAT(Events(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(States, EachStateChange, testing::ValuesIn(STATE_CHANGES),
                         [](const auto& test) { return std::string(test.param.name); });

struct DriveChange {
  const char* name;
  Lines settings;  // attribute, value, attribute, value, ...
  Lines events;
};

void PrintTo(const DriveChange& change, std::ostream* stream) {
  *stream << change.name;
}

const DriveChange DRIVE_CHANGES[] = {
    {"Size", {"iom_format_size_bytes", "628000000000"}, {DriveEvent("PD_FORMAT_CHANGED", "2")}},
    {"SectorSize", {"sector_size_bytes", "4096"}, {DriveEvent("PD_FORMAT_CHANGED", "2")}},
    {"SizeAndSectorSize",
     {"iom_format_size_bytes", "628000000000", "sector_size_bytes", "4096"},
     {DriveEvent("PD_FORMAT_CHANGED", "2")}},
    {"UnreportedFields",
     {"iom_format_size_pct", "80", "iom_format_max_sector_size_bytes", "512"},
     {}},
    {"LargestSize", {"overformat_size_bytes", "900000000000"}, {}},
    {"SectorSizeAndProductName",
     {"sector_size_bytes", "4096", "product_name", "New Product"},
     {DriveEvent("PD_FORMAT_CHANGED", "2")}},
    {"ProductName", {"product_name", "New Product"}, {}},
    {"SectorSizeAndBoardName",
     {"sector_size_bytes", "4096", "board_name", "New Board"},
     {"PD_FORMAT_CHANGED severity 2 object 2 Flash Adapter G2 (0) | SanDisk New Board (1) | Flash "
      "Adapter G2 "
      "(0)"}},
};

class EachDriveChange : public EventTable, public testing::WithParamInterface<DriveChange> {};

TEST_P(EachDriveChange, RaisesFormatChangedForSizeAndSectorSize) {
  AddCards(1);
  StartWatch();
  const Lines& settings = GetParam().settings;
  for (std::size_t i = 0; i < settings.size(); i += 2) Set("card0", settings[i], settings[i + 1]);
  WaitForWakeUps(2);
  EXPECT_EQ(Scans(), 0U);
  WaitForScans();
  EXPECT_EQ(Events(), GetParam().events);
  EXPECT_THAT(Notifications(), SizeIs(1));
  WaitForScans();
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(Notifications(), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Attributes, EachDriveChange, testing::ValuesIn(DRIVE_CHANGES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(EventTable, ASizeThatDiffersByLessThanAMiBRaisesNothing) {
  AddCards(1);
  Set("card0", "iom_format_size_bytes", "1048576000");
  StartWatch();
  Set("card0", "iom_format_size_bytes", "1049624575");
  WaitForScans();
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(Notifications(), IsEmpty());
  Set("card0", "iom_format_size_bytes", "1049624576");
  WaitForScans();
  EXPECT_THAT(Events(), ElementsAre(DriveEvent("PD_FORMAT_CHANGED", "2")));
}

// Adapters in the order of the scan, then removed adapters, then drives.
TEST_F(EventTable, OnePassRaisesEventsInAFixedOrder) {
  AddCards(4);
  StartWatch();
  Hide(3);
  WaitForScans();
  m_Host.CollectEvents();
  Hide(0);
  Show(3);
  for (const char* card : {"card1", "card2"}) {
    Set(card, "iom_state", "0");
    Set(card, "sector_size_bytes", "4096");
  }
  WaitForScans();
  const std::string board = "SanDisk Flash Adapter 785GB ";
  const std::string drive = "Flash Adapter G2 (0)";
  EXPECT_THAT(
      Events(),
      ElementsAre(
          "CTRL_DETACHED severity 4 object 3 " + board + "(2) | " + board + "(2)",
          "CTRL_DETACHED severity 4 object 5 " + board + "(3) | " + board + "(3)",
          "CTRL_PNPADD severity 2 object 9 " + board + "(4) | " + board + "(4)",
          "CTRL_PNPREMOVE severity 3 object 1 " + board + "(1) | " + board + "(1)",
          "PD_FORMAT_CHANGED severity 2 object 4 " + drive + " | " + board + "(2) | " + drive,
          "PD_FORMAT_CHANGED severity 2 object 6 " + drive + " | " + board + "(3) | " + drive));
}

// Within one adapter: errors, warnings, information, normal, attachment.
TEST_F(EventTable, OneAdapterRaisesEventsInAFixedOrder) {
  StartWith("0", "0", "0");
  SetMasks("0x1", "0x1", "0x2");
  WaitForScans(2);
  Set("card0", "iom_state", "0");
  WaitForScans();
  EXPECT_THAT(Events(), ElementsAre(AdapterEvent("CTRL_INTERNAL_ERROR", "4"),
                                    AdapterEvent("CTRL_TEMPERATURE_ABOVE_WARN", "3"),
                                    AdapterEvent("CTRL_WRITE_REG_POWER", "2"),
                                    AdapterEvent("CTRL_DETACHED", "4")));
  SetMasks("0", "0", "0");
  WaitForScans(2);
  Set("card0", "iom_state", "2");
  WaitForScans();
  EXPECT_THAT(Events(),
              ElementsAre(AdapterEvent("CTRL_NORMAL", "2"), AdapterEvent("CTRL_ATTACHED", "2")));
}

TEST_F(EventTable, EventsOfSeveralPassesAreCollectedInOrderAndOnce) {
  StartWith("0", "0", "0");
  for (const char* state : {"0", "2", "0"}) {
    Set("card0", "iom_state", state);
    WaitForScans();
  }
  EXPECT_THAT(Events(),
              ElementsAre(AdapterEvent("CTRL_DETACHED", "4"), AdapterEvent("CTRL_ATTACHED", "2"),
                          AdapterEvent("CTRL_DETACHED", "4")));
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(EventTable, EachCardRaisesItsOwnEvents) {
  AddCards(2);
  StartWatch();
  Set("card0", "current_errors", "1");
  Set("card1", "current_warnings", "1");
  WaitForScans(3);
  EXPECT_THAT(Events(), ElementsAre(AdapterEvent("CTRL_INTERNAL_ERROR", "4"),
                                    "CTRL_TEMPERATURE_ABOVE_WARN severity 3 object 3 SanDisk Flash "
                                    "Adapter 785GB (2) | SanDisk "
                                    "Flash Adapter 785GB (2)"));
}

TEST_F(EventTable, OtherChangesOfAnAdapterRaiseNothing) {
  StartWith("0", "0", "0");
  const Lines settings = {"temp_internal_deg_c",   "90", "write_throttling_state", "2",
                          "pcie_slot_power_watts", "3",  "driver_version",         "9",
                          "serial_number",         "X1"};
  for (std::size_t i = 0; i < settings.size(); i += 2) Set("card0", settings[i], settings[i + 1]);
  WaitForScans(3);
  EXPECT_THAT(Notifications(), SizeIs(1));
  EXPECT_THAT(Events(), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
