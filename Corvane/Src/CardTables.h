// What the numbers of the card library mean to the host: mask bits, states and reasons as value
// identifiers, and device ids as families.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "host/Identifiers.h"

namespace NAMESPACE_Corvane {

constexpr int NO_REASON = 0;

// Reasons by bit of `vsl_current_errors`.
constexpr int ERROR_REASONS[] = {
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
constexpr int WARNING_REASONS[] = {
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
constexpr int INFO_REASONS[] = {
    PI::Value::POWER_WRITE_REGULATION,
    PI::Value::UNACTIVATED_FIRMWARE,
};

// Bits that the cards raise and drop at will, and that nobody is told of.
constexpr std::uint64_t IGNORED_WARNINGS = std::uint64_t{1} << 9;
constexpr std::uint64_t IGNORED_INFO = std::uint64_t{1} << 0;

// Reasons by bit of `vsl_minimal_mode_reason`.
constexpr int MINIMAL_MODE_REASONS[] = {
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
constexpr int THROTTLING_REASONS[] = {
    NO_REASON,
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
  int m_Reason;    // or NO_REASON
};

// By `vsl_iom_state`.
constexpr CardState CARD_STATES[] = {
    {StatusEffect::Soften, 0, PI::Value::DETACHED},           // detached
    {StatusEffect::Soften, PI::Value::ATTACHING, NO_REASON},  // attaching
    {StatusEffect::None, 0, PI::Value::ATTACHED},             // attached
    {StatusEffect::Soften, PI::Value::DETACHING, NO_REASON},  // detaching
    {StatusEffect::Soften, PI::Value::BUSY, NO_REASON},       // busy
    {StatusEffect::Fail, 0, NO_REASON},                       // minimal mode, which tells its own
    {StatusEffect::Fail, 0, NO_REASON},                       // failed
    {StatusEffect::Fail, 0, PI::Value::STOPPED},              // stopped
};

// A state beyond the table counts as failed.
constexpr const CardState& StateOf(std::uint32_t iomState) {
  constexpr std::size_t FAILED = 6;
  return CARD_STATES[iomState < std::size(CARD_STATES) ? iomState : FAILED];
}

// Cards that are served by one driver.
struct DeviceFamily {
  const std::uint16_t* m_Begin;
  const std::uint16_t* m_End;
  const char* m_DriverName;
  const char* m_Model;  // or null: the board name
};

constexpr std::uint16_t FIRST_FAMILY_IDS[] = {0x1000, 0x1003, 0x1005, 0x1006,
                                              0x1007, 0x1008, 0x2001};
constexpr std::uint16_t SECOND_FAMILY_IDS[] = {0x3001, 0x3002};

constexpr DeviceFamily DEVICE_FAMILIES[] = {
    {std::begin(FIRST_FAMILY_IDS), std::end(FIRST_FAMILY_IDS), "iomemory_vsl", nullptr},
    {std::begin(SECOND_FAMILY_IDS), std::end(SECOND_FAMILY_IDS), "iomemory_vsl4", "MOLT EP PX600"},
};

// The family of a PCI device id, or null.
inline const DeviceFamily* FamilyOf(std::uint16_t deviceId) {
  for (const DeviceFamily& family : DEVICE_FAMILIES) {
    if (std::find(family.m_Begin, family.m_End, deviceId) != family.m_End) return &family;
  }
  return nullptr;
}

}  // namespace NAMESPACE_Corvane
