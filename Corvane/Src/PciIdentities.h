// PCI identities of supported cards, and their lookup on the host.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Corvane/Src/CardTables.h"
#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/Formatted.h"
#include "host/Toolkit.h"

namespace NAMESPACE_Corvane {

// Appends one string per device ID: vendor and device ID as the eight hexadecimal digits that
// `GetLocation` expects.
inline void AppendIdentities(const DeviceFamily& family, std::vector<std::string>& identities) {
  for (const std::uint16_t* id = family.m_Begin; id != family.m_End; ++id) {
    identities.push_back(Joined("1AED", Hexadecimal{*id}));
  }
}

// Returns whether the host reports a card of a supported family.
inline bool HasSupportedCard() {
  std::vector<std::string> identities;
  for (const DeviceFamily& family : kDeviceFamilies) AppendIdentities(family, identities);
  int segment = 0;
  int bus = 0;
  int device = 0;
  int function = 0;
  return MBXX::CConfigManager::GetLocation(identities, 1, segment, bus, device, function);
}

// Returns the PCI segment of this card as reported by the host. `adapter` must contain the card's
// bus, device and function; returns 0 if the host reports no such card or a different address.
inline std::uint64_t LookUpSegment(const DeviceFamily& family, const CFusionIOAdapter& adapter) {
  std::vector<std::string> identities;
  AppendIdentities(family, identities);
  int segment = 0;
  int bus = 0;
  int device = 0;
  int function = 0;
  const bool found = MBXX::CConfigManager::GetLocation(identities, adapter.m_CardIndex + 1UL,
                                                       segment, bus, device, function);
  const auto same = [](int listed, std::uint64_t read) {
    return static_cast<std::uint64_t>(listed) == read;
  };
  const bool isThisCard = found && same(bus, adapter.m_PciBus) &&
                          same(device, adapter.m_PciDevice) &&
                          same(function, adapter.m_PciFunction);
  return isThisCard ? static_cast<std::uint64_t>(segment) : 0;
}

}  // namespace NAMESPACE_Corvane
