// Records of a card. Each card has two: an adapter, which describes the PCIe device, and a physical
// drive, which describes the storage. Both are plain values. The records of a card have the same
// `m_CardIndex`, `m_GlobalNumber`, `m_SerialNumber` and `m_DevicePath`, and refer to each other by
// id. The vectors that contain them are guarded by `m_DataLock`.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "Corvane/Src/HostNumbers.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// Represents an unknown number where 0 is a valid value.
constexpr std::uint64_t kUnknown = ~std::uint64_t{0};

// A member that belongs to a position in a vector rather than to the record at that position: the
// copy constructor of a record copies the member, but assignment leaves it unchanged.
template <class T>
struct StaysInPlace {
  T m_Value{};

  StaysInPlace() = default;
  StaysInPlace(const StaysInPlace&) = default;
  ~StaysInPlace() = default;
  StaysInPlace& operator=(const StaysInPlace&) { return *this; }  // NOLINT(cert-oop54-cpp)
};

// The last three masks of one kind, to distinguish lasting changes from transient values.
using FlagHistory = StaysInPlace<std::array<std::uint64_t, 3>>;

// The root of the tree of objects.
class CFusionIOPlugin : public PI::CObject {};

// The path of a card's control device. `m_CardIndex` is its position in `m_ControlDevicePaths`.
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
  std::uint64_t m_PciSegment = kUnknown;
  std::uint64_t m_PciBus = 0;
  std::uint64_t m_PciDevice = 0;
  std::uint64_t m_PciFunction = 0;
  std::uint64_t m_PciSlot = kUnknown;
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
  std::uint64_t m_FirstUseMs = kUnknown;  // since the epoch
  std::uint64_t m_OriginMs = kUnknown;    // since the epoch
  std::uint32_t m_SpareStatus = PI::Value::OK;
  std::int32_t m_ReserveWarningPercent = 1;
  std::uint32_t m_ExternalPower = PI::Value::NONE;
  bool m_ExternalPowerConnected = false;
  float m_SlotPowerWatts = 0;
  float m_PowerLimitWatts = 0;
  float m_TempWarnDegC = 0;
  float m_TempSetpointDegC = 0;
  StaysInPlace<std::uint64_t> m_FlagHistoryIndex;  // the next position to write in the histories
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
  std::uint64_t m_FormattedSizeMiB = 0;      // current formatted capacity
  std::uint64_t m_FormattedPercent = 0;
  std::uint64_t m_FactorySizeMiB = 0;       // factory capacity
  std::uint64_t m_ConfigurableSizeMiB = 0;  // largest capacity that a format can set
  bool m_OverformatAllowed = true;
  bool m_DriveFlag = false;  // never set, but compared
  bool m_PowerOfTwoSectors = false;
};

}  // namespace NAMESPACE_Corvane
