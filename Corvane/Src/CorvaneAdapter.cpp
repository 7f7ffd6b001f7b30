// Properties, operations and database row of an adapter.

#include "Corvane/Src/CardLibrary.h"
#include "Corvane/Src/ChangeEvents.h"
#include "Corvane/Src/Corvane.h"
#include "Corvane/Src/Endurance.h"
#include "Corvane/Src/Formatted.h"
#include "Corvane/Src/OperationTable.h"
#include "Corvane/Src/PropertyTable.h"
#include "Corvane/Src/RowStatement.h"
#include "Corvane/Src/Trace.h"
#include "Corvane/Src/ValueNames.h"
#include "models/Adapter.h"
#include "orm/storage.h"

namespace NAMESPACE_Corvane {

namespace {

using PI::CProperty;
namespace Property = PI::Property;
namespace ShortName = PI::ShortName;
namespace Value = PI::Value;

// Display formats of floats.
constexpr std::uint32_t kFormatPlain = 8;   // temperatures and byte counts
constexpr std::uint32_t kFormatPower = 16;  // watts

const std::vector<int> kStatusChoices = {Value::OK, Value::WARNING, Value::FAILED};
const std::vector<int> kReserveChoices = {Value::HEALTHY, Value::WARNING, Value::DEPLETED};
const std::vector<int> kThrottlingChoices = {Value::NONE, Value::PARTIAL, Value::COMPLETE};
const std::vector<int> kActivityChoices = {Value::IDLE, Value::BUSY, Value::ATTACHING,
                                           Value::DETACHING};
const std::vector<int> kPowerChoices = {Value::NONE, Value::OPTIONAL, Value::REQUIRED};
const std::vector<int> kHardwareChoices = {Value::PCI_EXPRESS_SSD_AIC};
const std::vector<int> kReasonChoices = {
    Value::DETACHED,
    Value::STOPPED,
    Value::ATTACHED,
    Value::FIRMWARE_OUT_OF_DATE,
    Value::INSUFFICIENT_POWER,
    Value::DUAL_PLANE_FAIL,
    Value::FORCED,
    Value::INTERNAL,
    Value::CARD_LIMIT_EXCEEDED,
    Value::UNSUPPORTED_OS,
    Value::INSUFFICIENT_MEMORY,
    Value::SMP_BOOTLOADER_MODE,
    Value::LOGICAL_DRIVE_DEGRADED,
};

// Creates the handle of an adapter's card and opens the card. Returns whether that succeeded.
bool OpenByName(const CFusionIOAdapter& adapter, CardHandle& iom, ErrorRecord& error) {
  if (CreateHandle(adapter.m_DevicePath, iom, error) == 0 && iom.Open(error) == 0) return true;
  iom.Adopt();  // so that the handle is destroyed even if its creation failed
  iom.Destroy();
  return false;
}

// An adapter during a request: its record, and its card if the card can be opened.
class LiveAdapter {
 public:
  explicit LiveAdapter(const CFusionIOAdapter& adapter)
      : m_Record(adapter), m_IsOpen(OpenByName(adapter, m_Iom, m_Error)) {}

  bool IsOpen() const { return m_IsOpen; }
  CardReader Card() { return CardReader(m_Iom, m_Error); }

  // Closes the card and destroys its handle. Call as the last step of a request.
  void Close() {
    if (!m_IsOpen) return;
    m_Iom.Close(m_Error);
    m_Iom.Destroy();
  }

  const CFusionIOAdapter& m_Record;

