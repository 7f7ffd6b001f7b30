#include <gtest/gtest.h>

#include <cctype>
#include <set>

#include "host/PluginInterface.h"
#include "hostkit/Texts.h"
#include "tests/host/HostNumbers.h"

namespace {

using HostKit::Family;

struct Number {
  Family family;
  std::uint32_t number;
  const char* name;
};

#define ERROR_NUMBER(name, ...) {Family::Error, FIRST_OF(__VA_ARGS__, 0), #name},
#define EVENT_NUMBER(name, ...) {Family::Event, FIRST_OF(__VA_ARGS__, 0), #name},
#define OPERATION_NUMBER(name, ...) {Family::Operation, FIRST_OF(__VA_ARGS__, 0), #name},
#define PROPERTY_NUMBER(name, ...) {Family::Property, FIRST_OF(__VA_ARGS__, 0), #name},
#define VALUE_NUMBER(name, number, text) {Family::Value, number, text},

// All numbers of the host.
const std::vector<Number> kNumbers = {
    HOST_ERRORS(ERROR_NUMBER) HOST_EVENTS(EVENT_NUMBER) HOST_OPERATIONS(OPERATION_NUMBER)
        HOST_PROPERTIES(PROPERTY_NUMBER) HOST_SHORT_NAMES(PROPERTY_NUMBER)
            HOST_VALUES(VALUE_NUMBER)};

TEST(Texts, EveryNumberHasItsName) {
  for (const Number& row : kNumbers) EXPECT_EQ(HostKit::NameOf(row.family, row.number), row.name);
}

TEST(Texts, EveryNameHasItsNumber) {
  for (const Number& row : kNumbers) {
    if (row.number == PI::ShortName::REMAINING_RESERVE_SPACE) continue;  // also a property
    EXPECT_EQ(HostKit::NumberOf(row.family, row.name), row.number) << row.name;
  }
  EXPECT_EQ(HostKit::NumberOf(Family::Property, "REMAINING_RESERVE_SPACE"),
            PI::Property::REMAINING_RESERVE_SPACE);
  EXPECT_EQ(HostKit::NameOf(Family::Property, PI::ShortName::REMAINING_RESERVE_SPACE),
            "REMAINING_RESERVE_SPACE");
}

TEST(Texts, NamesAreCaseInsensitive) {
  EXPECT_EQ(HostKit::NumberOf(Family::Event, "ctrl_Normal"), PI::Event::CTRL_NORMAL);
  EXPECT_EQ(HostKit::NumberOf(Family::Value, "512b"), static_cast<std::uint32_t>(PI::Value::_512B));
  EXPECT_EQ(HostKit::NumberOf(Family::Error, "ctrl_normal"), 0U);
  EXPECT_EQ(HostKit::NumberOf(Family::Event, ""), 0U);
}

bool EndsWithAPeriod(const std::string& text) {
  return !text.empty() && text.back() == '.';
}

TEST(Texts, EveryNumberHasACaption) {
  for (const Number& row : kNumbers) {
    const std::string caption = HostKit::CaptionOf(row.family, row.number);
    ASSERT_FALSE(caption.empty()) << row.name;
    EXPECT_NE(caption, row.name == std::string("OK") ? "" : row.name);
    EXPECT_FALSE(std::islower(static_cast<unsigned char>(caption[0]))) << caption;
    const bool sentence = row.family == Family::Error || row.family == Family::Event;
    EXPECT_EQ(EndsWithAPeriod(caption), sentence) << caption;
  }
}

TEST(Texts, CaptionsAreUniqueInEachFamily) {
  std::set<std::pair<Family, std::string>> captions;
  for (const Number& row : kNumbers) {
    EXPECT_TRUE(captions.emplace(row.family, HostKit::CaptionOf(row.family, row.number)).second)
        << row.name;
  }
}

TEST(Texts, ListsTheNumbersOfEachFamily) {
  EXPECT_EQ(HostKit::NumbersOf(Family::Error).size(), 1U HOST_ERRORS(COUNT_ONE));
  EXPECT_EQ(HostKit::NumbersOf(Family::Event).size(), 5U HOST_EVENTS(COUNT_ONE));
  EXPECT_EQ(HostKit::NumbersOf(Family::Operation).size(), 1U HOST_OPERATIONS(COUNT_ONE));
  EXPECT_EQ(HostKit::NumbersOf(Family::Property).size(),
            0U HOST_PROPERTIES(COUNT_ONE) HOST_SHORT_NAMES(COUNT_ONE));
  EXPECT_EQ(HostKit::NumbersOf(Family::Value).size(), 1U HOST_VALUES(COUNT_ONE));
  EXPECT_EQ(HostKit::NumbersOf(Family::Operation).front(), 1U);
}

struct LowNumber {
  Family family;
  std::uint32_t number;
  const char* name;
};

TEST(Texts, LowNumbersHaveNamesAndCaptions) {
  const LowNumber rows[] = {
      {Family::Error, 0, "SUCCESS"},   {Family::Event, 1, "UNDEFINED"},
      {Family::Event, 2, "CONNECTED"}, {Family::Event, 3, "DISCONNECTED"},
      {Family::Event, 5, "TEST_TRAP"}, {Family::Event, 4, "UNEXPECTED_DISCONNECT"},
      {Family::Value, 1, "UNDEFINED"}, {Family::Operation, 1, "OP_UNDEFINED"}};
  for (const LowNumber& row : rows) {
    EXPECT_EQ(HostKit::NameOf(row.family, row.number), row.name);
    EXPECT_EQ(HostKit::NumberOf(row.family, row.name), row.number);
    EXPECT_NE(HostKit::CaptionOf(row.family, row.number), "");
  }
}

TEST(Texts, UnknownNumbersHaveNoNameOrCaption) {
  const Family families[] = {Family::Error, Family::Event, Family::Operation, Family::Property,
                             Family::Value};
  for (const Family family : families) {
    for (const std::uint32_t number : {6U, 9999U, 20006U, 34999U, 60000U, 0xFFFFFFFFU}) {
      EXPECT_EQ(HostKit::NameOf(family, number), "");
      EXPECT_EQ(HostKit::CaptionOf(family, number), "");
    }
  }
}

PI::CEvent Event(std::uint32_t number, const char* first, const char* second) {
  PI::CEvent event;
  event.m_EventID = number;
  event.SetPlaceHolder1(first);
  event.SetPlaceHolder2(second);
  return event;
}

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(EventMessages, NameTheAdapterOnceAndTheDriveOfDriveEvents) {
  for (const Number& row : kNumbers) {
    if (row.family != Family::Event) continue;
    const std::string message = HostKit::MessageOf(Event(row.number, "<card>", "<drive>"));
    EXPECT_EQ(Count(message, "<card>"), 1U) << row.name;
    EXPECT_EQ(Count(message, "<drive>"), row.number == PI::Event::PD_FORMAT_CHANGED ? 1U : 0U)
        << row.name;
    EXPECT_EQ(Count(message, "%"), 0U) << row.name;
  }
}

TEST(EventMessages, FillInTheNames) {
  EXPECT_EQ(HostKit::MessageOf(Event(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, "Mezzanine (1)", "")),
            "The temperature of adapter Mezzanine (1) is above its warning threshold.");
  EXPECT_EQ(HostKit::MessageOf(Event(PI::Event::PD_FORMAT_CHANGED, "Mezzanine (1)", "Drive (0)")),
            "On adapter Mezzanine (1), the format of drive Drive (0) has changed.");
}

TEST(EventMessages, DoNotExpandPlaceholdersInNames) {
  EXPECT_EQ(HostKit::MessageOf(Event(PI::Event::PD_FORMAT_CHANGED, "%2", "%1 100%")),
            "On adapter %2, the format of drive %1 100% has changed.");
}

TEST(EventMessages, ShowAnEmptyNameAsUnnamed) {
  EXPECT_EQ(HostKit::MessageOf(Event(PI::Event::CTRL_NORMAL, "", "")),
            "Adapter (unnamed) is back to normal.");
}

TEST(EventMessages, ExistForUndefinedButNotForUnknownEvents) {
  EXPECT_EQ(HostKit::MessageOf(PI::CEvent()), "An event without a description.");
  EXPECT_EQ(HostKit::MessageOf(Event(10000, "a", "b")), "");
}

TEST(HostTexts, ContainTheQuestionsForOperations) {
  const std::pair<std::uint32_t, const char*> questions[] = {{22029, "Take it offline?"},
                                                             {22031, "Bring it online?"},
                                                             {22110, "Attach the adapter?"},
                                                             {22111, "Detach the adapter?"}};
  for (const auto& [number, question] : questions) {
    const std::string text = HostKit::HostText(number);
    EXPECT_EQ(text.substr(text.size() - std::string(question).size()), question);
  }
  EXPECT_EQ(HostKit::HostText(1), "");
  EXPECT_EQ(HostKit::HostText(22030), "");
}

TEST(UnitSymbols, ExistForEveryUnit) {
  const std::pair<unsigned int, const char*> symbols[] = {
      {21000, "°C"}, {21001, "KiB"}, {21002, "MiB"}, {21003, "GiB"}, {21004, "TiB"}, {21005, "PiB"},
      {21007, "s"},  {21010, "%"},   {21025, "B"},   {21028, "W"},   {0, ""},        {21006, ""}};
  for (const auto& [unit, symbol] : symbols) {
    EXPECT_EQ(HostKit::UnitSymbol(static_cast<PI::_UNITS>(unit)), symbol);
  }
}

}  // namespace
