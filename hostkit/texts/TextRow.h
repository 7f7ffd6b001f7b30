// Rows of the message tables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/Identifiers.h"

namespace HostKit {

struct TextRow {
  std::uint32_t m_Number;
  const char* m_Text;
};

struct ReasonRow {
  std::uint32_t m_Number;
  PI::_VALUE_ID m_Status;  // the best that an adapter with this reason has
  const char* m_Advice;
};

// What to do about an event, and the reason that it tells of, if it tells of one.
struct EventAdvice {
  std::uint32_t m_Reason;  // or 0
  const char* m_Text;      // empty when nothing has to be done
};

struct EventRow {
  std::uint32_t m_Number;
  PI::_SEVERITY m_Severity;  // the least with which it is told
  unsigned int m_Places;     // how many texts the sentence takes: %1 to %m_Places
  const char* m_Text;
  EventAdvice m_Advice;
};

struct ErrorRow {
  std::uint32_t m_Number;
  const char* m_Text;
  const char* m_Advice;
};

template <class Row, std::size_t size>
constexpr bool NumbersRise(const std::array<Row, size>& rows) {
  for (std::size_t i = 1; i < size; ++i) {
    if (rows[i - 1].m_Number >= rows[i].m_Number) return false;
  }
  return true;
}

// The row of a number, or null.
template <class Row, std::size_t size>
constexpr const Row* FindRow(const std::array<Row, size>& rows, std::uint32_t number) {
  for (const Row& row : rows) {
    if (row.m_Number == number) return &row;
  }
  return nullptr;
}

}  // namespace HostKit
