// What the numbers of the card library mean to the host: mask bits, states and reasons as value
// identifiers, and device ids as families.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "Corvane/Src/Vocabulary.h"

namespace NAMESPACE_Corvane {

constexpr int kNoReason = 0;

// What one bit of a status mask means: the reason that an adapter shows while the bit is set, and
// the event that is raised when it rises.
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

// Bits of `vsl_current_info`. Their events are raised by the warning bits of the same numbers.
constexpr StatusBit kInfoBits[] = {
    {0, PI::Value::POWER_WRITE_REGULATION, PI::Event::CTRL_WRITE_REG_POWER,
     PI::SEVERITY_INFORMATION},
    {1, PI::Value::UNACTIVATED_FIRMWARE, PI::Event::CTRL_UNACTIVATED_FIRMWARE,
     PI::SEVERITY_INFORMATION},
};

// Reasons and events come in the order of the rows, which is that of the bits.
template <std::size_t N>
constexpr bool InOrderOfBits(const StatusBit (&bits)[N]) {
  for (std::size_t i = 0; i < N; ++i) {
    if (bits[i].m_Bit != i) return false;
  }
  return true;
}
static_assert(InOrderOfBits(kErrorBits) && InOrderOfBits(kWarningBits) && InOrderOfBits(kInfoBits));

// Every event number is used once.
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

// Bits that change constantly and are not reported.
constexpr std::uint64_t kIgnoredWarnings = std::uint64_t{1} << 9;
constexpr std::uint64_t kIgnoredInfo = std::uint64_t{1} << 0;

// Reasons by bit of `vsl_minimal_mode_reason`.
constexpr int kMinimalModeReasons[] = {
    PI::Value::FIRMWARE_OUT_OF_DATE,
    PI::Value::INSUFFICIENT_POWER,
    PI::Value::DUAL_PLANE_FAIL,
    PI::Value::FORCED,
    PI::Value::INTERNAL,
    PI::Value::CARD_LIMIT_EXCEEDED,
    PI::Value::UNSUPPORTED_OS,
    PI::Value::INSUFFICIENT_MEMORY,
    PI::Value::SMP_BOOTLOADER_MODE,
    PI::Value::MISSING_MIDPROM,
    PI::Value::UNSUPPORTED_NAND,
    PI::Value::DRIVER_OUT_OF_DATE,
    PI::Value::HARDWARE_FAILURE,
    PI::Value::GENERAL_CHANNEL_INIT_FAIL,
};

// Reasons by `vsl_write_throttling_reason`.
constexpr int kThrottlingReasons[] = {
    kNoReason,
    PI::Value::THROT_BY_USER,
    PI::Value::THROT_NO_METADATA_BLOCKS,
    PI::Value::THROT_NO_MEMORY,
    PI::Value::THROT_CHIP_FAILURE,
    PI::Value::THROT_WEAROUT,
    PI::Value::THROT_POWER,
    PI::Value::THROT_INTERNAL,
    PI::Value::THROT_POWER_LIMIT,
    PI::Value::THROT_GROOMER_FAILURE,
};

constexpr bool IsSet(std::uint64_t mask, std::size_t bit) {
  return ((mask >> bit) & 1U) != 0;
}

// Append the reason of each set bit, from bit 0 up. Bits beyond the table are ignored.
template <std::size_t N>
void AppendReasons(std::uint64_t mask, const StatusBit (&bits)[N],
                   std::vector<std::int32_t>& list) {
  for (const StatusBit& row : bits) {
    if (IsSet(mask, row.m_Bit)) list.push_back(row.m_Reason);
  }
}
template <std::size_t N>
void AppendReasons(std::uint64_t mask, const int (&reasons)[N], std::vector<std::int32_t>& list) {
  for (std::size_t bit = 0; bit < N; ++bit) {
    if (IsSet(mask, bit)) list.push_back(reasons[bit]);
  }
}

// What a card state does to the status of an adapter.
enum class StatusEffect { None, Degrade, Fail };

struct CardState {
  StatusEffect m_Effect;
  int m_Activity;  // or 0: stays
  int m_Reason;    // or kNoReason
};

// By `vsl_iom_state`.
constexpr CardState kCardStates[] = {
    {StatusEffect::Degrade, 0, PI::Value::DETACHED},           // detached
    {StatusEffect::Degrade, PI::Value::ATTACHING, kNoReason},  // attaching
    {StatusEffect::None, 0, PI::Value::ATTACHED},              // attached
    {StatusEffect::Degrade, PI::Value::DETACHING, kNoReason},  // detaching
    {StatusEffect::Degrade, PI::Value::BUSY, kNoReason},       // busy
    {StatusEffect::Fail, 0, kNoReason},           // minimal mode, with reasons of its own
    {StatusEffect::Fail, 0, kNoReason},           // failed
    {StatusEffect::Fail, 0, PI::Value::STOPPED},  // stopped
};

// A state beyond the table counts as failed.
constexpr const CardState& StateOf(std::uint32_t iomState) {
  constexpr std::size_t kFailed = 6;
  return kCardStates[iomState < std::size(kCardStates) ? iomState : kFailed];
}

// Cards that are served by one driver.
struct DeviceFamily {
  const std::uint16_t* m_Begin;
  const std::uint16_t* m_End;
  const char* m_DriverName;
  const char* m_Model;  // or null: the board name
};

constexpr std::uint16_t kFirstFamilyIds[] = {0x1000, 0x1003, 0x1005, 0x1006,
                                             0x1007, 0x1008, 0x2001};
constexpr std::uint16_t kSecondFamilyIds[] = {0x3001, 0x3002};

constexpr DeviceFamily kDeviceFamilies[] = {
    {std::begin(kFirstFamilyIds), std::end(kFirstFamilyIds), "iomemory_vsl", nullptr},
    {std::begin(kSecondFamilyIds), std::end(kSecondFamilyIds), "iomemory_vsl4", "MOLT EP PX600"},
};

// The family of a PCI device id, or null.
inline const DeviceFamily* FamilyOf(std::uint16_t deviceId) {
  for (const DeviceFamily& family : kDeviceFamilies) {
    if (std::find(family.m_Begin, family.m_End, deviceId) != family.m_End) return &family;
  }
  return nullptr;
}

}  // namespace NAMESPACE_Corvane
