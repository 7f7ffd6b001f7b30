// Formatting a drive: everything on it is lost, and there is no way back.
#pragma once

#include <cstdint>

#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// How much of a drive can be used, and the word for it; CUSTOM, so many per cent, has none.
struct Capacity {
  const char* m_Word;
  std::int32_t m_Value;  // of the vocabulary
};

constexpr Capacity kCapacities[] = {
    {"maximum", PI::Value::MAXIMUM_CAPACITY},
    {"factory", PI::Value::FACTORY_CAPACITY},
    {"improved", PI::Value::IMPROVED_PERFORMANCE},
    {"high", PI::Value::HIGH_PERFORMANCE},
    {"", PI::Value::CUSTOM},
};

// Of the size as built.
constexpr std::int32_t kLeastPercent = 10;
constexpr std::int32_t kMostPercent = 100;
// In bytes; which of them a card takes it knows itself.
constexpr std::int32_t kLargestSector = 1 << 30;

struct FormatRequest {
  std::int32_t m_Capacity = PI::Value::FACTORY_CAPACITY;  // a value of the vocabulary
  std::int32_t m_Percent = 100;                           // counts with CUSTOM alone
  std::uint32_t m_SectorSize = 0;                         // bytes; 0: as it is
};

// Shows the plan, asks for the serial number and formats; with --dry-run it ends after the plan.
// Throws `Failure`.
CommandResult FormatDrive(Context& context, const Model& model, const Object& drive,
                          FormatRequest request);

}  // namespace Console
