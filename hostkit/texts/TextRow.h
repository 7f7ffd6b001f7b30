// Rows of the message tables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/Identifiers.h"

namespace HostKit {

// A number's name, caption or meaning.
struct TextRow {
  std::uint32_t m_Number;
  const char* m_Text;
};

// A reason for an adapter's status.
struct ReasonRow {
  std::uint32_t m_Number;
  PI::_VALUE_ID m_Status;  // the least severe status that this reason allows
  const char* m_Advice;
};

// The advice for an event, and the reason that the event reports, if any.
struct EventAdvice {
  std::uint32_t m_Reason;  // 0 if none
  const char* m_Text;      // empty if no action is needed
};

// An event, with its message and advice.
struct EventRow {
  std::uint32_t m_Number;
  PI::_SEVERITY m_Severity;     // the lowest severity with which it is reported
  unsigned int m_Placeholders;  // how many placeholders (%1, %2, ...) the message contains
  const char* m_Text;           // the message
  EventAdvice m_Advice;
};

// A return code of the plug-in, with its message and advice.
struct ErrorRow {
  std::uint32_t m_Number;
  const char* m_Text;
  const char* m_Advice;
};

template <class Row, std::size_t size>
constexpr bool NumbersAreAscending(const std::array<Row, size>& rows) {
  for (std::size_t i = 1; i < size; ++i) {
    if (rows[i - 1].m_Number >= rows[i].m_Number) return false;
  }
  return true;
}

// Returns the row with this number, or null.
template <class Row, std::size_t size>
constexpr const Row* FindRow(const std::array<Row, size>& rows, std::uint32_t number) {
  for (const Row& row : rows) {
    if (row.m_Number == number) return &row;
  }
  return nullptr;
}

}  // namespace HostKit
