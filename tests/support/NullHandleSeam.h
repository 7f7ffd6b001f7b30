// Results of the card library for a null handle. The simulator reports that attributes are absent,
// but another library may not, and the plug-in reads them when it fills an adapter's row.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/vsl_abstraction.h"

namespace CorvaneTest {

// Makes reads with a null handle return the values set here, and records the calls. Only one
// instance may exist at a time, and only while the plug-in runs no threads.
class NullHandleResults {
 public:
  NullHandleResults();
  ~NullHandleResults();
  NullHandleResults(const NullHandleResults&) = delete;
  NullHandleResults& operator=(const NullHandleResults&) = delete;

  // Named like the attributes. Those without a value are absent.
  std::optional<std::uint32_t> rated_endurance_tbytes;
  std::optional<float> rated_writes_remaining_percent;
  std::optional<std::uint64_t> total_physical_bytes_read;
  std::optional<std::uint64_t> total_physical_bytes_written;

  // Calls with a null handle, and all calls to the host's helper with their arguments, in order:
  // "vsl_has_rated_endurance_tbytes", "ComputeRemainingLifeTime 8760 1024 80 100". Calls whose
  // error record is not all zero are marked.
  std::vector<std::string> m_Calls;

  void Note(const std::string& function, const vsl_error_record* record);
};

// Makes the host's conversion of byte counts fail but set its outputs, until destroyed. Only one
// instance may exist at a time.
class ScopedUnitConversionFailure {
 public:
  ScopedUnitConversionFailure();
  ~ScopedUnitConversionFailure();
  ScopedUnitConversionFailure(const ScopedUnitConversionFailure&) = delete;
  ScopedUnitConversionFailure& operator=(const ScopedUnitConversionFailure&) = delete;
};

}  // namespace CorvaneTest
