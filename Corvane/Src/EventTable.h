// The events of the plug-in: their numbers, and the status bits and reasons that trigger them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Corvane/Src/HostNumbers.h"

namespace NAMESPACE_Corvane {

namespace PI {

namespace Event {
enum _EVENT_ID : std::uint32_t {
  CTRL_INTERNAL_ERROR = 10957,
  CTRL_INCOMPATIBLE_PCI_BANDWIDTH = 10958,
  CTRL_PARTIAL_WRITE_THROTTLING = 10959,
  CTRL_MAXIMUM_WRITE_THROTTLING = 10960,
  CTRL_TEMPERATURE_NEAR_ERROR = 10961,
  CTRL_TEMPERATURE_ABOVE_ERROR = 10962,
  CTRL_INTERNAL_VOLTAGE_OUT_OF_RANGE = 10963,
  CTRL_AUXILIARY_VOLTAGE_OUT_OF_RANGE = 10964,
  CTRL_FLASHBACK = 10965,
  CTRL_NONCORRECTABLE_PCI_ERRORS = 10966,
  CTRL_TEMPERATURE_ABOVE_WARN = 10967,
  CTRL_NEAR_WEARING_OUT = 10968,
  CTRL_NONOPTIMAL_PCI_BANDWIDTH = 10969,
  CTRL_CORRECTABLE_PCI_ERRORS = 10970,
  CTRL_NO_POWERLOSS_PROTECTION = 10971,
  CTRL_POWER_WRITE_REGULATION = 10972,
  CTRL_TEMPERATURE_WRITE_REGULATION = 10973,
  CTRL_LIFESPAN_WRITE_REGULATION = 10974,
  CTRL_MINIMAL = 10975,
  CTRL_PCI_OVERPOWER = 10976,
  CTRL_LEB_MAP_MISSING = 10977,
  CTRL_UPDATE_IN_PROGRESS = 10978,
  CTRL_RESERVES_DEPLETED = 10979,
  CTRL_NORMAL = 10980,
  CTRL_ATTACH_FAILED = 10981,
  CTRL_DETACH_FAILED = 10982,
  CTRL_ATTACHED = 10983,
  CTRL_DETACHED = 10984,
  PD_FORMAT_CHANGED = 10985,
  CTRL_WRITE_REG_POWER = 11086,
  CTRL_UNACTIVATED_FIRMWARE = 11087,
  CTRL_PNPADD = 11093,
  CTRL_PNPREMOVE = 11094,
};
}  // namespace Event

using Event::_EVENT_ID;

}  // namespace PI

// One bit of a status mask: the reason that the adapter has while the bit is set, and the event
// that is queued when the bit changes from 0 to 1.
struct StatusBit {
  unsigned int m_Bit;
  int m_Reason;
  PI::_EVENT_ID m_Event;
  PI::_SEVERITY m_Severity;
};

// Bits of `vsl_current_errors`.
constexpr StatusBit kErrorBits[] = {
    {0, PI::Value::INTERNAL_ERROR, PI::Event::CTRL_INTERNAL_ERROR, PI::SEVERITY_ERROR},
    {1, PI::Value::INCOMPATIBLE_PCI_BANDWIDTH, PI::Event::CTRL_INCOMPATIBLE_PCI_BANDWIDTH,
     PI::SEVERITY_ERROR},
    {2, PI::Value::PARTIAL_WRITE_THROTTLING, PI::Event::CTRL_PARTIAL_WRITE_THROTTLING,
     PI::SEVERITY_ERROR},
    {3, PI::Value::COMPLETE_WRITE_THROTTLING, PI::Event::CTRL_MAXIMUM_WRITE_THROTTLING,
     PI::SEVERITY_ERROR},
    {4, PI::Value::TEMPERATURE_NEAR_ERROR, PI::Event::CTRL_TEMPERATURE_NEAR_ERROR,
     PI::SEVERITY_ERROR},
    {5, PI::Value::TEMPERATURE_ABOVE_ERROR, PI::Event::CTRL_TEMPERATURE_ABOVE_ERROR,
     PI::SEVERITY_ERROR},
    {6, PI::Value::INTERNAL_VOLTAGE_OUT_OF_RANGE, PI::Event::CTRL_INTERNAL_VOLTAGE_OUT_OF_RANGE,
     PI::SEVERITY_ERROR},
    {7, PI::Value::AUXILIARY_VOLTAGE_OUT_OF_RANGE, PI::Event::CTRL_AUXILIARY_VOLTAGE_OUT_OF_RANGE,
     PI::SEVERITY_ERROR},
    {8, PI::Value::FLASHBACK, PI::Event::CTRL_FLASHBACK, PI::SEVERITY_ERROR},
    {9, PI::Value::NONCORRECTABLE_PCI_ERRORS, PI::Event::CTRL_NONCORRECTABLE_PCI_ERRORS,
     PI::SEVERITY_ERROR},
};

// Bits of `vsl_current_warnings`.
constexpr StatusBit kWarningBits[] = {
    {0, PI::Value::TEMPERATURE_ABOVE_WARN, PI::Event::CTRL_TEMPERATURE_ABOVE_WARN,
     PI::SEVERITY_WARNING},
    {1, PI::Value::NEAR_WEARING_OUT, PI::Event::CTRL_NEAR_WEARING_OUT, PI::SEVERITY_WARNING},
    {2, PI::Value::NONOPTIMAL_PCI_BANDWIDTH, PI::Event::CTRL_NONOPTIMAL_PCI_BANDWIDTH,
     PI::SEVERITY_WARNING},
    {3, PI::Value::CORRECTABLE_PCI_ERRORS, PI::Event::CTRL_CORRECTABLE_PCI_ERRORS,
     PI::SEVERITY_WARNING},
    {4, PI::Value::NO_POWERLOSS_PROTECTION, PI::Event::CTRL_NO_POWERLOSS_PROTECTION,
     PI::SEVERITY_WARNING},
    {5, PI::Value::POWER_WRITE_REGULATION, PI::Event::CTRL_POWER_WRITE_REGULATION,
     PI::SEVERITY_WARNING},
    {6, PI::Value::TEMPERATURE_WRITE_REGULATION, PI::Event::CTRL_TEMPERATURE_WRITE_REGULATION,
     PI::SEVERITY_WARNING},
    {7, PI::Value::LIFESPAN_WRITE_REGULATION, PI::Event::CTRL_LIFESPAN_WRITE_REGULATION,
     PI::SEVERITY_WARNING},
    {8, PI::Value::MINIMAL, PI::Event::CTRL_MINIMAL, PI::SEVERITY_WARNING},
    {9, PI::Value::PCI_OVERPOWER, PI::Event::CTRL_PCI_OVERPOWER, PI::SEVERITY_WARNING},
    {10, PI::Value::LEB_MAP_MISSING, PI::Event::CTRL_LEB_MAP_MISSING, PI::SEVERITY_WARNING},
    {11, PI::Value::UPDATE_IN_PROGRESS, PI::Event::CTRL_UPDATE_IN_PROGRESS, PI::SEVERITY_WARNING},
    {12, PI::Value::RESERVES_DEPLETED, PI::Event::CTRL_RESERVES_DEPLETED, PI::SEVERITY_WARNING},
};

// Bits of `vsl_current_info`. Their events are triggered by the warning bits with the same numbers.
constexpr StatusBit kInfoBits[] = {
    {0, PI::Value::POWER_WRITE_REGULATION, PI::Event::CTRL_WRITE_REG_POWER,
     PI::SEVERITY_INFORMATION},
    {1, PI::Value::UNACTIVATED_FIRMWARE, PI::Event::CTRL_UNACTIVATED_FIRMWARE,
     PI::SEVERITY_INFORMATION},
};

// Rows must be in the order of their bits, because reasons and events are emitted in row order.
template <std::size_t N>
constexpr bool AreInBitOrder(const StatusBit (&bits)[N]) {
  for (std::size_t i = 0; i < N; ++i) {
    if (bits[i].m_Bit != i) return false;
  }
  return true;
}
static_assert(AreInBitOrder(kErrorBits) && AreInBitOrder(kWarningBits) && AreInBitOrder(kInfoBits));

// Every event number must be used only once.
template <std::size_t N, std::size_t M>
constexpr bool EventsDiffer(const StatusBit (&some)[N], const StatusBit (&others)[M]) {
  for (std::size_t i = 0; i < N; ++i) {
    for (std::size_t j = 0; j < M; ++j) {
      if (&some[i] != &others[j] && some[i].m_Event == others[j].m_Event) return false;
    }
  }
  return true;
}
static_assert(EventsDiffer(kErrorBits, kErrorBits) && EventsDiffer(kWarningBits, kWarningBits) &&
              EventsDiffer(kInfoBits, kInfoBits));
static_assert(EventsDiffer(kErrorBits, kWarningBits) && EventsDiffer(kErrorBits, kInfoBits) &&
              EventsDiffer(kWarningBits, kInfoBits));

// An event that is queued when an adapter has a reason that it did not have at the previous scan.
struct ReasonEvent {
  int m_Reason;
  PI::_EVENT_ID m_Event;
  PI::_SEVERITY m_Severity;
};

// In the order in which they are queued, after the events of status bits.
constexpr ReasonEvent kReasonEvents[] = {
    {PI::Value::ATTACHED, PI::Event::CTRL_ATTACHED, PI::SEVERITY_INFORMATION},
    {PI::Value::DETACHED, PI::Event::CTRL_DETACHED, PI::SEVERITY_ERROR},
};

constexpr bool IsSet(std::uint64_t mask, std::size_t bit) {
  return ((mask >> bit) & 1U) != 0;
}

}  // namespace NAMESPACE_Corvane
