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

// Reasons by bit of `vsl_current_errors`.
constexpr int kErrorReasons[] = {
    PI::Value::INTERNAL_ERROR,
    PI::Value::INCOMPATIBLE_PCI_BANDWIDTH,
    PI::Value::PARTIAL_WRITE_THROTTLING,
    PI::Value::COMPLETE_WRITE_THROTTLING,
    PI::Value::TEMPERATURE_NEAR_ERROR,
    PI::Value::TEMPERATURE_ABOVE_ERROR,
    PI::Value::INTERNAL_VOLTAGE_OUT_OF_RANGE,
    PI::Value::AUXILIARY_VOLTAGE_OUT_OF_RANGE,
    PI::Value::FLASHBACK,
    PI::Value::NONCORRECTABLE_PCI_ERRORS,
};

// Reasons by bit of `vsl_current_warnings`.
constexpr int kWarningReasons[] = {
    PI::Value::TEMPERATURE_ABOVE_WARN,
    PI::Value::NEAR_WEARING_OUT,
    PI::Value::NONOPTIMAL_PCI_BANDWIDTH,
    PI::Value::CORRECTABLE_PCI_ERRORS,
    PI::Value::NO_POWERLOSS_PROTECTION,
    PI::Value::POWER_WRITE_REGULATION,
    PI::Value::TEMPERATURE_WRITE_REGULATION,
    PI::Value::LIFESPAN_WRITE_REGULATION,
    PI::Value::MINIMAL,
    PI::Value::PCI_OVERPOWER,
    PI::Value::LEB_MAP_MISSING,
    PI::Value::UPDATE_IN_PROGRESS,
    PI::Value::RESERVES_DEPLETED,
};

// Reasons by bit of `vsl_current_info`.
constexpr int kInfoReasons[] = {
    PI::Value::POWER_WRITE_REGULATION,
    PI::Value::UNACTIVATED_FIRMWARE,
};

// Bits that the cards raise and drop at will, and that nobody is told of.
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

// Appends the reason of each set bit, from bit 0 up. Bits beyond the table mean nothing here.
template <std::size_t N>
void AppendReasons(std::uint64_t mask, const int (&reasons)[N], std::vector<std::int32_t>& list) {
  for (std::size_t bit = 0; bit < N; ++bit) {
    if (((mask >> bit) & 1U) != 0) list.push_back(reasons[bit]);
  }
}

// What a card state does to the status of an adapter.
enum class StatusEffect { None, Soften, Fail };

struct CardState {
  StatusEffect m_Effect;
  int m_Activity;  // or 0: stays
  int m_Reason;    // or kNoReason
};

// By `vsl_iom_state`.
constexpr CardState kCardStates[] = {
    {StatusEffect::Soften, 0, PI::Value::DETACHED},           // detached
    {StatusEffect::Soften, PI::Value::ATTACHING, kNoReason},  // attaching
    {StatusEffect::None, 0, PI::Value::ATTACHED},             // attached
    {StatusEffect::Soften, PI::Value::DETACHING, kNoReason},  // detaching
    {StatusEffect::Soften, PI::Value::BUSY, kNoReason},       // busy
    {StatusEffect::Fail, 0, kNoReason},                       // minimal mode, which tells its own
    {StatusEffect::Fail, 0, kNoReason},                       // failed
    {StatusEffect::Fail, 0, PI::Value::STOPPED},              // stopped
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
