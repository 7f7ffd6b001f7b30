// The registry of events: a row for every event that a card plug-in reports, and no other.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "hostkit/Texts.h"
#include "tests/host/HostNumbers.h"

namespace {

using HostKit::Family;

enum class About { Nothing, Adapter, Drive };

struct ReportedEvent {
  std::uint32_t number;
  std::uint32_t severity;  // 2 information, 3 warning, 4 error: the lowest
  About about;             // what the event names: an adapter, or an adapter and a drive
};

#define REPORTED(name, number, severity, about) {number, severity, About::about},
const ReportedEvent kReported[] = {HOST_EVENTS(REPORTED)};
#undef REPORTED

// What only a host reports, about itself and its connections.
const ReportedEvent kOfTheHost[] = {{1, 2, About::Nothing},
                                    {2, 2, About::Nothing},
                                    {3, 2, About::Nothing},
                                    {4, 4, About::Nothing},
                                    {5, 2, About::Nothing}};

std::vector<ReportedEvent> AllReported() {
  std::vector<ReportedEvent> all(std::begin(kReported), std::end(kReported));
  all.insert(all.end(), std::begin(kOfTheHost), std::end(kOfTheHost));
  return all;
}

std::string MessageOf(std::uint32_t number) {
  PI::CEvent event;
  event.m_EventID = number;
  event.SetPlaceHolder1("<card>");
  event.SetPlaceHolder2("<drive>");
  return HostKit::MessageOf(event);
}

bool Names(const std::string& message, const char* what) {
  return message.find(what) != std::string::npos;
}

TEST(EventRegistry, HasARowForEveryReportedEvent) {
  for (const ReportedEvent& row : AllReported()) {
    EXPECT_NE(HostKit::NameOf(Family::Event, row.number), "") << row.number;
    EXPECT_NE(MessageOf(row.number), "") << row.number;
  }
}

TEST(EventRegistry, HasNoOtherRow) {
  std::set<std::uint32_t> rows, reported;
  for (const ReportedEvent& row : AllReported()) reported.insert(row.number);
  for (std::uint32_t number = 0; number < 70000; ++number) {
    if (!HostKit::CaptionOf(Family::Event, number).empty()) rows.insert(number);
  }
  EXPECT_EQ(rows, reported);
}

TEST(EventRegistry, SentencesHaveAPlaceForEachNameThatIsGiven) {
  for (const ReportedEvent& row : AllReported()) {
    const std::string message = MessageOf(row.number);
    EXPECT_EQ(Names(message, "<card>"), row.about != About::Nothing) << message;
    EXPECT_EQ(Names(message, "<drive>"), row.about == About::Drive) << message;
    EXPECT_FALSE(Names(message, "%")) << message;
  }
}

TEST(EventRegistry, HasTheSeverityOfEachEvent) {
  for (const ReportedEvent& row : AllReported()) {
    EXPECT_EQ(HostKit::SeverityOf(row.number), row.severity) << row.number;
  }
  EXPECT_EQ(HostKit::SeverityOf(10000), 2U);
}

bool IsASentence(const std::string& text) {
  return text.size() > 10 && text.back() == '.' && text[0] >= 'A' && text[0] <= 'Z';
}

TEST(EventRegistry, EveryWarningHasAdvice) {
  for (const ReportedEvent& row : AllReported()) {
    const std::string advice = HostKit::AdviceOf(Family::Event, row.number);
    const bool isNeeded = row.severity > 2;
    EXPECT_TRUE(IsASentence(advice) || (!isNeeded && advice.empty())) << row.number << advice;
  }
  EXPECT_EQ(HostKit::AdviceOf(Family::Event, 10980), "");
}

TEST(EventRegistry, AnEventOfAReasonHasTheReasonsAdvice) {
  const std::pair<std::uint32_t, std::uint32_t> pairs[] = {
      {10957, 40449}, {10960, 40452}, {10962, 40454}, {10967, 40459}, {10968, 40460},
      {10972, 40464}, {10979, 40471}, {10984, 40387}, {11086, 40464}, {11087, 40486}};
  for (const auto& [event, reason] : pairs) {
    EXPECT_EQ(HostKit::AdviceOf(Family::Event, event), HostKit::AdviceOf(Family::Value, reason));
    EXPECT_NE(HostKit::AdviceOf(Family::Value, reason), "") << reason;
  }
}

struct ReportedReason {
  std::uint32_t reason;
  std::uint32_t event;   // with which it begins, or 0
  std::uint32_t status;  // the best with it: 40024 OK, 40150 WARNING, 40095 FAILED
};

#define CONSTANT(name, number, ...) name = number,
namespace Typed {
enum : std::uint32_t { HOST_EVENTS(CONSTANT) HOST_VALUES(CONSTANT) };
}  // namespace Typed
#undef CONSTANT

#define REPORTED_BIT(mask, bit, reason, event, status) {Typed::reason, Typed::event, Typed::status},
// Every value that the plug-in reports as a reason of an adapter.
const ReportedReason kReasons[] = {HOST_STATUS_BITS(REPORTED_BIT)
                                   // ignored, and information
                                   {40468, 10976, 40150},
                                   {40486, 11087, 40024},
                                   // states
                                   {40387, 10984, 40150},
                                   {40393, 10983, 40024},
                                   {40128, 0, 40095},
                                   // minimal mode
                                   {40389, 0, 40095},
                                   {40390, 0, 40095},
                                   {40392, 0, 40095},
                                   {40394, 0, 40095},
                                   {40395, 0, 40095},
                                   {40396, 0, 40095},
                                   {40397, 0, 40095},
                                   {40398, 0, 40095},
                                   {40399, 0, 40095},
                                   {40400, 0, 40095},
                                   {40401, 0, 40095},
                                   {40402, 0, 40095},
                                   {40403, 0, 40095},
                                   {40421, 0, 40095},
                                   {40422, 0, 40095},
                                   // write throttling
                                   {40412, 0, 40024},
                                   {40413, 0, 40024},
                                   {40414, 0, 40024},
                                   {40415, 0, 40024},
                                   {40416, 0, 40024},
                                   {40417, 0, 40024},
                                   {40418, 0, 40024},
                                   {40419, 0, 40024},
                                   {40420, 0, 40024}};
#undef REPORTED_BIT

TEST(EventRegistry, EveryReasonLeadsToItsEventAndBack) {
  for (const ReportedReason& row : kReasons) {
    EXPECT_EQ(HostKit::EventOf(row.reason), row.event) << row.reason;
    if (row.event == 0) continue;
    EXPECT_EQ(HostKit::ReasonOf(row.event), row.reason) << row.event;
  }
}

TEST(EventRegistry, EveryEventOfAReasonLeadsToAReasonThatLeadsBack) {
  std::set<std::uint32_t> begins, second;
  for (std::uint32_t event = 0; event < 70000; ++event) {
    const std::uint32_t reason = HostKit::ReasonOf(event);
    if (reason == 0) continue;
    (HostKit::EventOf(reason) == event ? begins : second).insert(event);
    EXPECT_EQ(HostKit::ReasonOf(HostKit::EventOf(reason)), reason) << event;
  }
  std::set<std::uint32_t> wanted;
  for (const ReportedReason& row : kReasons) {
    if (row.event != 0) wanted.insert(row.event);
  }
  EXPECT_EQ(begins, wanted);
  // Regulated writes are a warning as well as an information; the reason begins with the warning.
  EXPECT_EQ(second, std::set<std::uint32_t>{11086});
}

TEST(EventRegistry, KnowsTheStatusThatAReasonLeaves) {
  std::map<std::uint32_t, std::uint32_t> wanted, known;
  for (const ReportedReason& row : kReasons) wanted.emplace(row.reason, row.status);
  for (std::uint32_t value = 0; value < 70000; ++value) {
    const auto status = static_cast<std::uint32_t>(HostKit::StatusOf(value));
    if (status != 1) known.emplace(value, status);
  }
  EXPECT_EQ(known, wanted);
}

TEST(EventRegistry, AValueThatIsNotAReasonHasNoEvent) {
  for (const std::uint32_t value : {0U, 1U, 40024U, 40150U, 10957U, 69999U}) {
    EXPECT_EQ(HostKit::EventOf(value), 0U) << value;
  }
  for (const std::uint32_t event : {0U, 5U, 10980U, 10981U, 10982U, 10985U, 11093U, 11094U}) {
    EXPECT_EQ(HostKit::ReasonOf(event), 0U) << event;
  }
}

TEST(Errors, AllButSuccessComeWithAdvice) {
  for (const std::uint32_t error : {20000U, 20001U, 20002U, 20003U, 20004U, 20005U, 20007U, 20008U,
                                    20011U, 20012U, 20031U, 20040U, 20041U, 20042U}) {
    EXPECT_TRUE(IsASentence(HostKit::AdviceOf(Family::Error, error))) << error;
  }
  EXPECT_EQ(HostKit::AdviceOf(Family::Error, 0), "");
  EXPECT_EQ(HostKit::AdviceOf(Family::Error, 20006), "");
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

TEST(Advice, IsForReasonsAndOnlyForThem) {
  std::set<std::uint32_t> advised, reasons;
  for (const ReportedReason& row : kReasons) {
    EXPECT_TRUE(IsASentence(HostKit::AdviceOf(Family::Value, row.reason))) << row.reason;
    reasons.insert(row.reason);
  }
  for (const std::uint32_t value : kNumbers.at(Family::Value)) {
    if (!HostKit::AdviceOf(Family::Value, value).empty()) advised.insert(value);
  }
  EXPECT_EQ(advised, reasons);
  EXPECT_EQ(HostKit::AdviceOf(Family::Value, 49999), "");
}

TEST(Meanings, AreSentencesForAllButPlainValues) {
  for (const auto& [family, numbers] : kNumbers) {
    for (const std::uint32_t number : numbers) {
      const std::string meaning = HostKit::MeaningOf(family, number);
      const bool plain =
          family == Family::Value && HostKit::AdviceOf(Family::Value, number).empty();
      EXPECT_NE(meaning, "") << number;
      EXPECT_TRUE(plain || IsASentence(meaning)) << number << ' ' << meaning;
    }
    EXPECT_EQ(HostKit::MeaningOf(family, 69999), "");
  }
}

TEST(Meanings, OfOneFamilyAreAllDifferent) {
  for (const auto& [family, numbers] : kNumbers) {
    std::map<std::string, std::uint32_t> seen;
    for (const std::uint32_t number : numbers) {
      // Minimal mode is reported as a warning and as a cause: two numbers for one state.
      if (number == PI::Value::MINIMAL) continue;
      const auto [first, isNew] = seen.emplace(HostKit::MeaningOf(family, number), number);
      EXPECT_TRUE(isNew) << number << " and " << first->second;
    }
  }
}

TEST(Meanings, OfEventsStandForAnyCard) {
  EXPECT_EQ(HostKit::MeaningOf(Family::Event, 10967),
            "The temperature of adapter NAME is above its warning threshold.");
  EXPECT_EQ(HostKit::MeaningOf(Family::Event, 10985),
            "On adapter NAME, the format of drive NAME has changed.");
}

}  // namespace
