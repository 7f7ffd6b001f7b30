// The event registry: rows, severities, advice and reasons.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "hostkit/Texts.h"
#include "tests/host/HostNumbers.h"

namespace {

using HostKit::Family;

#define CONSTANT(name, ...) name = FIRST_OF(__VA_ARGS__, 0),
namespace Typed {
enum : std::uint32_t { HOST_LOW_EVENTS(CONSTANT) HOST_EVENTS(CONSTANT) };
enum : std::uint32_t { HOST_VALUES(CONSTANT) };
enum : std::uint32_t { HOST_ERRORS(CONSTANT) HOST_SEVERITIES(CONSTANT) };
}  // namespace Typed
#undef CONSTANT

// Numbers that are not in the registry.
constexpr std::uint32_t kNoError = 20006;
constexpr std::uint32_t kNoEvent = 10000;
constexpr std::uint32_t kNoValue = 49999;
constexpr std::uint32_t kNoNumber = 69999;
constexpr std::uint32_t kEnd = 70000;  // above all of the host's numbers

enum class About { Nothing, Adapter, Drive };

struct ReportedEvent {
  std::uint32_t number;
  std::uint32_t severity;  // the lowest severity with which it is reported
  About about;             // what the event names: an adapter, or an adapter and a drive
};

#define REPORTED(name, number, severity, about) {number, severity, About::about},
const ReportedEvent kReported[] = {HOST_EVENTS(REPORTED)};
#undef REPORTED

// Events of the host itself and its connections.
const ReportedEvent kHostEvents[] = {
    {Typed::UNDEFINED, Typed::SEVERITY_INFORMATION, About::Nothing},
    {Typed::CONNECTED, Typed::SEVERITY_INFORMATION, About::Nothing},
    {Typed::DISCONNECTED, Typed::SEVERITY_INFORMATION, About::Nothing},
    {Typed::UNEXPECTED_DISCONNECT, Typed::SEVERITY_ERROR, About::Nothing},
    {Typed::TEST_TRAP, Typed::SEVERITY_INFORMATION, About::Nothing}};

std::vector<ReportedEvent> AllReported() {
  std::vector<ReportedEvent> all(std::begin(kReported), std::end(kReported));
  all.insert(all.end(), std::begin(kHostEvents), std::end(kHostEvents));
  return all;
}

std::string MessageOf(std::uint32_t number) {
  PI::CEvent event;
  event.m_EventID = number;
  event.SetPlaceHolder1("<card>");
  event.SetPlaceHolder2("<drive>");
  return HostKit::MessageOf(event);
}

bool Mentions(const std::string& message, const char* what) {
  return message.find(what) != std::string::npos;
}

TEST(EventRegistry, HasARowForEveryReportedEvent) {
  for (const ReportedEvent& row : AllReported()) {
    EXPECT_NE(HostKit::NameOf(Family::Event, row.number), "") << row.number;
    EXPECT_NE(MessageOf(row.number), "") << row.number;
  }
}

TEST(EventRegistry, HasOnlyReportedEvents) {
  std::set<std::uint32_t> reported;
  for (const ReportedEvent& row : AllReported()) reported.insert(row.number);
  for (std::uint32_t number = 0; number < kEnd; ++number) {
    const bool isRow = !HostKit::CaptionOf(Family::Event, number).empty();
    EXPECT_EQ(reported.count(number) > 0, isRow)
        << "event " << number << " " << HostKit::NameOf(Family::Event, number)
        << ": host/own/EventList.h and kHostEvents of this test must both contain it";
  }
}

TEST(EventRegistry, MessagesNameTheObjectsOfTheEvent) {
  for (const ReportedEvent& row : AllReported()) {
    const std::string message = MessageOf(row.number);
    EXPECT_EQ(Mentions(message, "<card>"), row.about != About::Nothing) << message;
    EXPECT_EQ(Mentions(message, "<drive>"), row.about == About::Drive) << message;
    EXPECT_FALSE(Mentions(message, "%")) << message;
  }
}

TEST(EventRegistry, ReturnsTheSeverityOfEachEvent) {
  for (const ReportedEvent& row : AllReported()) {
    EXPECT_EQ(HostKit::SeverityOf(row.number), row.severity) << row.number;
  }
  EXPECT_EQ(HostKit::SeverityOf(kNoEvent), Typed::SEVERITY_INFORMATION);
}

bool IsASentence(const std::string& text) {
  return text.size() > 10 && text.back() == '.' && text[0] >= 'A' && text[0] <= 'Z';
}

TEST(EventRegistry, EveryWarningHasAdvice) {
  for (const ReportedEvent& row : AllReported()) {
    const std::string advice = HostKit::AdviceOf(Family::Event, row.number);
    const bool isNeeded = row.severity > Typed::SEVERITY_INFORMATION;
    EXPECT_TRUE(IsASentence(advice) || (!isNeeded && advice.empty())) << row.number << advice;
  }
  EXPECT_EQ(HostKit::AdviceOf(Family::Event, Typed::CTRL_NORMAL), "");
}

TEST(EventRegistry, AnEventHasTheAdviceOfItsReason) {
  const std::pair<std::uint32_t, std::uint32_t> pairs[] = {
      {Typed::CTRL_INTERNAL_ERROR, Typed::INTERNAL_ERROR},
      {Typed::CTRL_MAXIMUM_WRITE_THROTTLING, Typed::COMPLETE_WRITE_THROTTLING},
      {Typed::CTRL_TEMPERATURE_ABOVE_ERROR, Typed::TEMPERATURE_ABOVE_ERROR},
      {Typed::CTRL_TEMPERATURE_ABOVE_WARN, Typed::TEMPERATURE_ABOVE_WARN},
      {Typed::CTRL_NEAR_WEARING_OUT, Typed::NEAR_WEARING_OUT},
      {Typed::CTRL_POWER_WRITE_REGULATION, Typed::POWER_WRITE_REGULATION},
      {Typed::CTRL_RESERVES_DEPLETED, Typed::RESERVES_DEPLETED},
      {Typed::CTRL_DETACHED, Typed::DETACHED},
      {Typed::CTRL_WRITE_REG_POWER, Typed::POWER_WRITE_REGULATION},
      {Typed::CTRL_UNACTIVATED_FIRMWARE, Typed::UNACTIVATED_FIRMWARE}};
  for (const auto& [event, reason] : pairs) {
    EXPECT_EQ(HostKit::AdviceOf(Family::Event, event), HostKit::AdviceOf(Family::Value, reason));
    EXPECT_NE(HostKit::AdviceOf(Family::Value, reason), "") << reason;
  }
}

struct ReportedReason {
  std::uint32_t reason;
  std::uint32_t event;   // reports the start of the reason; 0 if there is none
  std::uint32_t status;  // the least severe status that the reason allows
};

#define REPORTED_BIT(mask, bit, reason, event, status) {Typed::reason, Typed::event, Typed::status},
// Every value that the plug-in reports as a reason for an adapter's status.
const ReportedReason kReasons[] = {
    HOST_STATUS_BITS(REPORTED_BIT)
    // ignored bits, and information
    {Typed::PCI_OVERPOWER, Typed::CTRL_PCI_OVERPOWER, Typed::WARNING},
    {Typed::UNACTIVATED_FIRMWARE, Typed::CTRL_UNACTIVATED_FIRMWARE, Typed::OK},
    // states
    {Typed::DETACHED, Typed::CTRL_DETACHED, Typed::WARNING},
    {Typed::ATTACHED, Typed::CTRL_ATTACHED, Typed::OK},
    {Typed::STOPPED, 0, Typed::FAILED},
    // minimal mode
    {Typed::MISSING_MIDPROM, 0, Typed::FAILED},
    {Typed::UNSUPPORTED_NAND, 0, Typed::FAILED},
    {Typed::DRIVER_OUT_OF_DATE, 0, Typed::FAILED},
    {Typed::FIRMWARE_OUT_OF_DATE, 0, Typed::FAILED},
    {Typed::INSUFFICIENT_POWER, 0, Typed::FAILED},
    {Typed::DUAL_PLANE_FAIL, 0, Typed::FAILED},
    {Typed::FORCED, 0, Typed::FAILED},
    {Typed::INTERNAL, 0, Typed::FAILED},
    {Typed::CARD_LIMIT_EXCEEDED, 0, Typed::FAILED},
    {Typed::UNSUPPORTED_OS, 0, Typed::FAILED},
    {Typed::INSUFFICIENT_MEMORY, 0, Typed::FAILED},
    {Typed::SMP_BOOTLOADER_MODE, 0, Typed::FAILED},
    {Typed::MINIMAL_MODE, 0, Typed::FAILED},
    {Typed::HARDWARE_FAILURE, 0, Typed::FAILED},
    {Typed::GENERAL_CHANNEL_INIT_FAIL, 0, Typed::FAILED},
    // write throttling
    {Typed::THROT_BY_USER, 0, Typed::OK},
    {Typed::THROT_NO_METADATA_BLOCKS, 0, Typed::OK},
    {Typed::THROT_NO_MEMORY, 0, Typed::OK},
    {Typed::THROT_CHIP_FAILURE, 0, Typed::OK},
    {Typed::THROT_WEAROUT, 0, Typed::OK},
    {Typed::THROT_POWER, 0, Typed::OK},
    {Typed::THROT_INTERNAL, 0, Typed::OK},
    {Typed::THROT_POWER_LIMIT, 0, Typed::OK},
    {Typed::THROT_GROOMER_FAILURE, 0, Typed::OK}};
#undef REPORTED_BIT

TEST(EventRegistry, EveryReasonMapsToItsEventAndBack) {
  for (const ReportedReason& row : kReasons) {
    EXPECT_EQ(HostKit::EventOf(row.reason), row.event) << row.reason;
    if (row.event == 0) continue;
    EXPECT_EQ(HostKit::ReasonOf(row.event), row.reason) << row.event;
  }
}

TEST(EventRegistry, NoOtherEventHasAReason) {
  std::set<std::uint32_t> primary, secondary;
  for (std::uint32_t event = 0; event < kEnd; ++event) {
    const std::uint32_t reason = HostKit::ReasonOf(event);
    if (reason == 0) continue;
    (HostKit::EventOf(reason) == event ? primary : secondary).insert(event);
    EXPECT_EQ(HostKit::ReasonOf(HostKit::EventOf(reason)), reason) << event;
  }
  std::set<std::uint32_t> wanted;
  for (const ReportedReason& row : kReasons) {
    if (row.event != 0) wanted.insert(row.event);
  }
  EXPECT_EQ(primary, wanted);
  // Write regulation is reported as a warning or as information. The reason maps to the warning.
  EXPECT_EQ(secondary, std::set<std::uint32_t>{Typed::CTRL_WRITE_REG_POWER});
}

TEST(EventRegistry, ReturnsTheLeastSevereStatusOfEachReason) {
  std::map<std::uint32_t, std::uint32_t> wanted, known;
  for (const ReportedReason& row : kReasons) wanted.emplace(row.reason, row.status);
  for (std::uint32_t value = 0; value < kEnd; ++value) {
    const auto status = static_cast<std::uint32_t>(HostKit::StatusOf(value));
    if (status != PI::Value::UNDEFINED) known.emplace(value, status);
  }
  EXPECT_EQ(known, wanted);
}

TEST(EventRegistry, AValueThatIsNotAReasonHasNoEvent) {
  const std::uint32_t values[] = {
      0, PI::Value::UNDEFINED, Typed::OK, Typed::WARNING, Typed::CTRL_INTERNAL_ERROR, kNoNumber};
  for (const std::uint32_t value : values) {
    EXPECT_EQ(HostKit::EventOf(value), 0U) << value;
  }
  const std::uint32_t events[] = {0,
                                  Typed::TEST_TRAP,
                                  Typed::CTRL_NORMAL,
                                  Typed::CTRL_ATTACH_FAILED,
                                  Typed::CTRL_DETACH_FAILED,
                                  Typed::PD_FORMAT_CHANGED,
                                  Typed::CTRL_PNPADD,
                                  Typed::CTRL_PNPREMOVE};
  for (const std::uint32_t event : events) {
    EXPECT_EQ(HostKit::ReasonOf(event), 0U) << event;
  }
}

#define NUMBER(name, ...) FIRST_OF(__VA_ARGS__, 0),
#define VALUE_NUMBER(name, number, ...) number,
const std::map<Family, std::vector<std::uint32_t>> kNumbers = {
    {Family::Error, {HOST_ERRORS(NUMBER)}},
    {Family::Event, {HOST_EVENTS(NUMBER)}},
    {Family::Operation, {HOST_OPERATIONS(NUMBER)}},
    {Family::Property, {HOST_PROPERTIES(NUMBER) HOST_SHORT_NAMES(NUMBER)}},
    {Family::Value, {HOST_VALUES(VALUE_NUMBER)}}};
#undef NUMBER
#undef VALUE_NUMBER

TEST(Advice, ExistsForEveryError) {
  for (const std::uint32_t error : kNumbers.at(Family::Error)) {
    EXPECT_TRUE(IsASentence(HostKit::AdviceOf(Family::Error, error))) << error;
  }
  EXPECT_EQ(HostKit::AdviceOf(Family::Error, PI::SUCCESS), "");
  EXPECT_EQ(HostKit::AdviceOf(Family::Error, kNoError), "");
}

TEST(Advice, ExistsOnlyForValuesThatAreReasons) {
  std::set<std::uint32_t> advised, reasons;
  for (const ReportedReason& row : kReasons) {
    EXPECT_TRUE(IsASentence(HostKit::AdviceOf(Family::Value, row.reason))) << row.reason;
    reasons.insert(row.reason);
  }
  for (const std::uint32_t value : kNumbers.at(Family::Value)) {
    if (!HostKit::AdviceOf(Family::Value, value).empty()) advised.insert(value);
  }
  EXPECT_EQ(advised, reasons);
  EXPECT_EQ(HostKit::AdviceOf(Family::Value, kNoValue), "");
}

TEST(Meanings, AreSentencesExceptForValuesThatAreNotReasons) {
  for (const auto& [family, numbers] : kNumbers) {
    for (const std::uint32_t number : numbers) {
      const std::string meaning = HostKit::MeaningOf(family, number);
      const bool isNotAReason =
          family == Family::Value && HostKit::AdviceOf(Family::Value, number).empty();
      EXPECT_NE(meaning, "") << number;
      EXPECT_TRUE(isNotAReason || IsASentence(meaning)) << number << ' ' << meaning;
    }
    EXPECT_EQ(HostKit::MeaningOf(family, kNoNumber), "");
  }
}

TEST(Meanings, AreUniqueInEachFamily) {
  for (const auto& [family, numbers] : kNumbers) {
    std::map<std::string, std::uint32_t> seen;
    for (const std::uint32_t number : numbers) {
      // Minimal mode has two numbers with the same meaning, one for the warning and one for the
      // cause.
      if (number == Typed::MINIMAL) continue;
      const auto [first, isNew] = seen.emplace(HostKit::MeaningOf(family, number), number);
      EXPECT_TRUE(isNew) << number << " and " << first->second;
    }
  }
}

TEST(Meanings, UseAPlaceholderForNamesInEvents) {
  EXPECT_EQ(HostKit::MeaningOf(Family::Event, Typed::CTRL_TEMPERATURE_ABOVE_WARN),
            "The temperature of adapter NAME is above its warning threshold.");
  EXPECT_EQ(HostKit::MeaningOf(Family::Event, Typed::PD_FORMAT_CHANGED),
            "On adapter NAME, the format of drive NAME has changed.");
}

}  // namespace