 private:
  ErrorRecord m_Error;
  CardHandle m_Iom;
  bool m_IsOpen;
};

// Properties copied from the record.

template <std::string CFusionIOAdapter::*field>
bool Text(LiveAdapter& adapter, CProperty& property) {
  property.SetValue(adapter.m_Record.*field);
  return true;
}

template <std::string CFusionIOAdapter::*field>
bool TextUnlessEmpty(LiveAdapter& adapter, CProperty& property) {
  return !(adapter.m_Record.*field).empty() && Text<field>(adapter, property);
}

template <std::uint64_t CFusionIOAdapter::*field>
bool Number(LiveAdapter& adapter, CProperty& property) {
  property.SetValue(adapter.m_Record.*field);
  return true;
}

template <std::uint64_t CFusionIOAdapter::*field>
bool NumberIfKnown(LiveAdapter& adapter, CProperty& property) {
  return adapter.m_Record.*field != kUnknown && Number<field>(adapter, property);
}

template <float CFusionIOAdapter::*field>
bool Float(LiveAdapter& adapter, CProperty& property) {
  property.SetValue(adapter.m_Record.*field);
  return true;
}

template <float CFusionIOAdapter::*field>
bool FloatIfPositive(LiveAdapter& adapter, CProperty& property) {
  return adapter.m_Record.*field > 0.0F && Float<field>(adapter, property);
}

template <std::uint32_t CFusionIOAdapter::*field, const std::vector<int>& choices>
bool Choice(LiveAdapter& adapter, CProperty& property) {
  property.SetValue(static_cast<int>(adapter.m_Record.*field), choices);
  return true;
}

// Properties computed from the record.

bool HardwareType(LiveAdapter&, CProperty& property) {
  property.SetValue(Value::PCI_EXPRESS_SSD_AIC, kHardwareChoices);
  return true;
}

bool AdapterNumber(LiveAdapter& adapter, CProperty& property) {
  const auto number = static_cast<std::int32_t>(adapter.m_Record.m_CardIndex);
  property.SetValue(static_cast<unsigned long>(static_cast<long>(number)));
  return true;
}

bool ManufactureDate(LiveAdapter& adapter, CProperty& property) {
  if (adapter.m_Record.m_OriginMs == kUnknown) return false;
  const Date date = DateOf(adapter.m_Record.m_OriginMs);
  property.SetValue(Joined(Padded{date.m_Year, 4, ' '}, "-", Padded{date.m_Month, 2}, "-",
                           Padded{date.m_Day, 2}, " ", Padded{date.m_Hour, 2}, ":",
                           Padded{date.m_Minute, 2}));
  return true;
}

bool ReserveWarningThreshold(LiveAdapter& adapter, CProperty& property) {
  property.SetValue(adapter.m_Record.m_ReserveWarningPercent, 1, 100, 1);
  return true;
}

bool ExternalPowerConnected(LiveAdapter& adapter, CProperty& property) {
  if (adapter.m_Record.m_ExternalPower == Value::NONE) return false;
  property.SetValue(adapter.m_Record.m_ExternalPowerConnected);
  return true;
}

bool AdditionalStatus(LiveAdapter& adapter, CProperty& property) {
  if (adapter.m_Record.m_StatusReasons.empty()) return false;
  std::vector<int> reasons = adapter.m_Record.m_StatusReasons;
  std::vector<int> choices = kReasonChoices;
  property.SetValue(reasons, choices);
  return true;
}

bool Status(LiveAdapter& adapter, CProperty& property) {
  const std::uint32_t status = adapter.m_Record.m_Status;
  property.SetValue(static_cast<int>(status), kStatusChoices);
  property.m_Indicator = status == Value::FAILED    ? PI::INDICATOR_ADAPTER_FAILED
                         : status == Value::WARNING ? PI::INDICATOR_ADAPTER_WARNING
                                                    : PI::INDICATOR_ADAPTER_OK;
  return true;
}

// Properties read from the card.

// The date on which the card will be worn out.
bool EstimatedLifetime(LiveAdapter& adapter, CProperty& property) {
  const std::uint64_t firstUseMs = adapter.m_Record.m_FirstUseMs;
  if (firstUseMs == kUnknown || !adapter.IsOpen()) return false;
  const CardReader card = adapter.Card();
  if (!card.Has(VSL(rated_endurance_tbytes)) || !card.Has(VSL(total_physical_bytes_written)) ||
      !card.Has(VSL(rated_writes_remaining_percent))) {
    return false;
  }
  const std::uint64_t written = card.Get(VSL(total_physical_bytes_written));
  const std::uint32_t ratedTBytes = card.Get(VSL(rated_endurance_tbytes));
  const std::int32_t leftPercent = Truncated(card.Get(VSL(rated_writes_remaining_percent)));
  const auto usedPercent = 100U - static_cast<unsigned int>(leftPercent);
  property.SetValue(EndOfLifeDate(HoursSince(firstUseMs), written, usedPercent, ratedTBytes));
  return true;
}

bool RemainingReserveSpace(LiveAdapter& adapter, CProperty& property) {
  TRACE_AS("GetAdapterProperties");
  if (!adapter.IsOpen()) return false;
  const auto space = adapter.Card().Read(VSL(reserve_space_pct));
  if (!space) return false;
  const std::int32_t percent = Truncated(*space);
  TRACE(TRACE_RESULT, "GetAdapterProperties, vsl_has_reserve_space_pct = %d", percent);
  property.SetValue(percent, 1, 100, 1);
  return true;
}

bool ReserveStatus(LiveAdapter& adapter, CProperty& property) {
  TRACE_AS("GetAdapterProperties");
  if (!adapter.IsOpen()) return false;
  const auto status = adapter.Card().Read(kReserveStatus);
  if (!status) return false;
  TRACE(TRACE_RESULT, "GetAdapterProperties, vsl_has_reserve_status = %d", *status);
  const int choice = *status == 1   ? Value::WARNING
                     : *status == 2 ? Value::DEPLETED
                                    : Value::HEALTHY;
  property.SetValue(choice, kReserveChoices);
  return true;
}

bool ByteCount(std::optional<std::uint64_t> bytes, const char* trace, CProperty& property) {
  TRACE_AS("GetAdapterProperties");
  float value = 0;
  PI::_UNITS unit{};
  if (!bytes || !PI::CPluginHelper::ConvertBytesToOtherUnit(*bytes, value, unit)) return false;
  property.SetValue(value);
  property.m_Units = unit;
  TRACE(TRACE_RESULT, trace, *bytes);
  return true;
}

bool BytesRead(LiveAdapter& adapter, CProperty& property) {
  return adapter.IsOpen() &&
         ByteCount(adapter.Card().Read(VSL(total_physical_bytes_read)),
                   "GetAdapterProperties, vsl_has_total_physical_bytes_read = %d", property);
}

bool BytesWritten(LiveAdapter& adapter, CProperty& property) {
  return adapter.IsOpen() &&
         ByteCount(adapter.Card().Read(VSL(total_physical_bytes_written)),
                   "GetAdapterProperties, vsl_has_total_physical_bytes_written = %d", property);
}

// The bytes written as a percentage of the rated endurance. May exceed 100.
bool RatedEndurancePercent(LiveAdapter& adapter, CProperty& property) {
  TRACE_AS("GetAdapterProperties");
  if (!adapter.IsOpen()) return false;
  const CardReader card = adapter.Card();
  if (!card.Has(VSL(rated_endurance_tbytes)) || !card.Has(VSL(total_physical_bytes_written))) {
    return false;
  }
  const std::uint64_t written = card.Get(VSL(total_physical_bytes_written));
  const auto percent = EndurancePercent(written, card.Get(VSL(rated_endurance_tbytes)));
  if (!percent) return false;
  TRACE(TRACE_RESULT, "GetAdapterProperties, vsl_has_rated_endurance_percent = %d", *percent);
  property.SetValue(static_cast<int>(*percent), 0, 100, 1);
  return true;
}

using Record = CFusionIOAdapter;
using Row = PropertyRow<LiveAdapter>;

// In the order in which they are listed.
constexpr Row kAdapterProperties[] = {
    Row(Property::NAME, Text<&Record::m_Name>).Sort(23081),
    Row(Property::VENDOR, Text<&Record::m_Vendor>).Sort(23144),
    Row(Property::PRODUCT, Text<&Record::m_BoardName>).Sort(23102),
    Row(Property::HARDWARE_TYPE, HardwareType).Hidden(),
    Row(Property::ADAPTER_NUMBER, AdapterNumber).Name(ShortName::ID).Sort(23003),
    Row(Property::SERIAL_NUMBER, Text<&Record::m_SerialNumber>).Sort(23116),
    Row(Property::PCI_SEGMENT, Number<&Record::m_PciSegment>).Name(ShortName::SEGMENT).Sort(23134),
    Row(Property::PCI_BUS, Number<&Record::m_PciBus>).Name(ShortName::BUS).Sort(23132),
    Row(Property::PCI_DEVICE, Number<&Record::m_PciDevice>).Name(ShortName::DEVICE).Sort(23133),
    Row(Property::PCI_FUNCTION, Number<&Record::m_PciFunction>)
        .Name(ShortName::FUNCTION)
        .Sort(23135),
    Row(Property::PCI_SLOT, NumberIfKnown<&Record::m_PciSlot>).Name(ShortName::SLOT).Sort(23139),
    Row(Property::UNIQUE_ID, Text<&Record::m_Location>).Hidden(),
    Row(Property::OS_DEVICE, Text<&Record::m_DevicePath>).Sort(23090),
    Row(Property::DRIVER_NAME, Text<&Record::m_DriverName>).Sort(23041),
    Row(Property::DRIVER_VERSION, TextUnlessEmpty<&Record::m_DriverVersion>).Sort(23042),
    Row(Property::FIRMWARE_VERSION, TextUnlessEmpty<&Record::m_FirmwareVersion>).Sort(23051),
    Row(Property::CHIP_TEMPERATURE, Float<&Record::m_Temperature>)
        .Sort(23024)
        .Unit(PI::UNITS_DEGREES_CELSIUS)
        .Format(kFormatPlain),
    Row(Property::MEMORY_SIZE, Number<&Record::m_FactorySizeMiB>)
        .Sort(23078)
        .Unit(PI::UNITS_MEGABYTES),
    Row(Property::ESTIMATED_LIFETIME, EstimatedLifetime).Sort(23045),
    Row(Property::MANUFACTURE_DATE, ManufactureDate).Sort(23070),
    Row(Property::REMAINING_RESERVE_SPACE, RemainingReserveSpace)
        .Name(ShortName::REMAINING_RESERVE_SPACE)
        .Sort(23110)
        .Unit(PI::UNITS_PERCENT)
        .UnitNotFixed(),
    Row(Property::RESERVE_STATUS, ReserveStatus).Name(Property::STATUS).Sort(23112).UnitNotFixed(),
    Row(Property::RESERVE_WARNING_THRESHOLD, ReserveWarningThreshold)
        .Name(ShortName::WARNING_THRESHOLD)
        .Sort(23113)
        .Unit(PI::UNITS_PERCENT),
    Row(Property::BYTES_READ, BytesRead)
        .Name(Property::BYTES_READ)
        .Sort(23017)
        .Format(kFormatPlain)
        .UnitNotFixed(),
    Row(Property::BYTES_WRITTEN, BytesWritten)
        .Name(Property::BYTES_WRITTEN)
        .Sort(23018)
        .Format(kFormatPlain)
        .UnitNotFixed(),
    Row(Property::RATED_ENDURANCE_PERCENT, RatedEndurancePercent)
        .Name(Property::RATED_ENDURANCE_PERCENT)
        .Sort(23105)
        .Unit(PI::UNITS_PERCENT)
        .UnitNotFixed(),
    Row(Property::EXTERNAL_POWER_REQUIREMENT, Choice<&Record::m_ExternalPower, kPowerChoices>)
        .Sort(23047),
    Row(Property::EXTERNAL_POWER_CONNECTED, ExternalPowerConnected).Sort(23048),
    Row(Property::SLOT_POWER, FloatIfPositive<&Record::m_SlotPowerWatts>)
        .Sort(23118)
        .Unit(PI::UNITS_WATTS)
        .Format(kFormatPower),
    Row(Property::POWER_LIMIT, FloatIfPositive<&Record::m_PowerLimitWatts>)
        .Sort(23100)
        .Unit(PI::UNITS_WATTS)
        .Format(kFormatPower),
    Row(Property::HIGH_WARNING_TEMPERATURE, FloatIfPositive<&Record::m_TempWarnDegC>)
        .Sort(23057)
        .Unit(PI::UNITS_DEGREES_CELSIUS)
        .Format(kFormatPlain),
    Row(Property::HIGH_CRITICAL_TEMPERATURE, FloatIfPositive<&Record::m_TempSetpointDegC>)
        .Sort(23058)
        .Unit(PI::UNITS_DEGREES_CELSIUS)
        .Format(kFormatPlain),
    Row(Property::STATUS, Status).Sort(23127),
    Row(Property::WRITE_THROTTLING, Choice<&Record::m_WriteThrottling, kThrottlingChoices>)
        .Sort(23147),
    Row(Property::ADDITIONAL_STATUS, AdditionalStatus).Sort(23004),
    Row(Property::ACTIVITY, Choice<&Record::m_Activity, kActivityChoices>).Sort(23002),
};

// The listed operations. A forced detach is not listed, but a host can execute it by number.
constexpr OperationRow kAdapterOperations[] = {
    {PI::OP_LOCATE_DEVICE, 1, 2, 1, 1, false, -1, 1, 1},
    {PI::OP_STOP_LOCATE_DEVICE, 1, 2, 1, 1, false, -1, 1, 1},
    {PI::OP_ATTACH, 1, 2, 1, 1, false, -1, 2, 22110},
    {PI::OP_DETACH, 1, 2, 1, 1, false, -1, 2, 22111},
};

bool IsLocateOperation(std::uint32_t operationId) {
  return operationId == PI::OP_LOCATE_DEVICE || operationId == PI::OP_STOP_LOCATE_DEVICE;
}

// Checks whether turning the locate LED on or off would change it. Reads its state from the card,
// because the record does not contain it.
unsigned int CheckLocateLED(const CFusionIOAdapter& adapter, bool on) {
  TRACE_AS("CheckAdapterOperation");
  ErrorRecord error;
  CardHandle iom;
  const CardCode code = CreateHandle(adapter.m_DevicePath, iom, error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "CheckAdapterOperation, vsl_iom_create_by_name = %d (%s)", code,
          error.Text());
    return PI::ERR_COMMAND_ERROR;
  }
  const bool isOn = LocateLEDIsOn(iom, error);
  iom.Destroy();
  if (isOn != on) return PI::SUCCESS;
  return on ? PI::ERR_LOCATE_IN_PROGRESS : PI::ERR_NO_LOCATE_STARTED;
}

unsigned int SwitchLocateLED(const CFusionIOAdapter& adapter, bool on) {
  TRACE_AS("ExecuteAdapterOperation");
  ErrorRecord error;
  CardHandle iom;
  CardCode code = CreateHandle(adapter.m_DevicePath, iom, error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "ExecuteAdapterOperation, vsl_iom_create_by_name = %d (%s)", code,
          error.Text());
    return PI::ERR_COMMAND_ERROR;
  }
  code = SetLocateLED(iom, on, error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "ExecuteAdapterOperation, vsl_set_beacon_state = %d (%s)", code,
          error.Text());
  }
  iom.Destroy();
  return code == 0 ? PI::SUCCESS : PI::ERR_COMMAND_ERROR;
}

