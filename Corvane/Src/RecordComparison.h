// Compares a scanned record with the stored one. The members are compared in the order listed here;
// changes to other members are ignored.
#pragma once

#include <tuple>

#include "Corvane/Src/DeviceRecords.h"

namespace NAMESPACE_Corvane {

inline auto ComparedMembers(const CFusionIOAdapter& adapter) {
  return std::tie(
      adapter.m_CardIndex, adapter.m_GlobalNumber, adapter.m_Vendor, adapter.m_BoardName,
      adapter.m_Model, adapter.m_Name, adapter.m_Location, adapter.m_SerialNumber,
      adapter.m_DriverName, adapter.m_DriverVersion, adapter.m_FirmwareVersion,
      adapter.m_PciSegment, adapter.m_PciBus, adapter.m_PciDevice, adapter.m_PciFunction,
      adapter.m_PciSlot, adapter.m_DevicePath, adapter.m_Temperature, adapter.m_Status,
      adapter.m_Activity, adapter.m_StatusReasons, adapter.m_HasBeacon, adapter.m_BeaconFlag,
      adapter.m_InfoFlags, adapter.m_WarningFlags, adapter.m_IomState, adapter.m_FactorySizeMiB,
      adapter.m_MinimalModeReason, adapter.m_WriteThrottling, adapter.m_FirstUseMs,
      adapter.m_OriginMs, adapter.m_SpareStatus, adapter.m_ReserveWarningPercent,
      adapter.m_ExternalPower, adapter.m_ExternalPowerConnected, adapter.m_SlotPowerWatts,
      adapter.m_PowerLimitWatts, adapter.m_TempWarnDegC, adapter.m_TempSetpointDegC,
      adapter.m_ErrorFlags);
}

inline auto ComparedMembers(const CFusionIOPhysicalDrive& drive) {
  return std::tie(drive.m_CardIndex, drive.m_GlobalNumber, drive.m_SerialNumber, drive.m_Vendor,
                  drive.m_Product, drive.m_Reserved, drive.m_Name, drive.m_Location,
                  drive.m_DevicePath, drive.m_FactorySizeMiB, drive.m_ConfigurableSizeMiB,
                  drive.m_SectorSize, drive.m_MinSectorSize, drive.m_MaxSectorSize,
                  drive.m_SectorSizeMultiplier, drive.m_FormattedSizeMiB, drive.m_FormattedPercent,
                  drive.m_OverformatAllowed, drive.m_State, drive.m_DriveFlag,
                  drive.m_PowerOfTwoSectors);
}

// Compares floats exactly; a NaN differs from every value.
template <class Record>
bool Differ(const Record& stored, const Record& scanned) {
  const PI::CObject& storedObject = stored;
  return !(storedObject == scanned) || ComparedMembers(stored) != ComparedMembers(scanned);
}

}  // namespace NAMESPACE_Corvane
