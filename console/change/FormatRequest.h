// What a format changes, as users and clients of the service write it.
#pragma once

#include <cstdint>
#include <string>

#include "host/PluginInterface.h"

namespace Console {

// A usable capacity that can be passed by name. CUSTOM is a percentage and has no name.
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

// The values of a request as text, and what messages call them.
struct FormatTexts {
  const char* m_CapacityName;  // such as "--capacity"
  const char* m_SectorName;
  const char* m_Example;     // a complete request
  std::string m_Capacity;    // empty: unchanged
  std::string m_SectorSize;  // empty: unchanged
};

// Throws a usage error if a value is invalid or both are empty: the format would only erase the
// drive.
FormatRequest ParseFormatRequest(const FormatTexts& texts);

}  // namespace Console
