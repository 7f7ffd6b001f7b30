// A physical drive as a row of the host's database.
#pragma once

#include "models/FieldsMap.h"

// Type, name and default value of each field, in order of declaration.
// clang-format off
#define PD_FIELDS(X) \
  X(std::string, activityName, null_text) \
  X(int, bayNumber, null_int) \
  X(string_list, assignedVolumes, {}) \
  X(std::string, assetTag, null_text) \
  X(int, sectorSize, null_int) \
  X(unsigned long, configurableSize, null_ulong) \
  X(std::string, bootState, null_text) \
  X(std::string, busProtocol, null_text) \
  X(int, channelNumber, null_int) \
  X(int, objectIdLow, null_int) \
  X(int, deviceNumber, null_int) \
  X(std::string, endOfLifeDate, null_text) \
  X(std::string, driveGroup, null_text) \
  X(std::string, driveRole, null_text) \
  X(std::string, encryptionState, null_text) \
  X(int, adapterNumber, null_int) \
  X(string_list, errorHistory, {}) \
  X(unsigned long, freeSize, null_ulong) \
  X(std::string, hostName, null_text) \
  X(int, id, null_int) \
  X(unsigned long, objectId, 0xFFFFFFFF80000000) \
  X(std::string, firmwareVersion, null_text) \
  X(int, formatProgress, null_int) \
  X(int, freeExtents, null_int) \
  X(std::string, mediaType, null_text) \
  X(int, mediaErrors, null_int) \
  X(std::string, shortName, null_text) \
  X(std::string, model, null_text) \
  X(std::string, multipathState, null_text) \
  X(unsigned long, factorySize, null_ulong) \
  X(int, linkSpeed, null_int) \
  X(int, driveFlagA, null_int) \
  X(int, hoursOfUse, null_int) \
  X(int, lifetimeWarnings, null_int) \
  X(int, logicalUnit, null_int) \
  X(std::string, ledState, null_text) \
  X(std::string, product, null_text) \
  X(int, ratedEndurancePercent, null_int) \
  X(int, otherErrors, null_int) \
  X(double, remainingReserve, null_double) \
  X(int, rotationSpeed, null_int) \
  X(int, reserveWarning, null_int) \
  X(int, readErrors, null_int) \
  X(std::string, readPolicy, null_text) \
  X(std::string, rebuildState, null_text) \
  X(std::string, reservationHolder, null_text) \
  X(std::string, serialNumber, null_text) \
  X(int, slotNumber, null_int) \
  X(int, driveFlagB, null_int) \
  X(int, spareKind, null_int) \
  X(std::string, statusName, null_text) \
  X(int, smartWarnings, null_int) \
  X(unsigned long, bytesReadKiB, null_ulong) \
  X(double, bytesWrittenKiB, null_double) \
  X(int, temperature, null_int) \
  X(int, temperatureLimit, null_int) \
  X(int, transferWidth, null_int) \
  X(std::string, interfaceType, null_text) \
  X(std::string, location, null_text) \
  X(std::string, vendor, null_text) \
  X(int, writesRemainingPercent, null_int) \
  X(int, writeThrottling, null_int) \
  X(std::string, worldWideName, null_text) \
  X(int, writeErrors, null_int) \
  X(int, writeCacheSize, null_int) \
  X(int, zoneNumber, null_int) \
  X(std::string, writePolicy, null_text) \
  X(std::string, zoneGroup, null_text) \
  X(std::string, zoneState, null_text)
// clang-format on

namespace RaidDataModels {

struct CORVANE_API PD {
  PD_FIELDS(DB_MODEL_FIELD)
};

}  // namespace RaidDataModels
