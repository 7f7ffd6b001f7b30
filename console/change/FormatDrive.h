// Formatting a drive, which erases it.
#pragma once

#include <cstdint>

#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// A usable capacity that --capacity accepts by name. CUSTOM is a percentage and has no name.
struct Capacity {
  const char* m_Name;    // as the user types it
  std::int32_t m_Value;  // a `PI::_VALUE_ID`
};

constexpr Capacity kCapacities[] = {
    {"maximum", PI::Value::MAXIMUM_CAPACITY},
    {"factory", PI::Value::FACTORY_CAPACITY},
    {"improved", PI::Value::IMPROVED_PERFORMANCE},
    {"high", PI::Value::HIGH_PERFORMANCE},
    {"", PI::Value::CUSTOM},
};

// Percent of the factory size.
constexpr std::int32_t kMinPercent = 10;
constexpr std::int32_t kMaxPercent = 100;
// In bytes; the card decides which sizes it accepts.
constexpr std::int32_t kMaxSectorSize = 1 << 30;

struct FormatRequest {
  std::int32_t m_Capacity = PI::Value::FACTORY_CAPACITY;  // a `PI::_VALUE_ID`
  std::int32_t m_Percent = 100;                           // used with CUSTOM only
  std::uint32_t m_SectorSize = 0;                         // bytes; 0: unchanged
};

// Shows the plan, prompts for the serial number and formats; with --dry-run, only shows the plan.
// Throws `Failure`.
CommandResult FormatDrive(Context& context, const Model& model, const Object& drive,
                          FormatRequest request);

}  // namespace Console
