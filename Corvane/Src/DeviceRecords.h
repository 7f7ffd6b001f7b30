// The records of one card: an adapter, the card as a PCIe device, and a physical drive, the card as
// storage. Both are plain values; a pair shares `m_CardIndex`, `m_GlobalNumber`,
// `m_SerialNumber` and `m_DevicePath` and is linked by id. The vectors that hold them are guarded
// by `m_DataLock`.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "Corvane/Src/HostNumbers.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// "Not known" for numbers that may be 0.
constexpr std::uint64_t kNotKnown = ~std::uint64_t{0};

// A member that belongs to a position in a vector and not to the record there: copying a record
// copies it, assigning to a record leaves it.
template <class T>
struct StaysInPlace {
  T m_Value{};

  StaysInPlace() = default;
  StaysInPlace(const StaysInPlace&) = default;
  ~StaysInPlace() = default;
  StaysInPlace& operator=(const StaysInPlace&) { return *this; }  // NOLINT(cert-oop54-cpp)
};

// The last three masks of one kind, to distinguish a change from a momentary value.
using FlagHistory = StaysInPlace<std::array<std::uint64_t, 3>>;

// The root of the tree of objects.
class CFusionIOPlugin : public PI::CObject {};

// The control device through which a card is reached; `m_CardIndex` is its position in
// `m_ControlDevicePaths`.
class CControlDevicePath {
 public:
  std::uint64_t m_CardIndex = 0;
  std::string m_DevicePath;
};

class CFusionIOAdapter : public PI::CObject {
 public:
  CFusionIOAdapter() { m_ObjectType = PI::OBJECT_ADAPTER; }

  std::uint32_t m_CardIndex = 0;
  std::uint32_t m_GlobalNumber = 0;
  std::string m_Vendor = "SanDisk";
  std::string m_BoardName;
  std::string m_Model;
  std::string m_Name;
  std::string m_Location;
  std::string m_SerialNumber;
  std::string m_DriverName;
  std::string m_DriverVersion;
  std::string m_FirmwareVersion;
  std::string m_DevicePath;
  std::uint64_t m_PciSegment = kNotKnown;
  std::uint64_t m_PciBus = 0;
  std::uint64_t m_PciDevice = 0;
  std::uint64_t m_PciFunction = 0;
  std::uint64_t m_PciSlot = kNotKnown;
  std::uint64_t m_InfoFlags = 0;
  std::uint64_t m_WarningFlags = 0;
  std::uint64_t m_ErrorFlags = 0;
  std::uint32_t m_IomState = 0;
  std::uint64_t m_FactorySizeMiB = 0;
  std::uint64_t m_MinimalModeReason = 0;
  float m_Temperature = 0;  // degrees Celsius
  std::uint32_t m_Status = PI::Value::OK;
  std::uint32_t m_Activity = PI::Value::IDLE;
  std::vector<std::int32_t> m_StatusReasons;
  bool m_HasBeacon = false;
  bool m_BeaconFlag = false;  // never set, but compared
  std::uint32_t m_WriteThrottling = PI::Value::NONE;
  std::uint64_t m_FirstUseMs = kNotKnown;  // since the epoch
  std::uint64_t m_OriginMs = kNotKnown;    // since the epoch
  std::uint32_t m_SpareStatus = PI::Value::OK;
  std::int32_t m_ReserveWarningPercent = 1;
  std::uint32_t m_ExternalPower = PI::Value::NONE;
  bool m_ExternalPowerConnected = false;
  float m_SlotPowerWatts = 0;
  float m_PowerLimitWatts = 0;
  float m_TempWarnDegC = 0;
  float m_TempSetpointDegC = 0;
  StaysInPlace<std::uint64_t> m_FlagHistoryIndex;  // the slot of the histories that is next
  FlagHistory m_ErrorHistory;
  FlagHistory m_WarningHistory;
  FlagHistory m_InfoHistory;
};

class CFusionIOPhysicalDrive : public PI::CObject {
 public:
  CFusionIOPhysicalDrive() { m_ObjectType = PI::OBJECT_PHYSICAL_DRIVE; }

  std::uint32_t m_CardIndex = ~std::uint32_t{0};
  std::uint32_t m_GlobalNumber = ~std::uint32_t{0};
  std::string m_SerialNumber;
  std::string m_Vendor;
  std::string m_Product;
  std::string m_Reserved;  // never set, but compared
  std::string m_Name;
  std::string m_Location;
  std::string m_DevicePath;
  std::uint32_t m_State = PI::Value::AVAILABLE;
  std::uint32_t m_SectorSize = 0;            // bytes
  std::uint32_t m_MinSectorSize = 0;         // bytes
  std::uint32_t m_MaxSectorSize = 0;         // bytes
  std::uint32_t m_SectorSizeMultiplier = 0;  // bytes
  std::uint64_t m_FormattedSizeMiB = 0;      // what the card is formatted to now
  std::uint64_t m_FormattedPercent = 0;
  std::uint64_t m_FactorySizeMiB = 0;       // what the card was built with
  std::uint64_t m_ConfigurableSizeMiB = 0;  // the largest size that a format may ask for
  bool m_OverformatAllowed = true;
  bool m_DriveFlag = false;  // never set, but compared
  bool m_PowerOfTwoSectors = false;
};

}  // namespace NAMESPACE_Corvane