// Database rows of adapters.

using AdapterRow = RaidDataModels::Adapter;

// Returns the condition that selects the row of an adapter.
auto RowFilter(const CFusionIOAdapter& adapter) {
  using DatabaseORM::is_equal;
  return DatabaseORM::where(
      is_equal(&AdapterRow::adapterNumber, static_cast<int>(adapter.m_GlobalNumber)) &&
      is_equal(&AdapterRow::hostName, "localhost"));
}

std::string StatusName(std::uint32_t status) {
  const bool known = status == Value::FAILED || status == Value::WARNING;
  return ValueName(known ? static_cast<int>(status) : Value::OK);
}

std::vector<std::string> NamesOf(const std::vector<std::int32_t>& values) {
  std::vector<std::string> names;
  for (const std::int32_t value : values) names.push_back(ValueName(value));
  return names;
}

// Reads live attributes through a null handle, for which a library may report them as missing, and
// traces some of them. The row has no fields for them.
void TraceLiveValues(const CFusionIOAdapter& adapter) {
  TRACE_AS("SetDatabaseObjectProperties");
  ErrorRecord error = ErrorRecord::Zeroed();
  const CardReader card(CardRef(), error);
  if (adapter.m_FirstUseMs != kUnknown && card.Has(VSL(rated_endurance_tbytes)) &&
      card.Has(VSL(total_physical_bytes_written)) &&
      card.Has(VSL(rated_writes_remaining_percent))) {
    const std::uint64_t written = card.Get(VSL(total_physical_bytes_written));
    const std::uint32_t ratedTBytes = card.Get(VSL(rated_endurance_tbytes));
    const std::int32_t leftPercent = Truncated(card.Get(VSL(rated_writes_remaining_percent)));
    EndOfLifeDate(HoursSince(adapter.m_FirstUseMs), written, static_cast<unsigned int>(leftPercent),
                  ratedTBytes);
  }
  float value = 0;
  PI::_UNITS unit{};
  if (const auto bytes = card.Read(VSL(total_physical_bytes_read))) {
    PI::CPluginHelper::ConvertBytesToOtherUnit(*bytes, value, unit);
    TRACE(TRACE_RESULT, "GetAdapterProperties, vsl_has_total_physical_bytes_read = %d", *bytes);
  }
  if (const auto bytes = card.Read(VSL(total_physical_bytes_written))) {
    PI::CPluginHelper::ConvertBytesToOtherUnit(*bytes, value, unit);
  }
  if (card.Has(VSL(rated_endurance_tbytes)) && card.Has(VSL(total_physical_bytes_written))) {
    const std::uint64_t written = card.Get(VSL(total_physical_bytes_written));
    const auto percent = EndurancePercent(written, card.Get(VSL(rated_endurance_tbytes)));
    if (!percent) return;
    TRACE(TRACE_RESULT, "GetAdapterProperties, vsl_has_rated_endurance_percent = %d", *percent);
  }
}

}  // namespace

