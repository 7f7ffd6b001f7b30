#include "cardsim/store/StatusBits.h"

#include <vector>

#include "cardsim/cardsim.h"
#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

struct MaskRow {
  Attribute mask;
  const char* maskName;
  unsigned int bit;
  const char* name;
};

constexpr MaskRow Error(unsigned int bit, const char* name) {
  return {Attribute::current_errors, "errors", bit, name};
}
constexpr MaskRow Warning(unsigned int bit, const char* name) {
  return {Attribute::current_warnings, "warnings", bit, name};
}
constexpr MaskRow Info(unsigned int bit, const char* name) {
  return {Attribute::current_info, "info", bit, name};
}
constexpr MaskRow Minimal(unsigned int bit, const char* name) {
  return {Attribute::minimal_mode_reason, "minimal", bit, name};
}

// Warnings come before information bits, because a name without a mask selects the first row with
// that name.
constexpr MaskRow kRows[] = {
    Error(0, "INTERNAL_ERROR"),
    Error(1, "INCOMPATIBLE_PCI_BANDWIDTH"),
    Error(2, "PARTIAL_WRITE_THROTTLING"),
    Error(3, "COMPLETE_WRITE_THROTTLING"),
    Error(4, "TEMPERATURE_NEAR_ERROR"),
    Error(5, "TEMPERATURE_ABOVE_ERROR"),
    Error(6, "INTERNAL_VOLTAGE_OUT_OF_RANGE"),
    Error(7, "AUXILIARY_VOLTAGE_OUT_OF_RANGE"),
    Error(8, "FLASHBACK"),
    Error(9, "NONCORRECTABLE_PCI_ERRORS"),
    Warning(0, "TEMPERATURE_ABOVE_WARN"),
    Warning(1, "NEAR_WEARING_OUT"),
    Warning(2, "NONOPTIMAL_PCI_BANDWIDTH"),
    Warning(3, "CORRECTABLE_PCI_ERRORS"),
    Warning(4, "NO_POWERLOSS_PROTECTION"),
    Warning(5, "POWER_WRITE_REGULATION"),
    Warning(6, "TEMPERATURE_WRITE_REGULATION"),
    Warning(7, "LIFESPAN_WRITE_REGULATION"),
    Warning(8, "MINIMAL"),
    Warning(9, "PCI_OVERPOWER"),
    Warning(10, "LEB_MAP_MISSING"),
    Warning(11, "UPDATE_IN_PROGRESS"),
    Warning(12, "RESERVES_DEPLETED"),
    Info(0, "POWER_WRITE_REGULATION"),
    Info(1, "UNACTIVATED_FIRMWARE"),
    Minimal(0, "FIRMWARE_OUT_OF_DATE"),
    Minimal(1, "INSUFFICIENT_POWER"),
    Minimal(2, "DUAL_PLANE_FAIL"),
    Minimal(3, "FORCED"),
    Minimal(4, "INTERNAL"),
    Minimal(5, "CARD_LIMIT_EXCEEDED"),
    Minimal(6, "UNSUPPORTED_OS"),
    Minimal(7, "INSUFFICIENT_MEMORY"),
    Minimal(8, "SMP_BOOTLOADER_MODE"),
    Minimal(9, "MISSING_MIDPROM"),
    Minimal(10, "UNSUPPORTED_NAND"),
    Minimal(11, "DRIVER_OUT_OF_DATE"),
    Minimal(12, "HARDWARE_FAILURE"),
    Minimal(13, "GENERAL_CHANNEL_INIT_FAIL"),
};

}  // namespace

MaskBit FindMaskBit(const std::string& name) {
  std::vector<std::string> known;
  for (const MaskRow& row : kRows) {
    const std::string full = std::string(row.maskName) + "." + row.name;
    if (name == row.name || name == full) return {row.mask, std::uint64_t{1} << row.bit};
    known.emplace_back(row.name);
    known.push_back(full);
  }
  throw UnknownName("unknown status bit " + name + DidYouMean(name, known));
}

}  // namespace CardSim
