// A storage adapter as a row of the host's database.
//
// The plug-in sets only some of the fields: the host's table has columns for adapters of all
// vendors.
#pragma once

#include "models/FieldsMap.h"

// Type, name and default value of each field, in order of declaration.
// clang-format off
#define ADAPTER_FIELDS(X) \
  X(std::string, alarmState, null_text) \
  X(string_list, activityNames, {}) \
  X(int, alarmVolume, null_int) \
  X(std::string, assetTag, null_text) \
  X(string_list, statusReasonNames, {}) \
  X(std::string, autoRebuildMode, null_text) \
  X(std::string, backgroundCheckMode, null_text) \
  X(int, backgroundCheckHours, null_int) \
  X(std::string, batteryStatus, null_text) \
  X(std::string, batteryChemistry, null_text) \
  X(std::string, batteryLearnState, null_text) \
  X(int, batteryCharge, null_int) \
  X(int, batteryTemperature, null_int) \
  X(std::string, biosVersion, null_text) \
  X(std::string, biosBuildDate, null_text) \
  X(std::string, bootDevice, null_text) \
  X(std::string, bootLoaderVersion, null_text) \
  X(std::string, boardRevision, null_text) \
  X(int, bootTimeout, null_int) \
  X(std::string, busType, null_text) \
  X(int, pciBus, null_int) \
  X(std::string, cacheMode, null_text) \
  X(std::string, cachePolicy, null_text) \
  X(std::string, cacheProtection, null_text) \
  X(int, temperature, null_int) \
  X(int, cacheSize, null_int) \
  X(int, channelCount, null_int) \
  X(std::string, chipRevision, null_text) \
  X(unsigned long, cachedBytes, null_ulong) \
  X(int, connectorCount, null_int) \
  X(std::string, configurationName, null_text) \
  X(std::string, consistencyCheckMode, null_text) \
  X(std::string, consistencyCheckState, null_text) \
  X(std::string, copyBackMode, null_text) \
  X(std::string, createdBy, null_text) \
  X(int, copyBackRate, null_int) \
  X(std::string, defaultStripe, null_text) \
  X(int, degradedVolumes, null_int) \
  X(int, deviceCount, null_int) \
  X(int, adapterFlagA, null_int) \
  X(int, pciDevice, null_int) \
  X(std::string, deviceNode, null_text) \
  X(std::string, driverName, null_text) \
  X(std::string, driverBuildDate, null_text) \
  X(std::string, driverSettings, null_text) \
  X(std::string, driverVersion, null_text) \
  X(std::string, encryptionMode, null_text) \
  X(std::string, encryptionKeyState, null_text) \
  X(std::string, enclosureSupport, null_text) \
  X(std::string, errorPolicy, null_text) \
  X(std::string, eventFilter, null_text) \
  X(std::string, expanderSupport, null_text) \
  X(int, expanderCount, null_int) \
  X(std::string, failoverState, null_text) \
  X(std::string, failoverPartner, null_text) \
  X(std::string, fanStatus, null_text) \
  X(std::string, featureKey, null_text) \
  X(std::string, firmwareBuildDate, null_text) \
  X(std::string, firmwareVersion, null_text) \
  X(int, firmwareSlots, null_int) \
  X(std::string, flashStatus, null_text) \
  X(string_list, foreignConfigurations, {}) \
  X(int, foreignVolumes, null_int) \
  X(int, pciFunction, null_int) \
  X(int, adapterNumber, null_int) \
  X(std::string, displayLabel, null_text) \
  X(std::string, hardwareType, null_text) \
  X(std::string, healthSummary, null_text) \
  X(std::string, hostBusType, null_text) \
  X(std::string, hostInterface, null_text) \
  X(unsigned long, heartbeatTime, null_ulong) \
  X(std::string, hostName, null_text) \
  X(int, hotSpareCount, null_int) \
  X(int, id, null_int) \
  X(std::string, identifyState, null_text) \
  X(unsigned long, imageSize, null_ulong) \
  X(unsigned long, objectId, null_ulong) \
  X(std::string, inquiryText, null_text) \
  X(std::string, installedBy, null_text) \
  X(int, interruptMode, null_int) \
  X(int, interruptCoalescing, null_int) \
  X(int, adapterFlagB, null_int) \
  X(int, ioQueueDepth, null_int) \
  X(int, ioTimeout, null_int) \
  X(std::string, keyVault, null_text) \
  X(unsigned long, lastScanTime, null_ulong) \
  X(std::string, ledState, null_text) \
  X(std::string, linkState, null_text) \
  X(int, factorySize, null_int) \
  X(int, linkSpeed, null_int) \
  X(int, linkWidth, null_int) \
  X(int, logicalVolumes, null_int) \
  X(int, loginCount, null_int) \
  X(int, maxVolumes, null_int) \
  X(std::string, name, null_text) \
  X(std::string, maintenanceMode, null_text) \
  X(std::string, managementAddress, null_text) \
  X(int, maxQueueDepth, null_int) \
  X(int, memorySize, null_int) \
  X(std::string, memoryType, null_text) \
  X(int, memoryErrors, null_int) \
  X(int, missingDrives, null_int) \
  X(std::string, model, null_text) \
  X(int, multipathCount, null_int) \
  X(int, nvramSize, null_int) \
  X(std::string, nvramVersion, null_text) \
  X(int, nvramErrors, null_int) \
  X(int, onlineDrives, null_int) \
  X(int, operatingHours, null_int) \
  X(std::string, operatingMode, null_text) \
  X(std::string, ownerHost, null_text) \
  X(int, patrolRate, null_int) \
  X(std::string, patrolState, null_text) \
  X(int, phyCount, null_int) \
  X(std::string, product, null_text) \
  X(string_list, portAddresses, {}) \
  X(int, portCount, null_int) \
  X(std::string, powerMode, null_text) \
  X(int, powerLimit, null_int) \
  X(std::string, powerPolicy, null_text) \
  X(std::string, powerSource, null_text) \
  X(int, predictiveFailures, null_int) \
  X(int, pciSegment, null_int) \
  X(std::string, serialNumber, null_text) \
  X(std::string, preferredPath, null_text) \
  X(int, readAheadSize, null_int) \
  X(std::string, readPolicy, null_text) \
  X(int, rebuildRate, null_int) \
  X(std::string, rebuildMode, null_text) \
  X(int, rebuildingVolumes, null_int) \
  X(std::string, redundancyState, null_text) \
  X(std::string, regionCode, null_text) \
  X(std::string, roleName, null_text) \
  X(int, scrubRate, null_int) \
  X(int, sectorLimit, null_int) \
  X(std::string, statusName, null_text) \
  X(std::string, statusDetail, null_text) \
  X(std::string, subsystemName, null_text) \
  X(string_list, supportedLevels, {}) \
  X(std::string, supercapStatus, null_text) \
  X(int, supercapCharge, null_int) \
  X(std::string, temperatureState, null_text) \
  X(int, temperatureLimit, null_int) \
  X(std::string, timeZone, null_text) \
  X(unsigned long, uptime, null_ulong) \
  X(std::string, location, null_text) \
  X(std::string, vendor, null_text) \
  X(std::string, workloadProfile, null_text) \
  X(std::string, writePolicy, null_text)
// clang-format on

namespace RaidDataModels {

struct CORVANE_API Adapter {
  ADAPTER_FIELDS(DB_MODEL_FIELD)
};

}  // namespace RaidDataModels
