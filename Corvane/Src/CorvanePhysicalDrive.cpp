// Properties, operations and database row of a physical drive. The properties come from the last
// scan, without access to the card.

#include <boost/algorithm/string.hpp>

#include "Corvane/Src/CardLibrary.h"
#include "Corvane/Src/Corvane.h"
#include "Corvane/Src/DriveOperationTable.h"
#include "Corvane/Src/Endurance.h"
#include "Corvane/Src/FormatParameters.h"
#include "Corvane/Src/PropertyTable.h"
#include "Corvane/Src/RecordSearch.h"
#include "Corvane/Src/RowStatement.h"
#include "Corvane/Src/Trace.h"
#include "Corvane/Src/ValueNames.h"
#include "models/PD.h"
#include "orm/storage.h"

namespace NAMESPACE_Corvane {

namespace {

using PI::CProperty;
namespace Property = PI::Property;
namespace Value = PI::Value;

using Drive = CFusionIOPhysicalDrive;

const std::vector<int> kStatusChoices = {Value::AVAILABLE, Value::AVAILABLE_SMART, Value::FAILED};
const std::vector<int> kTypeChoices = {Value::PCI_EXPRESS};

template <std::string Drive::*field>
bool Text(Drive& drive, CProperty& property) {
  property.SetValue(drive.*field);
  return true;
}

template <std::uint64_t Drive::*field>
bool Number(Drive& drive, CProperty& property) {
  property.SetValue(drive.*field);
  return true;
}

// Each card has one drive, so its port and device numbers are 0.
bool Zero(Drive&, CProperty& property) {
  property.SetValue(0UL);
  return true;
}

bool Type(Drive&, CProperty& property) {
  property.SetValue(Value::PCI_EXPRESS, kTypeChoices);
  return true;
}

bool SectorSize(Drive& drive, CProperty& property) {
  const auto size = static_cast<std::int32_t>(drive.m_SectorSize);
  property.SetValue(static_cast<unsigned long>(static_cast<long>(size)));
  return true;
}

std::uint32_t StatusIndicator(std::uint32_t state) {
  switch (state) {
    case Value::FAILED:
      return PI::INDICATOR_DRIVE_FAILED;
    case Value::AVAILABLE_SMART:
      return PI::INDICATOR_DRIVE_SMART;
    default:
      return PI::INDICATOR_DRIVE_AVAILABLE;
  }
}

bool Status(Drive& drive, CProperty& property) {
  TRACE_AS("GetPhysicalDriveProperties");
  property.SetValue(static_cast<int>(drive.m_State), kStatusChoices);
  TRACE(TRACE_ENTRY, "GetPhysicalDriveProperties() set status property of disk to %d",
        drive.m_State);
  property.m_Indicator = StatusIndicator(drive.m_State);
  return true;
}

using Row = PropertyRow<Drive>;

// In the order in which they are listed.
constexpr Row kDriveProperties[] = {
    Row(Property::NAME, Text<&Drive::m_Name>).Sort(23298),
    Row(Property::PORT_NUMBER, Zero).Sort(23305).Visible(4),
    Row(Property::DEVICE_NUMBER, Zero).Sort(23284),
    Row(Property::UNIQUE_ID, Text<&Drive::m_Location>).Hidden(),
    Row(Property::VENDOR, Text<&Drive::m_Vendor>).Sort(23331),
    Row(Property::PRODUCT, Text<&Drive::m_Product>).Sort(23308),
    Row(Property::TYPE, Type).Sort(23329),
    Row(Property::PHYSICAL_SIZE, Number<&Drive::m_FactorySizeMiB>)
        .Sort(23304)
        .Unit(PI::UNITS_MEGABYTES),
    Row(Property::CONFIGURABLE_SIZE, Number<&Drive::m_ConfigurableSizeMiB>)
        .Sort(23281)
        .Unit(PI::UNITS_MEGABYTES),
    Row(Property::STATUS, Status).Sort(23324),
    Row(Property::FORMATTED_SIZE, Number<&Drive::m_FormattedSizeMiB>)
        .Sort(23290)
        .Unit(PI::UNITS_MEGABYTES),
    Row(Property::FORMATTED_PERCENTAGE, Number<&Drive::m_FormattedPercent>)
        .Sort(23289)
        .Unit(PI::UNITS_PERCENT),
    Row(Property::BLOCK_SIZE, SectorSize).Sort(23278).Unit(PI::UNITS_BYTES),
};

// The parameters of a format. The default sector size is the smallest that the drive supports.
struct FormatRequest {
  int m_Formatting = Value::FACTORY_CAPACITY;
  int m_SizePercent = 100;
  std::uint32_t m_SectorSize;
};

// Ignores parameters with an unknown name or an unexpected type. If a parameter occurs twice, the
// last one is used. Ranges are checked by the card.
FormatRequest ReadFormatRequest(const Drive& drive, std::vector<CProperty>& parameters) {
  FormatRequest request;
  request.m_SectorSize = drive.m_MinSectorSize;
  for (CProperty& parameter : parameters) {
    int choice = 0;
    int number = 0;
    std::vector<int> allowed;
    const bool isChoice = parameter.m_ValueType == PI::VALUE_TYPE_CHOICE;
    const bool isRange = parameter.m_ValueType == PI::VALUE_TYPE_RANGE;
    if (isChoice) parameter.GetValue(choice, allowed);
    if (isRange) parameter.GetValueRange(number);

    const std::uint32_t name = parameter.m_NameID;
    if (name == Property::FORMATTING && isChoice) request.m_Formatting = choice;
    if (name == Property::SIZE && isRange) request.m_SizePercent = number;
    if (name == Property::BLOCK_SIZE && isRange) {
      request.m_SectorSize = static_cast<std::uint32_t>(number);
    }
    if (name == Property::BLOCK_SIZE && isChoice) request.m_SectorSize = SectorSizeBytes(choice);
  }
  return request;
}

std::uint32_t SizePercent(const FormatRequest& request) {
  switch (request.m_Formatting) {
    case Value::CUSTOM:
      return static_cast<std::uint32_t>(request.m_SizePercent) & 0xFFU;
    case Value::IMPROVED_PERFORMANCE:
      return 90;
    case Value::HIGH_PERFORMANCE:
      return 80;
    default:
      return 100;
  }
}

// Returns true if a library call succeeded; traces a failure.
bool CheckStep(const char* function, CardCode code, const ErrorRecord& error) {
  if (code == 0) return true;
  TRACE_AS("ExecutePhysicalDriveOperation");
  TRACE(TRACE_RESULT, "ExecutePhysicalDriveOperation, %s = %d (%s)", function, code, error.Text());
  return false;
}

// Returns the maximum size for over-formatting, or 0 if it cannot be read.
std::uint64_t OverformatSize(FormatRef format, ErrorRecord& error) {
  if (!CheckStep("vsl_iom_format_set_size_mode", AllowOverformat(format, error), error)) return 0;
  return MaxSizeBytes(format, error);
}

bool SetFormatSize(const Drive& drive, const FormatRequest& request, FormatRef format,
                   ErrorRecord& error) {
  if (request.m_Formatting == Value::MAXIMUM_CAPACITY && drive.m_OverformatAllowed) {
    const std::uint64_t bytes = OverformatSize(format, error);
    if (bytes != 0) {
      return CheckStep("vsl_iom_format_set_size_bytes", SetSizeBytes(format, bytes, error), error);
    }
  }
  return CheckStep("vsl_iom_format_set_size_pct",
                   SetSizePercent(format, SizePercent(request), error), error);
}

// Blocks until the card has been formatted.
unsigned int FormatCard(const Drive& drive, const FormatRequest& request) {
  ErrorRecord error;
  CardHandle iom;
  FormatHandle format;
  const bool done =
      CheckStep("vsl_iom_create_by_name", CreateHandle(drive.m_DevicePath, iom, error), error) &&
      CheckStep("vsl_iom_format_create", CreateHandle(iom, format, error), error) &&
      CheckStep("vsl_iom_format_set_sector_size_bytes",
                SetSectorSize(format, request.m_SectorSize, error), error) &&
      SetFormatSize(drive, request, format, error) &&
      CheckStep("vsl_op_start", Start(format, error), error) &&
      CheckStep("vsl_op_wait_for_result", WaitForResult(format, error), error);
  format.Destroy();
  iom.Destroy();
  return done ? PI::SUCCESS : PI::ERR_COMMAND_ERROR;
}

constexpr std::uint32_t kUnitOffline = 0;
constexpr std::uint32_t kUnitOnline = 1;

// Succeeds if at least one unit accepts the new state.
unsigned int SwitchUnits(const Drive& drive, std::uint32_t state) {
  TRACE_AS("ExecutePhysicalDriveOperation");
  ErrorRecord error;
  CardHandle iom;
  if (!CheckStep("vsl_iom_create_by_name", CreateHandle(drive.m_DevicePath, iom, error), error)) {
    return PI::ERR_COMMAND_ERROR;
  }
  unsigned int result = PI::ERR_COMMAND_ERROR;
  UnitRef unit;
  while (NextUnit(iom, unit, error)) {
    if (!HasUnitState(unit, error)) continue;
    const CardCode code = SetUnitState(unit, state, error);
    if (code != 0) continue;
    result = PI::SUCCESS;
    TRACE(TRACE_RESULT, "ExecutePhysicalDriveOperation, vsl_set_vsu_state = %d (%s)", code,
          error.Text());
  }
  iom.Destroy();
  return result;
}

// Returns 0 if any unit has the state `state`, which the operation would change; otherwise
// ERR_GENERAL, or ERR_COMMAND_ERROR if the card cannot be found. In the last case, the null handle
// is passed to vsl_destroy(), which accepts it, only if `destroyIfNotCreated` is true.
unsigned int CheckUnits(const Drive& drive, std::uint32_t state, bool destroyIfNotCreated) {
  TRACE_AS("CheckPhysicalDriveOperation");
  ErrorRecord error;
  CardHandle iom;
  const CardCode code = CreateHandle(drive.m_DevicePath, iom, error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "CheckPhysicalDriveOperation, vsl_iom_create_by_name = %d (%s)", code,
          error.Text());
    if (destroyIfNotCreated) iom.Adopt();
    iom.Destroy();
    return PI::ERR_COMMAND_ERROR;
  }
  bool any = false;
  UnitRef unit;
  while (NextUnit(iom, unit, error)) {
    if (UnitState(unit, error) == state) any = true;
  }
  iom.Destroy();
  return any ? PI::SUCCESS : PI::ERR_GENERAL;
}

// Database rows of drives.

using DriveRow = RaidDataModels::PD;

auto RowFilter(const Drive& drive) {
  using DatabaseORM::is_equal;
  return DatabaseORM::where(is_equal(&DriveRow::serialNumber, drive.m_SerialNumber) &&
                            is_equal(&DriveRow::hostName, "localhost"));
}

// Returns the part of the name before the first parenthesis, without its last character, which is
// usually a space. Returns a name that starts with a parenthesis unchanged.
std::string ShortName(const std::string& name) {
  std::vector<std::string> pieces;
  boost::split(pieces, name, boost::is_any_of("("), boost::token_compress_on);
  if (pieces.empty() || pieces.front().empty()) return name;
  return pieces.front().substr(0, pieces.front().size() - 1);
}

std::string StateName(std::uint32_t state) {
  const bool isKnown =
      state == Value::AVAILABLE || state == Value::AVAILABLE_SMART || state == Value::FAILED;
  return ValueName(isKnown ? static_cast<int>(state) : Value::OK);
}

// Stores the percentage in a property of the host and returns the value read back from it.
int AsPercentProperty(std::uint32_t id, int percent) {
  CProperty property = MakeProperty(id, false);
  property.SetValue(percent, 1, 100, 1);
  int stored = 0;
  property.GetValueRange(stored);
  return stored;
}

// Fills the fields that are read from the card when the row is written. The handle is neither
// opened nor destroyed, so each call leaks one.
void FillLiveFields(DriveRow& row, const CFusionIOAdapter& adapter) {
  ErrorRecord error;
  CardHandle iom;
  const CardCode code = CreateHandle(adapter.m_DevicePath, iom, error);
  iom.Release();
  const CardReader card(iom, error);
  if (adapter.m_FirstUseMs == kUnknown || code != 0 || !card.Has(VSL(rated_endurance_tbytes)) ||
      !card.Has(VSL(total_physical_bytes_written)) ||
      !card.Has(VSL(rated_writes_remaining_percent))) {
    return;
  }
  const std::uint64_t written = card.Get(VSL(total_physical_bytes_written));
  const std::uint64_t read = card.Get(VSL(total_physical_bytes_read));
  const std::uint32_t ratedTBytes = card.Get(VSL(rated_endurance_tbytes));
  const std::int32_t leftPercent = Truncated(card.Get(VSL(rated_writes_remaining_percent)));
  const std::uint64_t usedHours = HoursSince(adapter.m_FirstUseMs);
  row.endOfLifeDate =
      EndOfLifeDate(usedHours, written, 100U - static_cast<unsigned int>(leftPercent), ratedTBytes);
  row.hoursOfUse = static_cast<int>(usedHours);
  row.writesRemainingPercent = leftPercent;
  row.writeThrottling = static_cast<int>(adapter.m_WriteThrottling);
  row.bytesReadKiB = read >> 10U;
  row.bytesWrittenKiB = static_cast<double>(written >> 10U);
  if (const auto space = card.Read(VSL(reserve_space_pct))) {
    row.remainingReserve = AsPercentProperty(Property::REMAINING_RESERVE_SPACE, Truncated(*space));
  }
  if (const auto percent = EndurancePercent(written, ratedTBytes)) {
    row.ratedEndurancePercent =
        AsPercentProperty(Property::RATED_ENDURANCE_PERCENT, static_cast<int>(*percent));
  }
}

}  // namespace