unsigned int IPLUGINAPI_IMPL::GetAdapterProperties(CFusionIOAdapter& adapter,
                                                   std::vector<PI::CProperty>& properties,
                                                   unsigned int propertyId) {
  properties.clear();
  TRACE(TRACE_ENTRY, "ENTER AdapterGetProperties (%d)", adapter.m_CardIndex);
  LiveAdapter live(adapter);
  AppendProperties(kAdapterProperties, live, propertyId, properties);
  live.Close();
  const unsigned int result = PI::SUCCESS;
  TRACE(TRACE_ENTRY, "LEAVE AdapterGetProperties -> %d", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::SetAdapterProperty(CFusionIOAdapter&, PI::CProperty&) {
  return PI::ERR_INVALID_PROPERTY;
}

unsigned int IPLUGINAPI_IMPL::GetAdapterOperations(CFusionIOAdapter& adapter,
                                                   std::vector<PI::COperation>& operations) {
  operations.clear();
  operations.reserve(std::size(kAdapterOperations));
  for (const OperationRow& row : kAdapterOperations) {
    if (IsLocateOperation(row.m_OperationID) && !adapter.m_HasBeacon) continue;
    AppendOperation(row, operations);
  }
  return PI::SUCCESS;
}

// For attach and detach, the adapter is busy while a job of the same kind runs on any card. If none
// runs, the result depends on the state found by the last scan, and no LEAVE line is traced.
unsigned int IPLUGINAPI_IMPL::CheckAdapterOperation(CFusionIOAdapter& adapter,
                                                    PI::COperation& operation) {
  TRACE(TRACE_RESULT, "ENTER CheckAdapterOperation operation=%d", operation.m_OperationID);
  unsigned int result = PI::SUCCESS;
  switch (operation.m_OperationID) {
    case PI::OP_LOCATE_DEVICE:
      result = CheckLocateLED(adapter, true);
      break;
    case PI::OP_STOP_LOCATE_DEVICE:
      result = CheckLocateLED(adapter, false);
      break;
    case PI::OP_ATTACH:
      if (!IsBusy(m_pAttachThread, m_AttachDevice)) {
        return HasReason(adapter, Value::DETACHED) ? PI::SUCCESS : PI::ERR_GENERAL;
      }
      result = PI::ERR_ADAPTER_BUSY;
      break;
    case PI::OP_DETACH:
    case PI::OP_FORCE_DETACH:
      if (!IsBusy(m_pDetachThread, m_DetachDevice)) {
        return HasReason(adapter, Value::ATTACHED) ? PI::SUCCESS : PI::ERR_GENERAL;
      }
      result = PI::ERR_ADAPTER_BUSY;
      break;
    default:
      break;
  }
  TRACE(TRACE_RESULT, "LEAVE CheckAdapterOperation -> %d", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::ExecuteAdapterOperation(CFusionIOAdapter& adapter,
                                                      PI::COperation& operation) {
  TRACE(TRACE_ENTRY, "ENTER ExecuteAdapterOperation(%d) (%d)", operation.m_OperationID,
        adapter.m_CardIndex);
  unsigned int result = PI::SUCCESS;
  switch (operation.m_OperationID) {
    case PI::OP_LOCATE_DEVICE:
      result = SwitchLocateLED(adapter, true);
      break;
    case PI::OP_STOP_LOCATE_DEVICE:
      result = SwitchLocateLED(adapter, false);
      break;
    case PI::OP_ATTACH:
      TRACE(TRACE_RESULT, "ExecuteAdapterOperation(), OP_ATTACH, start Attach thread");
      StartJob(m_pAttachThread, &IPLUGINAPI_IMPL::Attach, adapter);
      break;
    case PI::OP_DETACH:
      TRACE(TRACE_RESULT, "ExecuteAdapterOperation(), OP_DETACH, start Detach thread");
      StartJob(m_pDetachThread, &IPLUGINAPI_IMPL::Detach, adapter);
      break;
    case PI::OP_FORCE_DETACH:
      TRACE(TRACE_RESULT, "ExecuteAdapterOperation(), OP_FORCE_DETACH, start ForceDetach thread");
      StartJob(m_pDetachThread, &IPLUGINAPI_IMPL::ForceDetach, adapter);
      break;
    default:
      TRACE(TRACE_RESULT, "ExecuteAdapterOperation() OpCode(%d)", operation.m_OperationID);
      result = PI::ERR_INVALID_OPERATION;
  }
  TRACE(TRACE_ENTRY, "LEAVE AdapterExecuteOperation() -> %d", result);
  return result;
}

// Replaces the last job of the slot, even if it is still running: only `CheckAdapterOperation`
// rejects a second job.
void IPLUGINAPI_IMPL::StartJob(ThreadSlot& slot,
                               unsigned int (IPLUGINAPI_IMPL::*job)(const std::string&),
                               const CFusionIOAdapter& adapter) {
  using Job =
      MBX::Delegates_and_Calls::TDelegateR1<IPLUGINAPI_IMPL, unsigned int, const std::string&>;
  slot.reset();
  slot = std::make_unique<MBX::Threading::CThread>();
  slot->Create(Job(this, job, adapter.m_DevicePath), false);
}

unsigned int IPLUGINAPI_IMPL::SetDatabaseObjectProperties(AdapterRow& row,
                                                          CFusionIOAdapter& adapter) {
  TRACE(TRACE_ENTRY, "ENTER AdapterGetProperties (%d)", adapter.m_CardIndex);
  row = AdapterRow();
  row.objectId = adapter.m_ID;
  row.adapterNumber = static_cast<int>(adapter.m_GlobalNumber);
  row.hostName = "localhost";
  row.adapterFlagA = 1;
  row.adapterFlagB = 1;
  row.name = adapter.m_Name;
  row.vendor = adapter.m_Vendor;
  row.product = adapter.m_BoardName;
  row.serialNumber = adapter.m_SerialNumber;
  row.location = adapter.m_Location;
  row.driverName = adapter.m_DriverName;
  if (!adapter.m_DriverVersion.empty()) row.driverVersion = adapter.m_DriverVersion;
  if (!adapter.m_FirmwareVersion.empty()) row.firmwareVersion = adapter.m_FirmwareVersion;
  row.pciSegment = static_cast<int>(adapter.m_PciSegment);
  row.pciBus = static_cast<int>(adapter.m_PciBus);
  row.pciDevice = static_cast<int>(adapter.m_PciDevice);
  row.pciFunction = static_cast<int>(adapter.m_PciFunction);
  row.factorySize = static_cast<int>(adapter.m_FactorySizeMiB);
  row.temperature = Truncated(adapter.m_Temperature);
  row.hardwareType = ValueName(Value::PCI_EXPRESS_SSD_AIC);
  row.statusName = StatusName(adapter.m_Status);
  row.activityNames = {ValueName(static_cast<int>(adapter.m_Activity))};
  row.statusReasonNames = NamesOf(adapter.m_StatusReasons);
  TraceLiveValues(adapter);
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::InsertObjectToDatabase(CFusionIOAdapter& adapter) {
  TRACE_AS(__func__);
  return RunRowStatements(
      m_Database.get(),
      [&]() CORVANE_REQUIRES(m_DataLock) {
        AdapterRow row;
        SetDatabaseObjectProperties(row, adapter);
        m_Database->insert(row);
        TRACE(TRACE_DATABASE, "Adapter (%s) (%d) inserted to db.", adapter.m_Name,
              adapter.m_GlobalNumber);
      },
      [&](const char* why) {
        TRACE(TRACE_DATABASE,
              "Storage query exception thrown during inserting Adapter (%s) (%d) to db. (%s)",
              adapter.m_Name, adapter.m_GlobalNumber, why);
      });
}

// Does nothing if the adapter has no row.
unsigned int IPLUGINAPI_IMPL::UpdateObjectInDatabase(CFusionIOAdapter& adapter) {
  TRACE_AS(__func__);
  return RunRowStatements(
      m_Database.get(),
      [&]() CORVANE_REQUIRES(m_DataLock) {
        const std::vector<AdapterRow> old = m_Database->get_all<AdapterRow>(RowFilter(adapter));
        if (old.empty()) return;
        AdapterRow row;
        SetDatabaseObjectProperties(row, adapter);
        row.id = old.front().id;
        m_Database->update(row);
        TRACE(TRACE_DATABASE, "Adapter (%s) (%d) entry updated in db.", adapter.m_Name,
              adapter.m_GlobalNumber);
      },
      [&](const char* why) {
        TRACE(TRACE_DATABASE,
              "Storage query exception thrown during updating Adapter (%s) (%d) entry updated in "
              "db. (%s)",
              adapter.m_Name, adapter.m_GlobalNumber, why);
      });
}

unsigned int IPLUGINAPI_IMPL::DeleteObjectFromDatabase(CFusionIOAdapter& adapter) {
  TRACE_AS(__func__);
  return RunRowStatements(
      m_Database.get(),
      [&]() CORVANE_REQUIRES(m_DataLock) {
        m_Database->remove_all<AdapterRow>(RowFilter(adapter));
        TRACE(TRACE_DATABASE, "Adapter (%s) (%d) removed from db.", adapter.m_Name,
              adapter.m_GlobalNumber);
      },
      [&](const char* why) {
        TRACE(TRACE_DATABASE,
              "Storage query exception thrown during removing Adapter (%s) (%d) removed from db. "
              "(%s)",
              adapter.m_Name, adapter.m_GlobalNumber, why);
      });
}

}  // namespace NAMESPACE_Corvane
