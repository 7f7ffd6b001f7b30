// The steps of a scan that use only one card and its records, in the order of the scan. The order
// of the reads within a step is also fixed.
//
// Unless a comment says otherwise, a step leaves a field unchanged if the card does not have the
// attribute.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Corvane/Src/AdapterIDs.h"
#include "Corvane/Src/CardLibrary.h"
#include "Corvane/Src/CardTables.h"
#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/Formatted.h"
#include "Corvane/Src/PciIdentities.h"
#include "host/Toolkit.h"

namespace NAMESPACE_Corvane {

inline void ReadPciAddress(const CardReader& card, CFusionIOAdapter& adapter) {
  card.ReadInto(adapter.m_PciBus, VSL(pci_bus));
  card.ReadInto(adapter.m_PciDevice, VSL(pci_device));
  card.ReadInto(adapter.m_PciFunction, VSL(pci_function));
  card.ReadInto(adapter.m_PciSegment, VSL(pci_domain));
}

// Does nothing if the card belongs to no family; it then has no model and no driver name.
inline void ReadFamily(const CardReader& card, std::uint16_t deviceId, CFusionIOAdapter& adapter) {
  const DeviceFamily* family = FamilyOf(deviceId);
  if (family == nullptr) return;
  if (adapter.m_PciSegment == kUnknown) adapter.m_PciSegment = LookUpSegment(*family, adapter);
  card.ReadInto(adapter.m_BoardName, VSL(board_name));
  adapter.m_Model = family->m_Model != nullptr ? family->m_Model : adapter.m_BoardName;
  adapter.m_DriverName = family->m_DriverName;
}

inline void SetGlobalNumber(CFusionIOAdapter& adapter, CFusionIOPhysicalDrive& drive) {
  PI::CGlobalAdapterID id;
  id.m_HostName = "localhost";
  PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs.try_emplace(id.m_HostName);
  id.m_Segment = static_cast<std::uint32_t>(adapter.m_PciSegment);
  id.m_Bus = static_cast<std::uint32_t>(adapter.m_PciBus);
  id.m_Device = static_cast<std::uint32_t>(adapter.m_PciDevice);
  id.m_Function = static_cast<std::uint32_t>(adapter.m_PciFunction);
  id.GenerateUniqueAdapterNumber();
  adapter.m_GlobalNumber = static_cast<std::uint32_t>(id.GetGlobalAdapterNumber());
  drive.m_GlobalNumber = adapter.m_GlobalNumber;
}

inline void SetLocations(CFusionIOAdapter& adapter, CFusionIOPhysicalDrive& drive) {
  const std::string segment =
      adapter.m_PciSegment == 0 ? "" : Joined("Segment=", adapter.m_PciSegment, "&");
  adapter.m_Location = Joined("PCI:", segment, "Bus=", adapter.m_PciBus,
                              "&Device=", adapter.m_PciDevice, "&Function=", adapter.m_PciFunction);
  drive.m_Location = Joined(adapter.m_Location, "&ID=0");
}

inline void ReadFirmwareVersion(const CardReader& card, CFusionIOAdapter& adapter) {
  const bool inParts = card.Has(VSL(fw_current_major_ver)) && card.Has(VSL(fw_current_minor_ver)) &&
                       card.Has(VSL(fw_current_micro_ver)) && card.Has(VSL(fw_current_revision));
  if (!inParts) {
    card.ReadInto(adapter.m_FirmwareVersion, VSL(fw_current_version));
    return;
  }
  const std::int32_t revision = card.Get(VSL(fw_current_revision));
  const std::int32_t micro = card.Get(VSL(fw_current_micro_ver));
  const std::int32_t minor = card.Get(VSL(fw_current_minor_ver));
  const std::int32_t major = card.Get(VSL(fw_current_major_ver));
  adapter.m_FirmwareVersion = Joined(major, ".", minor, ".", micro, " (", revision, ")");
}

inline void ReadPower(const CardReader& card, CardRef iom, CFusionIOAdapter& adapter) {
  switch (card.Read(VSL(external_power_requirement)).value_or(0)) {
    case 1:
      adapter.m_ExternalPower = PI::Value::OPTIONAL;
      break;
    case 2:
      adapter.m_ExternalPower = PI::Value::REQUIRED;
      break;
    default:
      adapter.m_ExternalPower = PI::Value::NONE;
  }
  if (adapter.m_ExternalPower != PI::Value::NONE) {
    card.ReadInto(adapter.m_ExternalPowerConnected, VSL(external_power_connected));
  }
  card.ReadInto(adapter.m_SlotPowerWatts, VSL(pcie_slot_power_watts));

  ErrorRecord error;
  AdapterHandle pcieAdapter(error);
  if (CreateHandle(iom, pcieAdapter, error) != 0) return;  // the power limit remains unknown
  AttributeReader<HandleKind::Adapter>(pcieAdapter, error)
      .ReadInto(adapter.m_PowerLimitWatts, VSL(power_limit_watts));
  pcieAdapter.Destroy();
}

// Fills the histories at startup, so that the current masks count as debounced.
inline void FillHistories(CFusionIOAdapter& adapter) {
  adapter.m_ErrorHistory.m_Value.fill(adapter.m_ErrorFlags);
  adapter.m_WarningHistory.m_Value.fill(adapter.m_WarningFlags);
  adapter.m_InfoHistory.m_Value.fill(adapter.m_InfoFlags);
}

// Ignores warnings if there are errors.
inline void SetStatus(CFusionIOAdapter& adapter) {
  if (adapter.m_ErrorFlags != 0) {
    adapter.m_Status = PI::Value::FAILED;
    AppendReasons(adapter.m_ErrorFlags, kErrorBits, adapter.m_StatusReasons);
  } else if (adapter.m_WarningFlags != 0) {
    adapter.m_Status = PI::Value::WARNING;
    AppendReasons(adapter.m_WarningFlags, kWarningBits, adapter.m_StatusReasons);
  }
  AppendReasons(adapter.m_InfoFlags, kInfoBits, adapter.m_StatusReasons);
}

inline void ReadMinimalMode(const CardReader& card, CFusionIOAdapter& adapter) {
  adapter.m_MinimalModeReason = card.Read(VSL(minimal_mode_reason)).value_or(0);
  if (adapter.m_MinimalModeReason == 0) {
    adapter.m_StatusReasons.push_back(PI::Value::MINIMAL_MODE);
    return;
  }
  AppendReasons(adapter.m_MinimalModeReason, kMinimalModeReasons, adapter.m_StatusReasons);
}

inline void ReadWriteThrottling(const CardReader& card, CFusionIOAdapter& adapter) {
  const std::uint32_t state = card.Read(VSL(write_throttling_state)).value_or(0);
  if (state != 1 && state != 2) {
    adapter.m_WriteThrottling = PI::Value::NONE;
    return;
  }
  adapter.m_WriteThrottling = state == 1 ? PI::Value::PARTIAL : PI::Value::COMPLETE;
  const std::uint32_t number = card.Read(VSL(write_throttling_reason)).value_or(0);
  const int reason =
      number < std::size(kThrottlingReasons) ? kThrottlingReasons[number] : kNoReason;
  if (reason != kNoReason) adapter.m_StatusReasons.push_back(reason);
}

// Reads the limits and current settings of a format.
inline void ReadFormatLimits(FormatRef handle, ErrorRecord& error, CFusionIOPhysicalDrive& drive) {
  constexpr std::uint32_t kDefaultSectorSize = 512;
  const AttributeReader<HandleKind::Format> format(handle, error);
  if (const auto disallowed = format.Read(VSL_FORMAT(disallow_overformat))) {
    drive.m_OverformatAllowed = !*disallowed;
  }
  drive.m_MinSectorSize =
      format.Read(VSL_FORMAT(min_sector_size_bytes)).value_or(kDefaultSectorSize);
  drive.m_MaxSectorSize =
      format.Read(VSL_FORMAT(max_sector_size_bytes)).value_or(kDefaultSectorSize);
  const std::uint32_t multiplier = format.Read(VSL_FORMAT(sector_size_multiplier)).value_or(1);
  drive.m_SectorSizeMultiplier = multiplier == 0 ? 1 : multiplier;
  format.ReadInto(drive.m_PowerOfTwoSectors, VSL_FORMAT(power_of_two_sector_size));
  if (const auto bytes = format.Read(VSL_FORMAT(size_bytes)))
    drive.m_FormattedSizeMiB = MiB(*bytes);
  if (!format.ReadInto(drive.m_FormattedPercent, VSL_FORMAT(size_pct))) {
    const std::uint64_t totalMiB = drive.m_ConfigurableSizeMiB;
    drive.m_FormattedPercent = totalMiB == 0 ? 0 : drive.m_FormattedSizeMiB * 100 / totalMiB;
  }
  const auto readMaximum = [&] {
    if (const auto bytes = format.Read(VSL_FORMAT(max_size_bytes))) {
      drive.m_ConfigurableSizeMiB = MiB(*bytes);
    }
  };
  readMaximum();
  if (!drive.m_OverformatAllowed || !format.Has(kSizeMode)) return;
  // This mode raises the maximum to the limit for over-formatting.
  AllowOverformat(handle, error);
  readMaximum();
}

inline std::string DriveName(const CFusionIOAdapter& adapter, const CFusionIOPhysicalDrive& drive) {
  if (!IsMolt(adapter)) return Joined(drive.m_Product, " (0)");
  const std::uint64_t wholeTiB = drive.m_FactorySizeMiB >> 20U;
  const char* capacity = wholeTiB == 1 ? "1.3TB" : wholeTiB == 2 ? "2.6TB" : "5.2TB";
  return Joined(adapter.m_Model, " ", capacity, " (0)");
}

}  // namespace NAMESPACE_Corvane
