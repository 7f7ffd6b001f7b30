// Ids of adapters for the host: PCI address, card index, and the number assigned by the host.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/Formatted.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// The global number of an adapter that has not been assigned one by the host.
constexpr std::int32_t kNoGlobalNumber = -1;

// Whether the adapter belongs to the product line whose adapters are named after their model.
inline bool IsMolt(const CFusionIOAdapter& adapter) {
  return adapter.m_Model.find("MOLT") != std::string::npos;
}

// Returns the id of an adapter for the host, without a global number. PCI numbers are truncated to
// 32 bits.
inline PI::CAdapterID AdapterIDOf(const CFusionIOAdapter& adapter) {
  PI::CAdapterID id;
  id.m_Segment = static_cast<std::uint32_t>(adapter.m_PciSegment);
  id.m_Bus = static_cast<std::uint32_t>(adapter.m_PciBus);
  id.m_Device = static_cast<std::uint32_t>(adapter.m_PciDevice);
  id.m_Function = static_cast<std::uint32_t>(adapter.m_PciFunction);
  id.m_AdapterNumber = adapter.m_CardIndex;
  id.m_GlobalNumber = kNoGlobalNumber;
  return id;
}

// Segment, bus, device, function.
using PciAddress = std::array<std::uint32_t, 4>;

inline PciAddress AddressOf(const PI::CAdapterID& id) {
  return {id.m_Segment, id.m_Bus, id.m_Device, id.m_Function};
}

// The global numbers assigned by the host.
using GlobalNumbers = std::map<PciAddress, std::int32_t>;

// Adds the numbers in `ids`. The first number of an address is kept.
inline void AddGlobalNumbers(const std::vector<PI::CAdapterID>& ids, GlobalNumbers& numbers) {
  for (const PI::CAdapterID& id : ids) {
    if (id.m_GlobalNumber != kNoGlobalNumber) numbers.emplace(AddressOf(id), id.m_GlobalNumber);
  }
}

// Sets the adapter's name, using the global number of its PCI address. If there is none, the name
// is unchanged.
inline void SetAdapterName(const GlobalNumbers& numbers, CFusionIOAdapter& adapter) {
  const auto found = numbers.find(AddressOf(AdapterIDOf(adapter)));
  if (found == numbers.end()) return;
  const bool isMolt = IsMolt(adapter);
  adapter.m_Name = Joined(isMolt ? "" : "SanDisk ", isMolt ? adapter.m_Model : adapter.m_BoardName,
                          " (", found->second, ")");
}

}  // namespace NAMESPACE_Corvane
