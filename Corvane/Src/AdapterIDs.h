// Ids of adapters for the host: PCI address, card index, and the number assigned by the host.
#pragma once

#include <algorithm>
#include <cstdint>
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

// Sets the adapter's name, using the first global number in `ids` for its PCI address. If there is
// none, the name is unchanged.
inline void SetAdapterName(const std::vector<PI::CAdapterID>& ids, CFusionIOAdapter& adapter) {
  const PI::CAdapterID wanted = AdapterIDOf(adapter);
  const auto found = std::find_if(ids.begin(), ids.end(), [&wanted](const PI::CAdapterID& known) {
    return known.m_Segment == wanted.m_Segment && known.m_Bus == wanted.m_Bus &&
           known.m_Device == wanted.m_Device && known.m_Function == wanted.m_Function &&
           known.m_GlobalNumber != kNoGlobalNumber;
  });
  if (found == ids.end()) return;
  const std::string name = IsMolt(adapter) ? adapter.m_Model : "SanDisk " + adapter.m_BoardName;
  adapter.m_Name = Formatted("%s (%d)", name, found->m_GlobalNumber);
}

}  // namespace NAMESPACE_Corvane
