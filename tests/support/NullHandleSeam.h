// What the card library says of no card at all. The simulator says no; another library may not, and
// the plug-in asks it when it fills an adapter's row.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/vsl_abstraction.h"

namespace CorvaneTest {

// Answers for a null handle while it lives, with what is set here, and keeps what was asked of it.
// One at a time, and only while the plug-in has no thread of its own.
class NullHandleAnswers {
 public:
  NullHandleAnswers();
  ~NullHandleAnswers();
  NullHandleAnswers(const NullHandleAnswers&) = delete;
  NullHandleAnswers& operator=(const NullHandleAnswers&) = delete;

  // By the names of the attributes; the library says no to those without a value.
  std::optional<std::uint32_t> rated_endurance_tbytes;
  std::optional<float> rated_writes_remaining_percent;
  std::optional<std::uint64_t> total_physical_bytes_read;
  std::optional<std::uint64_t> total_physical_bytes_written;

  // Calls with a null handle, and every call of the host's helper with its numbers, in their order:
  // "vsl_has_rated_endurance_tbytes", "ComputeRemainingLifeTime 8760 1024 80 100". A call whose
  // error record was not all zero says so.
  std::vector<std::string> m_Calls;

  void Note(const std::string& function, const vsl_error_record* record);
};

// While it lives, the host has no unit for any byte count, and leaves something in the outputs all
// the same. One at a time.
class NoUnitForBytes {
 public:
  NoUnitForBytes();
  ~NoUnitForBytes();
  NoUnitForBytes(const NoUnitForBytes&) = delete;
  NoUnitForBytes& operator=(const NoUnitForBytes&) = delete;
};

}  // namespace CorvaneTest