unsigned int IPLUGINAPI_IMPL::GetPhysicalDriveProperties(CFusionIOPhysicalDrive& drive,
                                                         std::vector<PI::CProperty>& properties,
                                                         unsigned int propertyId) {
  TRACE(TRACE_ENTRY, "ENTER GetPhysicalDriveProperties()");
  properties.clear();
  AppendProperties(kDriveProperties, drive, propertyId, properties);
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::SetPhysicalDriveProperty(CFusionIOPhysicalDrive&, PI::CProperty&) {
  return PI::ERR_INVALID_PROPERTY;
}

unsigned int IPLUGINAPI_IMPL::GetPhysicalDriveOperations(CFusionIOPhysicalDrive& drive,
                                                         std::vector<PI::COperation>& operations) {
  operations.clear();
  AppendDriveOperations(drive, operations);
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::CheckPhysicalDriveOperation(CFusionIOPhysicalDrive& drive,
                                                          PI::COperation& operation) {
  TRACE(TRACE_ENTRY, "ENTER CheckPhysicalDriveOperation()");
  unsigned int result = PI::SUCCESS;
  switch (operation.m_OperationID) {
    case PI::OP_FORMAT_DEVICE:
      if (drive.m_State != Value::AVAILABLE) result = PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE;
      break;
    case PI::OP_MAKE_ONLINE:
      result = CheckUnits(drive, kUnitOffline, false);
      break;
    case PI::OP_MAKE_OFFLINE:
      result = CheckUnits(drive, kUnitOnline, true);
      break;
    default:
      break;
  }
  TRACE(TRACE_ENTRY, "LEAVE CheckPhysicalDriveOperation() -> %d", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::ExecutePhysicalDriveOperation(CFusionIOPhysicalDrive& drive,
                                                            PI::COperation& operation) {
  TRACE(TRACE_ENTRY, "ENTER ExecutePhysicalDriveOperation()");
  unsigned int result = PI::ERR_INVALID_OPERATION;
  switch (operation.m_OperationID) {
    case PI::OP_MAKE_ONLINE:
      result = SwitchUnits(drive, kUnitOnline);
      break;
    case PI::OP_MAKE_OFFLINE:
      result = SwitchUnits(drive, kUnitOffline);
      break;
    case PI::OP_FORMAT_DEVICE:
      result = FormatCard(drive, ReadFormatRequest(drive, operation.m_Properties));
      break;
    default:
      break;
  }
  // Wakes the worker to notify the host. The worker does not poll cards before its next timeout.
  if (result == PI::SUCCESS) m_PrivateEvent.Set();
  TRACE(TRACE_ENTRY, "LEAVE ExecutePhysicalDriveOperation() -> %d", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::SetDatabaseObjectProperties(DriveRow& row,
                                                          CFusionIOPhysicalDrive& drive) {
  TRACE(TRACE_ENTRY, "ENTER SetDatabaseObjectProperties (PhysicalDisk) ()");
  row = DriveRow();
  row.objectId = drive.m_ID;
  row.objectIdLow = static_cast<int>(drive.m_ID);
  row.hostName = "localhost";
  row.serialNumber = drive.m_SerialNumber;
  row.adapterNumber = static_cast<int>(drive.m_GlobalNumber);
  row.mediaType = ValueName(Value::SSD);
  row.interfaceType = ValueName(Value::PCI_EXPRESS);
  row.driveFlagA = 0;
  row.driveFlagB = 0;
  row.product = drive.m_Product;
  row.location = drive.m_Location;
  row.vendor = drive.m_Vendor;
  row.factorySize = drive.m_FactorySizeMiB;
  row.configurableSize = drive.m_ConfigurableSizeMiB;
  row.sectorSize = static_cast<int>(drive.m_SectorSize);
  row.shortName = ShortName(drive.m_Name);
  row.statusName = StateName(drive.m_State);
  return PI::SUCCESS;
}

void IPLUGINAPI_IMPL::FillRow(DriveRow& row, CFusionIOPhysicalDrive& drive,
                              const CFusionIOAdapter& adapter) {
  SetDatabaseObjectProperties(row, drive);
  FillLiveFields(row, adapter);
  row.reserveWarning =
      AsPercentProperty(Property::RESERVE_WARNING_THRESHOLD, adapter.m_ReserveWarningPercent);
}

// Inserts one row for each adapter with the drive's serial number.
unsigned int IPLUGINAPI_IMPL::InsertObjectToDatabase(CFusionIOPhysicalDrive& drive) {
  return InsertObjectToDatabase(drive, AdaptersBySerialNumber(m_Adapters));
}

unsigned int IPLUGINAPI_IMPL::InsertObjectToDatabase(CFusionIOPhysicalDrive& drive,
                                                     const AdaptersBySerialNumber& adapters) {
  TRACE_AS(__func__);
  return RunRowStatements(
      m_Database.get(),
      [&]() CORVANE_REQUIRES(m_DataLock) {
        for (const CFusionIOAdapter* adapter : adapters.With(drive.m_SerialNumber)) {
          DriveRow row;
          FillRow(row, drive, *adapter);
          m_Database->insert(row);
          TRACE(TRACE_DATABASE, "PD (%s) inserted to db.", drive.m_Name);
        }
      },
      [&](const char* why) {
        TRACE(TRACE_DATABASE, "Storage query exception thrown during inserting PD (%s) to db. (%s)",
              drive.m_Name, why);
      });
}

unsigned int IPLUGINAPI_IMPL::UpdateObjectInDatabase(CFusionIOPhysicalDrive& drive) {
  return UpdateObjectInDatabase(drive, AdaptersBySerialNumber(m_Adapters));
}

unsigned int IPLUGINAPI_IMPL::UpdateObjectInDatabase(CFusionIOPhysicalDrive& drive,
                                                     const AdaptersBySerialNumber& adapters) {
  TRACE_AS(__func__);
  return RunRowStatements(
      m_Database.get(),
      [&]() CORVANE_REQUIRES(m_DataLock) {
        for (const CFusionIOAdapter* adapter : adapters.With(drive.m_SerialNumber)) {
          const std::vector<DriveRow> old = m_Database->get_all<DriveRow>(RowFilter(drive));
          if (old.empty()) continue;
          DriveRow row;
          FillRow(row, drive, *adapter);
          row.id = old.front().id;
          m_Database->update(row);
          TRACE(TRACE_DATABASE, "PD (%s) updated in db.", drive.m_Name);
        }
      },
      [&](const char* why) {
        TRACE(TRACE_DATABASE, "Storage query exception thrown during updating PD (%s) in db. (%s)",
              drive.m_Name, why);
      });
}

// The row of a drive is kept after its card has been removed.
unsigned int IPLUGINAPI_IMPL::DeleteObjectFromDatabase(CFusionIOPhysicalDrive&) {
  return PI::SUCCESS;
}

}  // namespace NAMESPACE_Corvane
