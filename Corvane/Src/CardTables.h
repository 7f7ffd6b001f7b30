// Tables that map mask bits, states and reasons of the card library to value identifiers of the
// host, and PCI device IDs to card families.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "Corvane/Src/EventTable.h"
#include "Corvane/Src/HostNumbers.h"

namespace NAMESPACE_Corvane {

constexpr int kNoReason = 0;

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

// Append the reason of each set bit, starting with bit 0. Bits without a row are ignored.
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

// The effect of a card state on the status of an adapter.
enum class StatusEffect { None, Degrade, Fail };

struct CardState {
  StatusEffect m_Effect;
  int m_Activity;  // 0: leave unchanged
  int m_Reason;    // or kNoReason
};

// Indexed by `vsl_iom_state`.
constexpr CardState kCardStates[] = {
    {StatusEffect::Degrade, 0, PI::Value::DETACHED},           // detached
    {StatusEffect::Degrade, PI::Value::ATTACHING, kNoReason},  // attaching
    {StatusEffect::None, 0, PI::Value::ATTACHED},              // attached
    {StatusEffect::Degrade, PI::Value::DETACHING, kNoReason},  // detaching
    {StatusEffect::Degrade, PI::Value::BUSY, kNoReason},       // busy
    {StatusEffect::Fail, 0, kNoReason},           // minimal mode; see kMinimalModeReasons
    {StatusEffect::Fail, 0, kNoReason},           // failed
    {StatusEffect::Fail, 0, PI::Value::STOPPED},  // stopped
};

// Returns the row of a state. States that are not in the table count as failed.
constexpr const CardState& StateOf(std::uint32_t iomState) {
  constexpr std::size_t kFailed = 6;
  return kCardStates[iomState < std::size(kCardStates) ? iomState : kFailed];
}

// Cards that use the same driver.
struct DeviceFamily {
  const std::uint16_t* m_Begin;
  const std::uint16_t* m_End;
  const char* m_DriverName;
  const char* m_Model;  // null: use the board name
};

constexpr std::uint16_t kFirstFamilyIds[] = {0x1000, 0x1003, 0x1005, 0x1006,
                                             0x1007, 0x1008, 0x2001};
constexpr std::uint16_t kSecondFamilyIds[] = {0x3001, 0x3002};

constexpr DeviceFamily kDeviceFamilies[] = {
    {std::begin(kFirstFamilyIds), std::end(kFirstFamilyIds), "iomemory_vsl", nullptr},
    {std::begin(kSecondFamilyIds), std::end(kSecondFamilyIds), "iomemory_vsl4", "MOLT EP PX600"},
};

// Returns the family of a PCI device ID, or null.
inline const DeviceFamily* FamilyOf(std::uint16_t deviceId) {
  for (const DeviceFamily& family : kDeviceFamilies) {
    if (std::find(family.m_Begin, family.m_End, deviceId) != family.m_End) return &family;
  }
  return nullptr;
}

}  // namespace NAMESPACE_Corvane
