// Replaces the card library's reads, and the helper of the host that receives their results: the
// loader finds the executable's definitions first. Other calls are forwarded to the replaced
// functions.

#include "tests/support/NullHandleSeam.h"

#include <dlfcn.h>

#include <atomic>
#include <cstring>

#include "host/PluginInterface.h"

namespace CorvaneTest {

namespace {

std::atomic<NullHandleResults*> g_pResults{nullptr};
std::atomic<bool> g_ConversionFails{false};

NullHandleResults* ResultsFor(const void* handle) {
  return handle == nullptr ? g_pResults.load() : nullptr;
}

void NoteHelper(const std::string& call) {
  if (NullHandleResults* const results = g_pResults) results->m_Calls.push_back(call);
}

// Returns the original definition of a function that this file replaces.
template <class Function>
Function* Next(Function*, const char* symbol) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

NullHandleResults::NullHandleResults() {
  g_pResults = this;
}

NullHandleResults::~NullHandleResults() {
  g_pResults = nullptr;
}

ScopedUnitConversionFailure::ScopedUnitConversionFailure() {
  g_ConversionFails = true;
}

ScopedUnitConversionFailure::~ScopedUnitConversionFailure() {
  g_ConversionFails = false;
}

void NullHandleResults::Note(const std::string& function, const vsl_error_record* record) {
  static const vsl_error_record zero{};
  const bool isZero = record != nullptr && std::memcmp(record, &zero, sizeof zero) == 0;
  m_Calls.push_back(function + (isZero ? "" : " (record not zero)"));
}

}  // namespace CorvaneTest

#define SEAM_PAIR(type, name)                                                     \
  extern "C" VSL_API bool vsl_has_##name(void* handle, vsl_error_record* err) {   \
    static const auto next = CorvaneTest::Next(vsl_has_##name, "vsl_has_" #name); \
    auto* const results = CorvaneTest::ResultsFor(handle);                        \
    if (results == nullptr) return next(handle, err);                             \
    results->Note("vsl_has_" #name, err);                                         \
    return results->name.has_value();                                             \
  }                                                                               \
  extern "C" VSL_API type vsl_##name(void* handle, vsl_error_record* err) {       \
    static const auto next = CorvaneTest::Next(vsl_##name, "vsl_" #name);         \
    auto* const results = CorvaneTest::ResultsFor(handle);                        \
    if (results == nullptr) return next(handle, err);                             \
    results->Note("vsl_" #name, err);                                             \
    return results->name.value_or(type());                                        \
  }

SEAM_PAIR(std::uint32_t, rated_endurance_tbytes)
SEAM_PAIR(float, rated_writes_remaining_percent)
SEAM_PAIR(std::uint64_t, total_physical_bytes_read)
SEAM_PAIR(std::uint64_t, total_physical_bytes_written)
#undef SEAM_PAIR

namespace PI {

bool CPluginHelper::ConvertBytesToOtherUnit(unsigned long bytes, float& value, _UNITS& unit) {
  static const auto next = CorvaneTest::Next(
      ConvertBytesToOtherUnit, "_ZN2PI13CPluginHelper23ConvertBytesToOtherUnitEmRfRNS_6_UNITSE");
  CorvaneTest::NoteHelper("ConvertBytesToOtherUnit " + std::to_string(bytes));
  if (!CorvaneTest::g_ConversionFails) return next(bytes, value, unit);
  value = 77;
  unit = UNITS_WATTS;
  return false;
}

void CPluginHelper::ComputeRemainingLifeTime(unsigned long usedHours, unsigned long bytesWritten,
                                             unsigned int usedPercent, unsigned long ratedTBytes,
                                             unsigned long& remainingHours) {
  static const auto next = CorvaneTest::Next(
      ComputeRemainingLifeTime, "_ZN2PI13CPluginHelper24ComputeRemainingLifeTimeEmmjmRm");
  CorvaneTest::NoteHelper("ComputeRemainingLifeTime " + std::to_string(usedHours) + " " +
                          std::to_string(bytesWritten) + " " + std::to_string(usedPercent) + " " +
                          std::to_string(ratedTBytes));
  next(usedHours, bytesWritten, usedPercent, ratedTBytes, remainingHours);
}

}  // namespace PI
