// The registry of events: severity, log message, and either advice or the reason for an
// adapter's status that the event reports. %1 is the adapter's name, %2 the drive's.
//
// If two events report the same reason, the one with the lower number reports its start.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/ReasonTexts.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr PI::_SEVERITY kInformation = PI::SEVERITY_INFORMATION;
inline constexpr PI::_SEVERITY kWarning = PI::SEVERITY_WARNING;
inline constexpr PI::_SEVERITY kError = PI::SEVERITY_ERROR;

// An event that reports a reason has the reason's advice.
constexpr EventAdvice ReasonAdvice(PI::_VALUE_ID reason) {
  const auto number = static_cast<std::uint32_t>(reason);
  return {number, FindRow(kReasonTexts, number)->m_Advice};
}

constexpr EventAdvice Advice(const char* text) {
  return {0, text};
}

constexpr EventAdvice kNoAdvice = {0, ""};

#define HOSTKIT_EVENT(name, number, severity, places, message, advice) \
  EventRow{number, severity, places, message, advice},

// clang-format off
inline constexpr std::array kEventTexts{
    EventRow{PI::Event::UNDEFINED, kInformation, 0,
             "An event without a description.",
             kNoAdvice},
    EventRow{PI::Event::CONNECTED, kInformation, 0,
             "The connection was established.",
             kNoAdvice},
    EventRow{PI::Event::DISCONNECTED, kInformation, 0,
             "The connection was closed.",
             kNoAdvice},
    EventRow{PI::Event::UNEXPECTED_DISCONNECT, kError, 0,
             "The connection was lost.",
             Advice("Check that the other side is running, then connect again.")},
    EventRow{PI::Event::TEST_TRAP, kInformation, 0,
             "Test message. No action needed.",
             kNoAdvice},
    PI_EVENTS(HOSTKIT_EVENT)
};
// clang-format on
#undef HOSTKIT_EVENT

// Whether the message contains each of its placeholders exactly once, in order, and no others.
constexpr bool PlaceholdersAgree(const EventRow& row) {
  unsigned int named = 0;
  for (const char* at = row.m_Text; *at != 0; ++at) {
    if (*at != '%') continue;
    ++named;
    if (at[1] != static_cast<char>('0' + named)) return false;
  }
  return named == row.m_Placeholders;
}

constexpr bool AllPlaceholdersAgree() {
  for (const EventRow& row : kEventTexts) {
    if (!PlaceholdersAgree(row)) return false;
  }
  return true;
}

// Every warning and error has advice.
constexpr bool WarningsHaveAdvice() {
  for (const EventRow& row : kEventTexts) {
    if (row.m_Severity >= kWarning && *row.m_Advice.m_Text == 0) return false;
  }
  return true;
}

static_assert(NumbersAreAscending(kEventTexts) && AllPlaceholdersAgree() && WarningsHaveAdvice());

}  // namespace HostKit
