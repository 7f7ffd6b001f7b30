// Properties and operations of the plug-in object. All properties are constant except the poll
// interval, in seconds.
#pragma once

#include <cstdint>
#include <string>

#include "Corvane/Src/Formatted.h"
#include "Corvane/Src/OperationTable.h"
#include "Corvane/Src/PropertyTable.h"
#include "Corvane/Src/Trace.h"

namespace NAMESPACE_Corvane {

template <const char* const& text>
inline bool Constant(std::uint32_t&, PI::CProperty& property) {
  property.SetValue(text);
  return true;
}

inline constexpr const char* kPluginName = "SanDisk-Plugin";
inline constexpr const char* kPluginVersion = "7.7.0";
inline constexpr const char* kPluginVendor = "Skatra";
inline constexpr const char* kVendorApiVersion = "3.16.0";

inline std::string UniqueIDText() {
  return Joined("Plugin:ID=", kModuleNumber);
}

inline bool UniqueID(std::uint32_t&, PI::CProperty& property) {
  property.SetValue(UniqueIDText());
  return true;
}

inline bool PollInterval(std::uint32_t& seconds, PI::CProperty& property) {
  property.SetValue(static_cast<int>(seconds), 2, 255, 1);
  return true;
}

using PluginRow = PropertyRow<std::uint32_t>;

// In the order in which they are listed.
constexpr PluginRow kPluginProperties[] = {
    PluginRow(PI::Property::UNIQUE_ID, UniqueID).Hidden(),
    PluginRow(PI::Property::NAME, Constant<kPluginName>).Sort(23334),
    PluginRow(PI::Property::VERSION, Constant<kPluginVersion>).Sort(23339),
    PluginRow(PI::Property::VENDOR, Constant<kPluginVendor>).Sort(23338),
    PluginRow(PI::Property::VENDOR_API_VERSION, Constant<kVendorApiVersion>)
        .Name(PI::Property::VERSION)
        .Sort(23339),
    PluginRow(PI::Property::POLL_INTERVAL, PollInterval)
        .Writable()
        .Sort(23335)
        .Unit(PI::UNITS_SECONDS),
};

constexpr OperationRow kPluginOperations[] = {
    {PI::OP_GET_EVENTS, 6, 1, 1, 1, false, 0, 1, 1},
};

}  // namespace NAMESPACE_Corvane
