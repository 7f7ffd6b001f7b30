// Startup and shutdown, the worker, scanning the cards and storing the changes, jobs, the topology,
// and the plug-in object.

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "Corvane/Src/AdapterIDs.h"
#include "Corvane/Src/CardLibrary.h"
#include "Corvane/Src/CardScan.h"
#include "Corvane/Src/Corvane.h"
#include "Corvane/Src/Formatted.h"
#include "Corvane/Src/OperationTable.h"
#include "Corvane/Src/PciIdentities.h"
#include "Corvane/Src/PluginObjectTable.h"
#include "Corvane/Src/PollInterval.h"
#include "Corvane/Src/PropertyTable.h"
#include "Corvane/Src/RecordSearch.h"
#include "Corvane/Src/RowStatement.h"
#include "Corvane/Src/Sleep.h"
#include "Corvane/Src/StatusFlags.h"
#include "Corvane/Src/SystemDifference.h"
#include "Corvane/Src/ThreadName.h"
#include "Corvane/Src/Trace.h"
#include "Corvane/Src/WaitResults.h"
#include "models/Plugin.h"
#include "orm/storage.h"

namespace NAMESPACE_Corvane {

namespace {

namespace Property = PI::Property;
namespace Value = PI::Value;

constexpr unsigned int kVslInitRetries = 60;
constexpr unsigned int kStopLimitMs = 24999;

// Positions of events in the worker's waiter, counted from 1.
constexpr unsigned int kForceWorker = 1;
constexpr unsigned int kPrivateEvent = 3;

bool CheckInitialized(const char* name, int result) {
  if (result == 1) return true;
  TRACE_AS("Initialize");
  TRACE(TRACE_ENTRY, "LEAVE Initialize() %s.Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED %d", name,
        PI::ERR_LOCK_INITIALIZATION_FAILED);
  return false;
}

// Prints to standard output regardless of the trace level.
void PrintAdapterCount(unsigned long count) {
  std::printf("%s:  Initialize:  adapter count is %lu\n", MBX_MODULE_INFO_Corvane.m_Name, count);
}

void ReadLifetimeAttributes(const CardReader& card, CFusionIOAdapter& adapter) {
  TRACE_AS("ScanSystem");
  if (const auto seconds = card.Read(VSL(first_use_ts))) {
    adapter.m_FirstUseMs = *seconds * 1000;
    TRACE(TRACE_RESULT, "ScanSystem, vsl_has_first_use_ts = %d", adapter.m_FirstUseMs);
  }
  if (const auto seconds = card.Read(VSL(origin_ts))) {
    adapter.m_OriginMs = *seconds * 1000;
    TRACE(TRACE_RESULT, "ScanSystem, vsl_has_origin_ts = %d", adapter.m_OriginMs);
  }
  if (const auto percent = card.Read(VSL(reserve_warning_threshold_percent))) {
    adapter.m_ReserveWarningPercent = Truncated(*percent);
    TRACE(TRACE_RESULT, "ScanSystem, vsl_has_reserve_warning_threshold_percent = %d",
          adapter.m_ReserveWarningPercent);
  }
}

}  // namespace

// Startup and shutdown.

unsigned int IPLUGINAPI_IMPL::Initialize(std::vector<PI::CAdapterID>& adapterIDs) {
  if (!InitializeLocksAndEvents()) return PI::ERR_LOCK_INITIALIZATION_FAILED;
  if (!HasSupportedCard()) {
    PrintAdapterCount(0);
    TRACE(TRACE_ENTRY, "LEAVE Initialize() -> PI::ERR_NO_SUPPORTED_HARDWARE");
    return PI::ERR_NO_SUPPORTED_HARDWARE;
  }
  if (!StartCardLibrary()) {
    m_AdapterCount = 0;
    PrintAdapterCount(0);
    TRACE(TRACE_ENTRY, "LEAVE Initialize() -> PI::ERR_API_INITIALIZATION_FAILED");
    return PI::ERR_API_INITIALIZATION_FAILED;
  }
  FindControlDevices();
  if (m_AdapterCount == 0) {
    PrintAdapterCount(0);
    vsl_fini();
    return PI::ERR_NO_SUPPORTED_HARDWARE;
  }
  TRACED_GUARD(m_DataLock);
  const unsigned int result = FirstScan(adapterIDs);
  PrintAdapterCount(m_Adapters.size());
  TRACE(TRACE_ENTRY, "LEAVE Initialize() -> %d", result);
  return result;
}

bool IPLUGINAPI_IMPL::InitializeLocksAndEvents() {
  return CheckInitialized("m_DataLock", m_DataLock.Init()) &&
         CheckInitialized("m_PrivateEventsLock", m_EventsLock.Init()) &&
         CheckInitialized("m_ForceWorker", m_ForceWorker.Init(false, false)) &&
         CheckInitialized("m_StopRequest", m_StopRequest.Init(false, true)) &&
         CheckInitialized("m_PrivateEvent", m_PrivateEvent.Init(false, false));
}

// Initializes the library twice: the first call may only wake up a card, and the second call then
// finds it.
bool IPLUGINAPI_IMPL::StartCardLibrary() {
  TRACE_AS("Initialize");
  ErrorRecord error;
  CardCode code = vsl_init(0, error);
  for (unsigned int retry = 0; code == kLibraryNotReady && retry < kVslInitRetries; ++retry) {
    Sleep(1000);
    code = vsl_init(0, error);
  }
  if (code == 0) {
    vsl_fini();
    Sleep(1000);
    code = vsl_init(0, error);
  }
  if (code != 0) TRACE(TRACE_RESULT, "Initialize, vsl_init = %d (%s)", code, error.Text());
  return code == 0;
}

void IPLUGINAPI_IMPL::FindControlDevices() {
  ErrorRecord error;
  CardRef iom;  // owned by the library, which replaces it at each step
  while (NextCard(iom, error)) {
    const CardReader card(iom, error);
    if (!card.Has(VSL(serial_number))) continue;
    const auto path = card.Read(VSL(device_path));
    if (path) m_ControlDevicePaths.push_back({m_AdapterCount++, *path});
  }
}

unsigned int IPLUGINAPI_IMPL::FirstScan(std::vector<PI::CAdapterID>& adapterIDs) {
  TRACE_AS("Initialize");
  m_Plugin.m_ID = NewID();
  m_Plugin.m_ObjectType = PI::OBJECT_PLUGIN;
  const unsigned int scanned = ScanSystem(m_Adapters, m_PhysicalDrives, true);
  TRACE(TRACE_RESULT, "ScanSystem() ret = %d m_PhysicalDrives=%d", scanned,
        m_PhysicalDrives.size());
  if (scanned != PI::SUCCESS || m_Adapters.empty()) {
    DeleteObjectFromDatabase(m_Plugin);
    m_Adapters.clear();
    m_PhysicalDrives.clear();
    ++m_Plugin.m_ChangeCount;
    m_AdapterCount = 0;
    vsl_fini();
    return PI::ERR_NO_SUPPORTED_HARDWARE;
  }
  const AdaptersBySerialNumber adapters(m_Adapters);
  for (CFusionIOAdapter& adapter : m_Adapters) {
    adapterIDs.push_back(AdapterIDOf(adapter));
    LinkToPlugin(adapter);
    InsertObjectToDatabase(adapter);
    for (CFusionIOPhysicalDrive& drive : m_PhysicalDrives) {
      if (drive.m_SerialNumber == adapter.m_SerialNumber) InsertObjectToDatabase(drive, adapters);
    }
  }
  InsertObjectToDatabase(m_Plugin);
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::SetAdapterIDs(const std::vector<PI::CAdapterID>& adapterIDs) {
  m_AdapterIDs.insert(m_AdapterIDs.end(), adapterIDs.begin(), adapterIDs.end());
  AddGlobalNumbers(adapterIDs, m_GlobalNumbers);
  NameAdapters();
  using Work = MBX::Delegates_and_Calls::TDelegateR0<IPLUGINAPI_IMPL, unsigned int>;
  // If the host calls this again, the earlier worker keeps running, so keep its thread object.
  m_EarlierWorkers.push_back(std::move(m_pWorkerThread));
  m_pWorkerThread = std::make_unique<MBX::Threading::CThread>();
  m_pWorkerThread->Create(Work(this, &IPLUGINAPI_IMPL::Worker), false);
  return PI::SUCCESS;
}

void IPLUGINAPI_IMPL::NameAdapters() {
  for (CFusionIOAdapter& adapter : m_Adapters) SetAdapterName(m_GlobalNumbers, adapter);
}

unsigned int IPLUGINAPI_IMPL::DeInitialize() {
  TRACE(TRACE_ENTRY, "ENTER DeInitialize");
  m_StopRequest.Set();
  Sleep(100);
  const unsigned long begin = MBX::Misc::now();
  while (AnyThreadIsRunning()) {
    if (MBX::Misc::now() - begin > kStopLimitMs) {
      CancelWorker();
      break;
    }
    Sleep(500);
  }
  Sleep(100);
  if (m_AdapterCount != 0) vsl_fini();
  TRACE(TRACE_ENTRY, "LEAVE DeInitialize");
  return PI::SUCCESS;
}

bool IPLUGINAPI_IMPL::AnyThreadIsRunning() const {
  TRACE_AS("DeInitialize");
  bool any = false;
  for (const NamedThread& thread : Threads()) {
    if (!IsRunning(*thread.m_pThread)) continue;
    TRACE(TRACE_RESULT, "Wait for termination... (%s)", thread.m_Name);
    any = true;
  }
  return any;
}

// Called when any thread is still running after the limit. Traces every such thread, but cancels
// only the worker: a job is never interrupted while its card is being attached or detached.
void IPLUGINAPI_IMPL::CancelWorker() {
  TRACE_AS("DeInitialize");
  for (const NamedThread& thread : Threads()) {
    if (!IsRunning(*thread.m_pThread)) continue;
    TRACE(TRACE_RESULT, "Kill %s", thread.m_Name);
    if (m_pWorkerThread != nullptr) m_pWorkerThread->Cancel();
  }
}

std::array<IPLUGINAPI_IMPL::NamedThread, 3> IPLUGINAPI_IMPL::Threads() const {
  return {
      {{"Worker", &m_pWorkerThread}, {"Attach", &m_pAttachThread}, {"Detach", &m_pDetachThread}}};
}

bool IPLUGINAPI_IMPL::IsRunning(const ThreadSlot& thread) {
  return thread != nullptr && thread->GetHandle() != 0 && thread->Wait(0) == kWaitTimedOut;
}

// Objects.

unsigned long IPLUGINAPI_IMPL::NewID() {
  constexpr unsigned long kModuleBits = static_cast<unsigned long>(kModuleNumber) << 48U;
  return m_NextID++ | kModuleBits;
}

void IPLUGINAPI_IMPL::LinkToPlugin(CFusionIOAdapter& adapter) {
  adapter.m_Parents.assign(1, m_Plugin.m_ID);
  m_Plugin.m_Children.push_back(adapter.m_ID);
}

unsigned int IPLUGINAPI_IMPL::LockObjects(int adapter, int drive) {
  if (adapter < 0) {
    MarkAll(true);
    return PI::SUCCESS;
  }
  for (CFusionIOPhysicalDrive& candidate : m_PhysicalDrives) {
    if (candidate.m_CardIndex != static_cast<std::uint32_t>(adapter)) continue;
    candidate.m_Locked = true;
    if (drive >= 0) break;
  }
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::UnlockObjects() {
  MarkAll(false);
  return PI::SUCCESS;
}

void IPLUGINAPI_IMPL::MarkAll(bool locked) {
  m_Plugin.m_Locked = locked;
  for (CFusionIOAdapter& adapter : m_Adapters) adapter.m_Locked = locked;
  for (CFusionIOPhysicalDrive& drive : m_PhysicalDrives) drive.m_Locked = locked;
}

// The worker.

unsigned int IPLUGINAPI_IMPL::Worker() {
  NameThread("corvane-worker");
  TRACE(TRACE_ENTRY, "ENTER Worker()");
  MBX::Threading::CWaitInterval interval(QuickPollIntervalMs(m_PollInterval));
  MBX::Threading::CWaiter waiter;
  waiter.Add(m_ForceWorker);
  waiter.Add(m_StopRequest);
  waiter.Add(m_PrivateEvent);
  PollState state;
  for (;;) {
    const unsigned int signaled = waiter.Wait(interval, false);
    if (signaled == kPrivateEvent) {
      TRACE(TRACE_FLOW, "Worker() m_PrivateEvent event received");
      UnlockObjects();
      m_HostNotify(this);
    } else if (signaled == kWaitTimedOut) {
      TRACE(TRACE_FLOW, "Worker() timeout event received");
      state.m_ScanDue |= state.AgeMs() > ScanIntervalMs(m_PollInterval);
      Poll(state);
    } else if (signaled == kForceWorker) {
      TRACE(TRACE_FLOW, "Worker() m_ForceWorker event received, force scan");
      state.m_ScanDue = true;
      Poll(state);
    } else {
      break;
    }
    TRACE(TRACE_ENTRY, "Worker() before restart interval");
    interval.Restart(QuickPollIntervalMs(m_PollInterval));
  }
  TRACE(TRACE_FLOW, "Worker() something else perhaps m_StopRequest");
  TRACE(TRACE_ENTRY, "LEAVE Worker()");
  return 1;
}

void IPLUGINAPI_IMPL::Poll(PollState& state) {
  TRACE_AS("Worker");
  TRACED_WAIT(m_DataLock, dataLocked, "Release ()");
  if (!dataLocked) return;
  if (!state.m_ScanDue && !AnyCardHasChanged()) {
    TRACED_RELEASE(m_DataLock);
    return;
  }
  TRACED_WAIT(m_EventsLock, eventsLocked, "Release ()");
  if (!eventsLocked) {
    TRACED_RELEASE(m_DataLock);
    state.m_ScanDue = true;
    return;
  }
  const unsigned int result = Rescan(state);
  const bool hasEvents = !m_Events.empty();
  TRACED_RELEASE(m_EventsLock);
  const bool notify = hasEvents || result == PI::SUCCESS;
  if (notify) UnlockObjects();
  TRACED_RELEASE(m_DataLock);
  if (notify) m_HostNotify(this);
  state.m_ScanDue = false;
}

// The quick poll. Reads only values that can change without a command, and stores nothing.
bool IPLUGINAPI_IMPL::AnyCardHasChanged() {
  bool changed = false;
  const std::size_t count = std::min<std::size_t>(m_AdapterCount, m_Adapters.size());
  for (std::size_t index = 0; index < count; ++index) changed |= HasChanged(m_Adapters[index]);
  return changed;
}

bool IPLUGINAPI_IMPL::HasChanged(const CFusionIOAdapter& adapter) {
  TRACE_AS("Worker");
  ErrorRecord error;
  CardHandle iom(error);
  CardCode code = CreateHandle(adapter.m_DevicePath, iom, error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "Worker, vsl_iom_create_by_name = %d (%s)", code, error.Text());
    return false;
  }
  code = iom.Open(error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "Worker, vsl_open = %d (%s)", code, error.Text());
    iom.Destroy();
    return false;
  }
  unsigned long errors = adapter.m_ErrorFlags;
  unsigned long warnings = adapter.m_WarningFlags;
  unsigned long info = adapter.m_InfoFlags;
  GetStatusFlags(iom.Raw(), errors, warnings, info);
  const auto read = CardReader(iom, error).Read(VSL(iom_state));
  const std::uint32_t state = read ? CorrectedState(*read, &adapter.m_DevicePath) : 0;
  iom.Close(error);
  iom.Destroy();
  return errors != adapter.m_ErrorFlags || warnings != adapter.m_WarningFlags ||
         info != adapter.m_InfoFlags || state != adapter.m_IomState;
}

unsigned int IPLUGINAPI_IMPL::GetStatusFlags(void*& iom, unsigned long& errors,
                                             unsigned long& warnings, unsigned long& info) {
  ErrorRecord error;
  ReadStatusFlags(CardReader(CardRef(iom), error), errors, warnings, info);
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::Rescan(PollState& state) {
  TRACE_AS("Worker");
  m_Plugin.m_Children.clear();
  m_Plugin.m_Parents.clear();
  std::vector<CFusionIOAdapter> adapters;
  std::vector<CFusionIOPhysicalDrive> drives;
  TRACE(TRACE_RESULT, "Before ScanSystem()");
  unsigned int result = ScanSystem(adapters, drives, false);
  TRACE(TRACE_RESULT, "After ScanSystem() ret = %d", result);
  state.m_LastScan = MBX::Misc::now();
  if (result == PI::SUCCESS) {
    TRACE(TRACE_RESULT, "Before UpdateSystem()");
    result = UpdateSystem(adapters, drives);
    TRACE(TRACE_RESULT, "After UpdateSystem() ret = %d", result);
    m_Plugin.m_Children.clear();
    for (CFusionIOAdapter& adapter : m_Adapters) {
      LinkToPlugin(adapter);
      ++adapter.m_ChangeCount;
    }
  }
  ++m_Plugin.m_ChangeCount;
  TRACE(TRACE_FLOW, "Worker() after bscan");
  return result;
}

// Scanning.

unsigned int IPLUGINAPI_IMPL::ScanSystem(std::vector<CFusionIOAdapter>& adapters,
                                         std::vector<CFusionIOPhysicalDrive>& drives,
                                         bool initial) {
  TRACE(TRACE_ENTRY, "ENTER ScanSystem(%d) PhyDrive=%d", initial, drives.size());
  adapters.clear();
  drives.clear();
  if (!initial) {
    adapters.reserve(m_AdapterCount);
    drives.reserve(m_AdapterCount);
  }
  for (std::size_t index = 0; index < m_AdapterCount; ++index) {
    if (!ScanCard(index, initial, adapters, drives)) return PI::ERR_COMMAND_ERROR;
  }
  const unsigned int result = PI::SUCCESS;
  TRACE(TRACE_ENTRY, "LEAVE ScanSystem() -> %d", result);
  return result;
}

bool IPLUGINAPI_IMPL::ScanCard(std::size_t index, bool initial,
                               std::vector<CFusionIOAdapter>& adapters,
                               std::vector<CFusionIOPhysicalDrive>& drives) {
  TRACE_AS("ScanSystem");
  const std::string& path = m_ControlDevicePaths[index].m_DevicePath;
  ErrorRecord error;
  CardHandle iom(error);
  CardCode code = CreateHandle(path, iom, error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "ScanSystem, vsl_iom_create_by_name = %d (%s)", code, error.Text());
    return true;
  }

  CFusionIOAdapter adapter;
  CFusionIOPhysicalDrive drive;
  adapter.m_CardIndex = static_cast<std::uint32_t>(index);
  adapter.m_DevicePath = path;
  drive.m_DevicePath = path;
  IdentifyAdapter(adapter, initial);
  code = iom.Open(error);
  if (code != 0) {
    TRACE(TRACE_RESULT, "ScanSystem, vsl_open = %d (%s)", code, error.Text());
    iom.Destroy();
    return false;
  }
  ScanAdapter(iom, adapter, drive, initial);
  ScanDrive(iom, adapter, drive);
  IdentifyDrive(drive, initial);
  iom.Close(error);
  iom.Destroy();

  const bool usable = adapter.m_Status == Value::OK || adapter.m_Status == Value::WARNING;
  drive.m_State = usable ? Value::AVAILABLE : Value::FAILED;
  adapter.m_Children.push_back(drive.m_ID);
  drive.m_Parents.push_back(adapter.m_ID);
  adapters.push_back(std::move(adapter));
  drives.push_back(std::move(drive));
  return true;
}

// The id belongs to the position in the list of control devices, regardless of the card found
// there.
void IPLUGINAPI_IMPL::IdentifyAdapter(CFusionIOAdapter& adapter, bool initial) {
  const CFusionIOAdapter* known =
      initial ? nullptr : FindByCardIndex(m_Adapters, adapter.m_CardIndex);
  if (known == nullptr) {
    adapter.m_ID = NewID();
    return;
  }
  adapter.m_ID = known->m_ID;
  adapter.m_ChangeCount = known->m_ChangeCount;
  adapter.m_ErrorFlags = known->m_ErrorFlags;
  adapter.m_WarningFlags = known->m_WarningFlags;
  adapter.m_InfoFlags = known->m_InfoFlags;
}

// The order of the reads is fixed.
void IPLUGINAPI_IMPL::ScanAdapter(CardHandle& iom, CFusionIOAdapter& adapter,
                                  CFusionIOPhysicalDrive& drive, bool initial) {
  ErrorRecord error;
  const CardReader card(iom, error);
  ReadPciAddress(card, adapter);
  ReadFamily(card, PciDeviceId(iom, error), adapter);
  SetGlobalNumber(adapter, drive);
  SetLocations(adapter, drive);
  card.ReadInto(adapter.m_PciSlot, VSL(pci_slot_num));
  adapter.m_HasBeacon = card.Has(VSL(beacon_state));
  // At startup, turn off a locate LED that an earlier run left on.
  if (adapter.m_HasBeacon && initial) SetLocateLED(iom, false, error);
  card.ReadInto(adapter.m_SerialNumber, VSL(serial_number));
  drive.m_SerialNumber = adapter.m_SerialNumber;
  ReadFirmwareVersion(card, adapter);
  ReadPower(card, iom, adapter);
  card.ReadInto(adapter.m_TempWarnDegC, VSL(temp_internal_warn_deg_c));
  card.ReadInto(adapter.m_TempSetpointDegC, VSL(temp_setpoint_high_deg_c));
  card.ReadInto(adapter.m_DriverVersion, VSL(driver_version));
  card.ReadInto(adapter.m_Temperature, VSL(temp_internal_deg_c));
  GetStatusFlags(iom.Raw(), adapter.m_ErrorFlags, adapter.m_WarningFlags, adapter.m_InfoFlags);
  if (initial) FillHistories(adapter);
  SetStatus(adapter);
  ScanCardState(card, adapter);
  ReadWriteThrottling(card, adapter);
  SetAdapterName(m_GlobalNumbers, adapter);
  if (const auto bytes = card.Read(VSL(factory_size_bytes))) adapter.m_FactorySizeMiB = MiB(*bytes);
  ReadLifetimeAttributes(card, adapter);
}

void IPLUGINAPI_IMPL::ScanCardState(const CardReader& card, CFusionIOAdapter& adapter) {
  adapter.m_MinimalModeReason = 0;
  adapter.m_IomState = 0;
  const auto read = card.Read(VSL(iom_state));
  if (!read) {
    adapter.m_Status = Value::FAILED;
    return;
  }
  // The card index is used as a position in `m_Adapters`; after a card has been removed, the path
  // found may be that of another card.
  const std::size_t index = adapter.m_CardIndex;
  const std::string* path = index < m_Adapters.size() ? &m_Adapters[index].m_DevicePath : nullptr;
  adapter.m_IomState = CorrectedState(*read, path);

  const CardState& state = StateOf(adapter.m_IomState);
  if (state.m_Effect == StatusEffect::Fail) adapter.m_Status = Value::FAILED;
  if (state.m_Effect == StatusEffect::Degrade && adapter.m_Status != Value::FAILED) {
    adapter.m_Status = Value::WARNING;
  }
  if (state.m_Activity != 0) adapter.m_Activity = static_cast<std::uint32_t>(state.m_Activity);
  if (state.m_Reason != kNoReason) adapter.m_StatusReasons.push_back(state.m_Reason);
  if (adapter.m_IomState == kStateMinimal) ReadMinimalMode(card, adapter);
}

std::uint32_t IPLUGINAPI_IMPL::CorrectedState(std::uint32_t iomState,
                                              const std::string* devicePath) const {
  if (devicePath == nullptr) return iomState;
  if (iomState == kStateAttached && IsRunning(m_pAttachThread) && m_AttachDevice == *devicePath) {
    return kStateAttaching;
  }
  if (iomState == kStateDetached && IsRunning(m_pDetachThread) && m_DetachDevice == *devicePath) {
    return kStateDetaching;
  }
  return iomState;
}

void IPLUGINAPI_IMPL::ScanDrive(CardRef iom, const CFusionIOAdapter& adapter,
                                CFusionIOPhysicalDrive& drive) {
  TRACE_AS("ScanSystem");
  ErrorRecord error;
  const CardReader card(iom, error);
  card.ReadInto(drive.m_SectorSize, VSL(sector_size_bytes));
  drive.m_FactorySizeMiB = adapter.m_FactorySizeMiB;
  if (const auto bytes = card.Read(VSL(size_bytes))) drive.m_ConfigurableSizeMiB = MiB(*bytes);
  FormatHandle format(error);
  const CardCode code = CreateHandle(iom, format, error);
  if (code == 0) {
    ReadFormatLimits(format, error, drive);
    format.Destroy();
  } else {
    TRACE(TRACE_RESULT, "ScanSystem, vsl_iom_format_create = %d (%s)", code, error.Text());
  }
  drive.m_Vendor = adapter.m_Vendor;
  drive.m_CardIndex = adapter.m_CardIndex;
  drive.m_Product = card.Read(VSL(product_name)).value_or(adapter.m_BoardName);
  drive.m_Name = DriveName(adapter, drive);
}

void IPLUGINAPI_IMPL::IdentifyDrive(CFusionIOPhysicalDrive& drive, bool initial) {
  if (initial) {
    drive.m_ID = NewID();
    return;
  }
  const CFusionIOPhysicalDrive* known = FindByCardIndex(m_PhysicalDrives, drive.m_CardIndex);
  if (known == nullptr) {
    drive.m_ID = NewID();
    TRACE_AS("ScanSystem");
    TRACE(TRACE_ENTRY, "The drive is not found yet!");
    return;
  }
  drive.m_ID = known->m_ID;
  drive.m_ChangeCount = known->m_ChangeCount;
}

// Storing changes.

unsigned int IPLUGINAPI_IMPL::UpdateSystem(std::vector<CFusionIOAdapter>& adapters,
                                           std::vector<CFusionIOPhysicalDrive>& drives) {
  TRACE(TRACE_ENTRY, "ENTER UpdateSystem for %d adapter, %d physicalDrives", adapters.size(),
        drives.size());
  SystemDifference difference =
      Compare(m_Adapters, m_PhysicalDrives, adapters, drives, MBX::Misc::now());
  Store(difference, adapters, drives);
  Announce(difference);
  const unsigned int result = difference.Any() ? PI::SUCCESS : PI::ERR_GENERAL;
  TRACE(TRACE_ENTRY, "LEAVE UpdateSystem ret = %d", result);
  return result;
}

void IPLUGINAPI_IMPL::Store(const SystemDifference& difference,
                            std::vector<CFusionIOAdapter>& adapters,
                            std::vector<CFusionIOPhysicalDrive>& drives) {
  for (const AdapterChange& change : difference.m_ChangedAdapters) {
    const std::uint32_t card = change.m_Before.m_CardIndex;
    CopyHistories(change.m_Before, *FindByCardIndex(m_Adapters, card));
    *FindByCardIndex(adapters, card) = change.m_After;
  }
  m_Plugin.m_ChangeCount += difference.m_AddedAdapters.size() + difference.m_RemovedAdapters.size();
  m_Plugin.m_Children.clear();
  for (CFusionIOAdapter& adapter : adapters) LinkToPlugin(adapter);
  // A vector assignment assigns existing elements, so the flag histories remain in place. Moving
  // the whole vector would move the histories too.
  m_Adapters.assign(std::make_move_iterator(adapters.begin()),
                    std::make_move_iterator(adapters.end()));
  m_PhysicalDrives.assign(std::make_move_iterator(drives.begin()),
                          std::make_move_iterator(drives.end()));
}

// A failure to write a row is only traced. An adapter's row is written again when the adapter next
// changes, a drive's row at the next scan; a row that could not be inserted remains missing.
void IPLUGINAPI_IMPL::Announce(SystemDifference& difference) {
  if (!difference.m_Events.empty()) QueueEvents("UpdateSystem", difference.m_Events);
  for (CFusionIOAdapter& adapter : difference.m_AddedAdapters) InsertObjectToDatabase(adapter);
  // Writes the record from before this scan to the row of a changed adapter.
  for (AdapterChange& change : difference.m_ChangedAdapters) {
    UpdateObjectInDatabase(change.m_Before);
  }
  for (CFusionIOAdapter& adapter : difference.m_RemovedAdapters) DeleteObjectFromDatabase(adapter);
  const AdaptersBySerialNumber adapters(m_Adapters);
  for (CFusionIOPhysicalDrive& drive : difference.m_AddedDrives) {
    InsertObjectToDatabase(drive, adapters);
  }
  for (CFusionIOPhysicalDrive& drive : m_PhysicalDrives) UpdateObjectInDatabase(drive, adapters);
  UpdateObjectInDatabase(m_Plugin);
}

void IPLUGINAPI_IMPL::QueueEvents(const char* function, const std::vector<PI::CEvent>& events) {
  TRACE_AS(function);
  TRACED_GUARD(m_EventsLock);
  m_Events.insert(m_Events.end(), events.begin(), events.end());
}

// Jobs.

struct IPLUGINAPI_IMPL::CardJob {
  const char* m_Name;  // in the text and the function column of trace lines
  std::string IPLUGINAPI_IMPL::*m_Device;
  const char* m_CreateName;
  CreateJob m_Create;
  bool m_Forced;
  PI::_EVENT_ID m_FailureEvent;
  PI::_SEVERITY m_FailureSeverity;
};

unsigned int IPLUGINAPI_IMPL::Attach(const std::string& device) {
  NameThread("corvane-attach");
  return RunJob({"Attach", &IPLUGINAPI_IMPL::m_AttachDevice, "vsl_iom_attach_create",
                 vsl_iom_attach_create, false, PI::Event::CTRL_ATTACH_FAILED, PI::SEVERITY_ERROR},
                device);
}

// A failure is only a warning, because a card in use rejects a detach that is not forced.
unsigned int IPLUGINAPI_IMPL::Detach(const std::string& device) {
  NameThread("corvane-detach");
  return RunJob({"Detach", &IPLUGINAPI_IMPL::m_DetachDevice, "vsl_iom_detach_create",
                 vsl_iom_detach_create, false, PI::Event::CTRL_DETACH_FAILED, PI::SEVERITY_WARNING},
                device);
}

unsigned int IPLUGINAPI_IMPL::ForceDetach(const std::string& device) {
  NameThread("corvane-detach");
  return RunJob({"ForceDetach", &IPLUGINAPI_IMPL::m_DetachDevice, "vsl_iom_detach_create",
                 vsl_iom_detach_create, true, PI::Event::CTRL_DETACH_FAILED, PI::SEVERITY_ERROR},
                device);
}

unsigned int IPLUGINAPI_IMPL::RunJob(const CardJob& job, const std::string& device) {
  TRACE_AS(job.m_Name);
  TRACE(TRACE_ENTRY, "ENTER %s(%s)", job.m_Name, device);
  SetDevice(this->*job.m_Device, device);
  const PI::CEvent failure = GetFailureEvent(job, device);
  StartAndWait(job, device, failure);
  SetDevice(this->*job.m_Device, "");
  TRACE(TRACE_ENTRY, "LEAVE %s()", job.m_Name);
  return 1;
}

// The thread sanitizer's suppression names this function. It calls `WriteDevice` because the
// standard library's assignment is not instrumented: a recorded stack starts at the caller of the
// function that contains the assignment.
[[gnu::noinline]] void IPLUGINAPI_IMPL::SetDevice(std::string& slot, const std::string& device) {
  WriteDevice(slot, device);
}

// The string has enough capacity for any path, so it is not reallocated.
[[gnu::noinline]] void IPLUGINAPI_IMPL::WriteDevice(std::string& slot, const std::string& device) {
  slot.assign(device);
}

// Called before the job starts, because the adapter may be removed while it runs.
PI::CEvent IPLUGINAPI_IMPL::GetFailureEvent(const CardJob& job, const std::string& device) {
  TRACE_AS(job.m_Name);
  TRACED_WAIT(m_DataLock, locked, "Release ()");
  static_cast<void>(locked);
  const PI::CEvent event = FailureEventLocked(job, device);
  TRACED_RELEASE(m_DataLock);
  return event;
}

PI::CEvent IPLUGINAPI_IMPL::FailureEventLocked(const CardJob& job, const std::string& device) {
  const auto adapter =
      std::find_if(m_Adapters.begin(), m_Adapters.end(),
                   [&device](const CFusionIOAdapter& each) { return each.m_DevicePath == device; });
  if (adapter == m_Adapters.end()) return PI::CEvent();
  PI::CEvent event = EventFor(*adapter, MBX::Misc::now());
  event.m_EventID = job.m_FailureEvent;
  event.m_Severity = job.m_FailureSeverity;
  return event;
}

void IPLUGINAPI_IMPL::StartAndWait(const CardJob& job, const std::string& device,
                                   const PI::CEvent& failure) {
  ErrorRecord error;
  const auto check = [&](const char* function, CardCode code) {
    return CheckJobStep(job, function, code, error, failure);
  };
  CardHandle iom;
  if (!check("vsl_iom_create_by_name", CreateHandle(device, iom, error))) return;
  JobHandle operation;
  const bool isReady =
      check(job.m_CreateName, CreateHandle(iom, job.m_Create, operation, error)) &&
      (!job.m_Forced || check("vsl_iom_detach_set_force", SetForced(operation, error))) &&
      check("vsl_op_start", Start(operation, error));
  if (isReady) check("vsl_op_wait_for_result", WaitForResult(operation, error));
  operation.Destroy();
  iom.Destroy();
}

bool IPLUGINAPI_IMPL::CheckJobStep(const CardJob& job, const char* function, std::uint64_t code,
                                   const ErrorRecord& error, const PI::CEvent& failure) {
  if (code == 0) return true;
  TRACE_AS(job.m_Name);
  TRACE(TRACE_RESULT, "%s, %s = %d (%s)", job.m_Name, function, code, error.Text());
  QueueEvents(job.m_Name, {failure});
  return false;
}

// Topology.

unsigned int IPLUGINAPI_IMPL::GetTopology(std::vector<PI::CObject>& objects) {
  TRACE(TRACE_ENTRY, "ENTER GetTopology");
  TRACED_GUARD(m_DataLock);
  objects.clear();
  objects.reserve(m_PhysicalDrives.size() + m_Adapters.size() + 1);

  PI::CObject& plugin = objects.emplace_back(m_Plugin);
  GetPluginProperties(m_Plugin, plugin.m_Properties, Property::UNDEFINED);
  GetPluginOperations(m_Plugin, plugin.m_Operations);
  for (CFusionIOAdapter& adapter : m_Adapters) {
    PI::CObject& object = objects.emplace_back(adapter);
    GetAdapterProperties(adapter, object.m_Properties, Property::UNDEFINED);
    GetAdapterOperations(adapter, object.m_Operations);
    TRACE(TRACE_FLOW, "GetTopology() Adapter m_ID=0x%x", adapter.m_ID);
  }
  TRACE(TRACE_FLOW, "GetTopology() m_Adapters = %d", m_Adapters.size());
  for (CFusionIOPhysicalDrive& drive : m_PhysicalDrives) {
    PI::CObject& object = objects.emplace_back(drive);
    GetPhysicalDriveProperties(drive, object.m_Properties, Property::UNDEFINED);
    GetPhysicalDriveOperations(drive, object.m_Operations);
    TRACE(TRACE_FLOW, "GetTopology() PhysicalDrive m_ID=0x%x", drive.m_ID);
  }
  TRACE(TRACE_FLOW, "GetTopology() m_PhysicalDrives = %d", m_PhysicalDrives.size());
  TRACE(TRACE_ENTRY, "LEAVE GetTopology");
  return PI::SUCCESS;
}

// Plug-in object.

unsigned int IPLUGINAPI_IMPL::GetPluginProperties(CFusionIOPlugin&,
                                                  std::vector<PI::CProperty>& properties,
                                                  unsigned int propertyId) {
  properties.clear();
  AppendProperties(kPluginProperties, m_PollInterval, propertyId, properties);
  return PI::SUCCESS;
}

// Clamps the value to the limits in the request, which the host copies from the property.
unsigned int IPLUGINAPI_IMPL::SetPluginProperty(CFusionIOPlugin&, PI::CProperty& property) {
  if (property.m_PropertyID != Property::POLL_INTERVAL) return PI::ERR_INVALID_PROPERTY;
  int value = 0;
  int minimum = 0;
  int maximum = 0;
  unsigned int step = 0;
  property.GetValue(value, minimum, maximum, step);
  value = std::min(std::max(value, minimum), maximum);
  ++m_Plugin.m_ChangeCount;
  m_PollInterval = static_cast<std::uint32_t>(value);
  const std::string text = Joined(value);
  const unsigned int written = m_ConfigFile.WriteKeyValue("PollInterval", text, -1, -1);
  m_PrivateEvent.Set();
  return written;
}

unsigned int IPLUGINAPI_IMPL::GetPluginOperations(CFusionIOPlugin&,
                                                  std::vector<PI::COperation>& operations) {
  operations.clear();
  for (const OperationRow& row : kPluginOperations) AppendOperation(row, operations);
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::CheckPluginOperation(CFusionIOPlugin&, PI::COperation&) {
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::ExecutePluginOperation(CFusionIOPlugin& plugin,
                                                     PI::COperation& operation) {
  TRACE(TRACE_ENTRY, "ENTER ExecutePluginOperation()");
  const unsigned int result = operation.m_OperationID == PI::OP_GET_EVENTS
                                  ? GetEvents(plugin, operation)
                                  : PI::ERR_INVALID_OPERATION;
  TRACE(TRACE_ENTRY, "LEAVE ExecutePluginOperation() -> %d", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::GetEvents(CFusionIOPlugin&, PI::COperation& operation) {
  TRACE(TRACE_ENTRY, "ENTER GetEvents()");
  operation.m_Events.clear();
  TRACED_WAIT(m_EventsLock, locked, "Release()");
  if (!locked) return PI::SUCCESS;
  operation.m_Events.swap(m_Events);
  TRACED_RELEASE(m_EventsLock);
  const unsigned int result = PI::SUCCESS;
  TRACE(TRACE_ENTRY, "LEAVE GetEvents() -> %d", result);
  return result;
}

unsigned int IPLUGINAPI_IMPL::SetDatabaseObjectProperties(RaidDataModels::Plugin& row,
                                                          CFusionIOPlugin& plugin) {
  row = RaidDataModels::Plugin();
  row.objectId = plugin.m_ID;
  row.moduleId = UniqueIDText();
  row.pluginName = kPluginName;
  row.pluginVersion = kPluginVersion;
  row.vendor = kPluginVendor;
  row.apiVersion = kVendorApiVersion;
  row.pollInterval = static_cast<int>(m_PollInterval);
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::InsertObjectToDatabase(CFusionIOPlugin& plugin) {
  TRACE_AS(__func__);
  return RunRowStatements(
      m_Database.get(),
      [&]() CORVANE_REQUIRES(m_DataLock) {
        RaidDataModels::Plugin row;
        SetDatabaseObjectProperties(row, plugin);
        m_Database->insert(row);
        TRACE(TRACE_DATABASE, "Plugin FusionIO inserted to db.");
      },
      [&](const char* why) { TRACE(TRACE_DATABASE, "Plugin FusionIO inserted to db. (%s)", why); });
}

// The row of the plug-in never changes after it has been inserted.
unsigned int IPLUGINAPI_IMPL::UpdateObjectInDatabase(CFusionIOPlugin&) {
  return PI::SUCCESS;
}

unsigned int IPLUGINAPI_IMPL::DeleteObjectFromDatabase(CFusionIOPlugin&) {
  TRACE_AS(__func__);
  return RunRowStatements(
      m_Database.get(),
      [&]() CORVANE_REQUIRES(m_DataLock) {
        using DatabaseORM::is_equal;
        m_Database->remove_all<RaidDataModels::Plugin>(
            DatabaseORM::where(is_equal(&RaidDataModels::Plugin::pluginName, kPluginName)));
        TRACE(TRACE_DATABASE, "Plugin SanDisk removed from db.");
      },
      [&](const char* why) {
        TRACE(TRACE_DATABASE,
              "Exception thrown during removing SanDisk plugin object from db. (%s)", why);
      });
}

}  // namespace NAMESPACE_Corvane
