// The plug-in: entry points and the class that implements the host's interface.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Corvane/Src/AdapterIDs.h"
#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/HostNumbers.h"
#include "Corvane/Src/PollInterval.h"
#include "Corvane/Src/ThreadSafety.h"
#include "host/Database.h"
#include "host/PluginInterface.h"
#include "host/Toolkit.h"
#include "models/Visibility.h"

namespace RaidDataModels {
struct Adapter;
struct PD;
struct Plugin;
}  // namespace RaidDataModels

extern "C" {

// Creates the plug-in and stores it in `*instance`. Returns 0; if there is not enough memory,
// stores null and returns ERR_MEMORY_ERROR. Reads the configuration; cards are not accessed until
// `CMD_INITIALIZE`.
CORVANE_API unsigned int createIf(IPLUGINAPI** instance);

// Destroys the plug-in in `*instance`, if any, and stores null. Send `CMD_DEINITIALIZE` first.
CORVANE_API void releaseIf(IPLUGINAPI** instance);
}

namespace NAMESPACE_Corvane {

class ErrorRecord;
namespace HandleKind {
struct Card;
}
template <class Kind>
class HandleRef;
class CardHandle;
class AdaptersBySerialNumber;
struct SystemDifference;
template <class Kind>
class AttributeReader;

// The state of the plug-in and the handlers of its commands. The host sends commands with
// `Execute`, on its own threads. It must send `CMD_INITIALIZE` first, because that makes the locks
// usable; this is not checked.
class IPLUGINAPI_IMPL : public IPLUGINAPI {
 public:
  IPLUGINAPI_IMPL();
  unsigned int Execute(PI::_COMMAND command, unsigned long objectId, void* payload) override;
  ~IPLUGINAPI_IMPL() override;

 private:
  // Commands. After a failure, a vector argument may be partially filled; `Execute` clears it.

  // Starts the card library, finds the cards and scans them. Appends one entry per adapter. Returns
  // 0, ERR_LOCK_INITIALIZATION_FAILED, ERR_NO_SUPPORTED_HARDWARE or ERR_API_INITIALIZATION_FAILED.
  unsigned int Initialize(std::vector<PI::CAdapterID>& adapterIDs);
  // Stores the adapter numbers that the host has assigned, names the adapters after them, and
  // starts the worker. Always returns 0.
  unsigned int SetAdapterIDs(const std::vector<PI::CAdapterID>& adapterIDs);
  // Stops the threads and the card library. If a thread is still running after 25 s, cancels the
  // worker. Always returns 0.
  unsigned int DeInitialize();
  // Returns the plug-in object, all adapters and all drives, with their properties and operations.
  // Always returns 0.
  unsigned int GetTopology(std::vector<PI::CObject>& objects);

  // Commands on one object. They return ERR_INVALID_OBJECT_ID if no object has the id.
  // `GetProperty` returns ERR_GENERAL, and leaves `property` unchanged, if the object does not show
  // the property.
  unsigned int GetProperties(unsigned long objectId, std::vector<PI::CProperty>& properties);
  unsigned int GetProperty(unsigned long objectId, PI::CProperty& property);
  unsigned int SetProperty(unsigned long objectId, PI::CProperty& property);
  unsigned int GetOperations(unsigned long objectId, std::vector<PI::COperation>& operations);
  unsigned int CheckOperation(unsigned long objectId, PI::COperation& operation);
  unsigned int ExecuteOperation(unsigned long objectId, PI::COperation& operation);

  // The functions that handle one command, by type of object.
  template <class... Arguments>
  struct Handlers {
    unsigned int (IPLUGINAPI_IMPL::*m_Plugin)(CFusionIOPlugin&, Arguments...);
    unsigned int (IPLUGINAPI_IMPL::*m_Adapter)(CFusionIOAdapter&, Arguments...);
    unsigned int (IPLUGINAPI_IMPL::*m_PhysicalDrive)(CFusionIOPhysicalDrive&, Arguments...);
  };
  // How a command traces the number of adapters and drives that it searches.
  struct CountTrace {
    const char* m_Function = nullptr;  // function name in these trace lines
    const char* m_Adapters = nullptr;  // format of the line; null: no line
    const char* m_PhysicalDrives = nullptr;
  };
  struct RouteResult {
    unsigned int m_Result;
    PI::CObject* m_pObject;  // null if no object has the id
  };
  // Finds the object and calls its handler. Returns ERR_INVALID_OBJECT_ID if no object has the id.
  template <class... Arguments>
  RouteResult Route(unsigned long objectId, const Handlers<Arguments...>& handlers,
                    const CountTrace& trace, Arguments... arguments) CORVANE_REQUIRES(m_DataLock);
  // Routes a command that reads properties: the one with the identifier `propertyId`, or all of
  // them for `PI::Property::UNDEFINED`.
  RouteResult RouteProperties(unsigned long objectId, const CountTrace& trace,
                              std::vector<PI::CProperty>& properties, unsigned int propertyId)
      CORVANE_REQUIRES(m_DataLock);

  // Commands on the plug-in object. Lists are replaced, not appended to. Setting the poll interval
  // returns 0, or the host's error number if the interval is used but could not be saved; setting
  // any other property returns ERR_INVALID_PROPERTY. Executing any operation except OP_GET_EVENTS
  // returns ERR_INVALID_OPERATION. Every check succeeds.
  unsigned int GetPluginProperties(CFusionIOPlugin& plugin, std::vector<PI::CProperty>& properties,
                                   unsigned int propertyId) CORVANE_REQUIRES(m_DataLock);
  unsigned int SetPluginProperty(CFusionIOPlugin& plugin, PI::CProperty& property)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int GetPluginOperations(CFusionIOPlugin& plugin, std::vector<PI::COperation>& operations)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int CheckPluginOperation(CFusionIOPlugin& plugin, PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int ExecutePluginOperation(CFusionIOPlugin& plugin, PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);
  // Moves all queued events to the operation; none if the lock cannot be acquired. Always returns
  // 0.
  unsigned int GetEvents(CFusionIOPlugin& plugin, PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);

  // Commands on an adapter. Lists are replaced, not appended to. Setting a property always returns
  // ERR_INVALID_PROPERTY. A check of attach or detach returns 0, ERR_ADAPTER_BUSY while a job of
  // the same kind is running, or ERR_GENERAL if the card is in the wrong state. A check of the
  // locate LED returns 0, ERR_LOCATE_IN_PROGRESS, ERR_NO_LOCATE_STARTED, or ERR_COMMAND_ERROR if
  // the card cannot be found. Checks of unknown operations succeed; executing them returns
  // ERR_INVALID_OPERATION. Attach and detach return 0 as soon as the job has been started.
  // Switching the locate LED returns ERR_COMMAND_ERROR if the card cannot be found or rejects the
  // command.
  unsigned int GetAdapterProperties(CFusionIOAdapter& adapter,
                                    std::vector<PI::CProperty>& properties, unsigned int propertyId)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int SetAdapterProperty(CFusionIOAdapter& adapter, PI::CProperty& property)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int GetAdapterOperations(CFusionIOAdapter& adapter,
                                    std::vector<PI::COperation>& operations)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int CheckAdapterOperation(CFusionIOAdapter& adapter, PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int ExecuteAdapterOperation(CFusionIOAdapter& adapter, PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);

  // Commands on a physical drive. Lists are replaced, not appended to. Setting a property always
  // returns ERR_INVALID_PROPERTY. A check returns ERR_PHYSICALDRIVE_NOT_AVAILABLE for a format of a
  // drive that is not available. A check of online or offline returns ERR_GENERAL if no storage
  // unit would change, or ERR_COMMAND_ERROR if the card cannot be found. A format blocks until the
  // card has been formatted. An operation returns ERR_COMMAND_ERROR if the card library rejects it,
  // and ERR_INVALID_OPERATION if it is unknown; checks of unknown operations succeed.
  unsigned int GetPhysicalDriveProperties(CFusionIOPhysicalDrive& drive,
                                          std::vector<PI::CProperty>& properties,
                                          unsigned int propertyId) CORVANE_REQUIRES(m_DataLock);
  unsigned int SetPhysicalDriveProperty(CFusionIOPhysicalDrive& drive, PI::CProperty& property)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int GetPhysicalDriveOperations(CFusionIOPhysicalDrive& drive,
                                          std::vector<PI::COperation>& operations)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int CheckPhysicalDriveOperation(CFusionIOPhysicalDrive& drive, PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int ExecutePhysicalDriveOperation(CFusionIOPhysicalDrive& drive,
                                             PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);

  // Steps of `Initialize`. The first two return whether they succeeded.
  bool InitializeLocksAndEvents();
  bool StartCardLibrary();
  void FindControlDevices();
  // Returns 0. If the scan fails or finds no card, removes all objects, stops the card library and
  // returns ERR_NO_SUPPORTED_HARDWARE.
  unsigned int FirstScan(std::vector<PI::CAdapterID>& adapterIDs) CORVANE_REQUIRES(m_DataLock);

  // A step of `SetAdapterIDs`. Safe without the lock because the host sends that command once,
  // before the worker runs. If the host sends it again, the first worker may read simultaneously.
  void NameAdapters() CORVANE_UNLOCKED;

  // Steps of `DeInitialize`.
  using ThreadSlot = std::unique_ptr<MBX::Threading::CThread>;
  struct NamedThread {
    const char* m_Name;
    const ThreadSlot* m_pThread;
  };
  // Does not acquire the lock, so that a thread that never releases it cannot block the stop.
  std::array<NamedThread, 3> Threads() const CORVANE_UNLOCKED;
  // Returns false if no thread was started in the slot.
  static bool IsRunning(const ThreadSlot& thread);
  bool AnyThreadIsRunning() const;
  void CancelWorker();

  // Jobs. Each runs on a separate thread, without holding a lock, until the card has finished.
  // A failed job queues one event, a successful one none. Always return 1.
  struct CardJob;
  unsigned int Attach(const std::string& device);
  unsigned int Detach(const std::string& device);
  unsigned int ForceDetach(const std::string& device);
  // Starts a job and replaces the thread in the slot, even if that thread is still running.
  void StartJob(ThreadSlot& slot, unsigned int (IPLUGINAPI_IMPL::*job)(const std::string&),
                const CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int RunJob(const CardJob& job, const std::string& device);
  // Write a job's device string without a lock. Separate functions that are never inlined, so that
  // the thread sanitizer's suppression list can name this write alone.
  static void SetDevice(std::string& slot, const std::string& device);
  static void WriteDevice(std::string& slot, const std::string& device);
  // Returns the event that is queued if the job fails. Excluded from the analysis because it
  // ignores the result of its wait for `m_DataLock`; the wait cannot time out.
  PI::CEvent GetFailureEvent(const CardJob& job, const std::string& device) CORVANE_UNLOCKED;
  // Returns the event for a failed job, or an empty event if no adapter has the device.
  PI::CEvent FailureEventLocked(const CardJob& job, const std::string& device)
      CORVANE_REQUIRES(m_DataLock);
  // Creates the job, starts it and waits for its result. Queues `failure` if a step fails.
  void StartAndWait(const CardJob& job, const std::string& device, const PI::CEvent& failure);
  // Returns whether `code` is 0. Otherwise traces it and queues `failure`.
  bool CheckJobStep(const CardJob& job, const char* function, std::uint64_t code,
                    const ErrorRecord& error, const PI::CEvent& failure);
  // Whether a job of the slot's kind is running, on any card.
  static bool IsBusy(const ThreadSlot& thread, const std::string& device) {
    return IsRunning(thread) && !device.empty();
  }

  // The worker thread. Polls the cards every third of the poll interval. Scans them once per poll
  // interval and whenever a quick poll detects a change. Notifies the host without holding a lock.
  // Runs until `m_StopRequest` is set. Always returns 1.
  unsigned int Worker();
  // State that the worker keeps between passes.
  struct PollState {
    unsigned long m_LastScan = MBX::Misc::now();
    bool m_ScanDue = false;

    unsigned long AgeMs() const { return MBX::Misc::now() - m_LastScan; }
  };
  // Runs one pass of the worker: a quick poll, or a full scan if one is due or the quick poll
  // detects a change. Acquires both locks for the scan, and releases them before it notifies the
  // host. If it cannot acquire the data lock, it skips the pass; if it cannot acquire the events
  // lock, it leaves the scan to the next pass.
  void Poll(PollState& state);
  // Whether the masks or the state of any card differ from its record. A card that cannot be found
  // or opened counts as unchanged.
  bool AnyCardHasChanged() CORVANE_REQUIRES(m_DataLock);
  bool HasChanged(const CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  // Scans all cards and calls `UpdateSystem` with the result. Returns 0 if anything has changed,
  // ERR_GENERAL if not, or the error of the scan. A failed scan leaves the records unchanged, but
  // the plug-in object without children.
  unsigned int Rescan(PollState& state) CORVANE_REQUIRES(m_DataLock, m_EventsLock);

  // Stores the records of a scan, queues events for the changes and writes the database rows.
  // Returns 0, or ERR_GENERAL if nothing has changed. Writes the debounced masks and the parent and
  // child ids to the scanned records.
  unsigned int UpdateSystem(std::vector<CFusionIOAdapter>& adapters,
                            std::vector<CFusionIOPhysicalDrive>& drives)
      CORVANE_REQUIRES(m_DataLock, m_EventsLock);
  // Replaces the stored records with the scanned ones. Each vector position keeps its mask history.
  void Store(const SystemDifference& difference, std::vector<CFusionIOAdapter>& adapters,
             std::vector<CFusionIOPhysicalDrive>& drives)
      CORVANE_REQUIRES(m_DataLock, m_EventsLock);
  // Queues the events of a difference after `Store`, and writes the database rows: those of the
  // adapters in the difference, and those of all drives.
  void Announce(SystemDifference& difference) CORVANE_REQUIRES(m_DataLock, m_EventsLock);
  // Acquires the events lock, which the caller may already hold, and appends `events` to
  // `m_Events`. Trace lines show `function`.
  void QueueEvents(const char* function, const std::vector<PI::CEvent>& events);

  // Replaces the contents of the vectors with one adapter and one drive per card in
  // `m_ControlDevicePaths`; omits cards that cannot be found. `initial` is true only at startup,
  // when no earlier records exist to copy ids from. Returns 0, or ERR_COMMAND_ERROR if a card
  // cannot be opened; the vectors then contain the cards before that one.
  unsigned int ScanSystem(std::vector<CFusionIOAdapter>& adapters,
                          std::vector<CFusionIOPhysicalDrive>& drives, bool initial)
      CORVANE_REQUIRES(m_DataLock);
  // Steps of the scan. `ScanCard` returns false if the card cannot be opened.
  bool ScanCard(std::size_t index, bool initial, std::vector<CFusionIOAdapter>& adapters,
                std::vector<CFusionIOPhysicalDrive>& drives) CORVANE_REQUIRES(m_DataLock);
  void IdentifyAdapter(CFusionIOAdapter& adapter, bool initial) CORVANE_REQUIRES(m_DataLock);
  void IdentifyDrive(CFusionIOPhysicalDrive& drive, bool initial) CORVANE_REQUIRES(m_DataLock);
  void ScanAdapter(CardHandle& iom, CFusionIOAdapter& adapter, CFusionIOPhysicalDrive& drive,
                   bool initial) CORVANE_REQUIRES(m_DataLock);
  void ScanCardState(const AttributeReader<HandleKind::Card>& card, CFusionIOAdapter& adapter)
      CORVANE_REQUIRES(m_DataLock);
  void ScanDrive(HandleRef<HandleKind::Card> iom, const CFusionIOAdapter& adapter,
                 CFusionIOPhysicalDrive& drive) CORVANE_REQUIRES(m_DataLock);
  // Returns `iomState`, with two exceptions: attaching instead of attached while an attach job is
  // running on `devicePath`, and detaching instead of detached while a detach job is. `devicePath`
  // may be null.
  std::uint32_t CorrectedState(std::uint32_t iomState, const std::string* devicePath) const
      CORVANE_REQUIRES(m_DataLock);

  // Reads the status masks of an open card, ignoring transient values: if the five samples of a
  // mask differ, the caller's value is left unchanged. Always returns 0.
  unsigned int GetStatusFlags(void*& iom, unsigned long& errors, unsigned long& warnings,
                              unsigned long& info);

  // Insert, update and delete the rows of objects in the host's database. Return 0; if the database
  // rejects a statement, trace the reason and return ERR_GENERAL. `SetDatabaseObjectProperties`
  // only fills a row and always returns 0. The row of the plug-in is never updated, and the row of
  // a drive never deleted. A drive's row also depends on its adapter; to write the rows of many
  // drives, pass the index of `m_Adapters`.
  unsigned int SetDatabaseObjectProperties(RaidDataModels::Adapter& row, CFusionIOAdapter& adapter)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int InsertObjectToDatabase(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int UpdateObjectInDatabase(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int DeleteObjectFromDatabase(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int SetDatabaseObjectProperties(RaidDataModels::PD& row, CFusionIOPhysicalDrive& drive)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int InsertObjectToDatabase(CFusionIOPhysicalDrive& drive) CORVANE_REQUIRES(m_DataLock);
  unsigned int InsertObjectToDatabase(CFusionIOPhysicalDrive& drive,
                                      const AdaptersBySerialNumber& adapters)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int UpdateObjectInDatabase(CFusionIOPhysicalDrive& drive) CORVANE_REQUIRES(m_DataLock);
  unsigned int UpdateObjectInDatabase(CFusionIOPhysicalDrive& drive,
                                      const AdaptersBySerialNumber& adapters)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int DeleteObjectFromDatabase(CFusionIOPhysicalDrive& drive) CORVANE_REQUIRES(m_DataLock);
  void FillRow(RaidDataModels::PD& row, CFusionIOPhysicalDrive& drive,
               const CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int SetDatabaseObjectProperties(RaidDataModels::Plugin& row, CFusionIOPlugin& plugin)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int InsertObjectToDatabase(CFusionIOPlugin& plugin) CORVANE_REQUIRES(m_DataLock);
  unsigned int UpdateObjectInDatabase(CFusionIOPlugin& plugin) CORVANE_REQUIRES(m_DataLock);
  unsigned int DeleteObjectFromDatabase(CFusionIOPlugin& plugin) CORVANE_REQUIRES(m_DataLock);

  // Returns the next object id.
  unsigned long NewID() CORVANE_REQUIRES(m_DataLock);
  // Makes the adapter a child of the plug-in object, which becomes the adapter's only parent.
  void LinkToPlugin(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);

  // Mark objects as in use by a job. `LockObjects` marks all objects if `adapter` is negative, the
  // drives of that card if `drive` is negative, or otherwise the card's first drive.
  // `UnlockObjects` clears the marks of all objects. Always return 0.
  unsigned int LockObjects(int adapter, int drive) CORVANE_REQUIRES(m_DataLock);
  unsigned int UnlockObjects();
  // Safe without the lock, which the worker does not always hold here: the marks are single bytes,
  // and `LockObjects`, which is the only function that sets them, is not called.
  void MarkAll(bool locked) CORVANE_UNLOCKED;

  // `Initialize` makes these usable.
  MBX::Threading::Native_OS::CFastMutex m_DataLock;
  MBX::Threading::Native_OS::CFastMutex m_EventsLock CORVANE_ACQUIRED_AFTER(m_DataLock);
  MBX::Threading::CEvent m_ForceWorker;
  MBX::Threading::CEvent m_StopRequest;
  MBX::Threading::CEvent m_PrivateEvent;

  // Guarded by `m_DataLock`: the objects, and other members that commands change.
  CFusionIOPlugin m_Plugin CORVANE_GUARDED_BY(m_DataLock);
  std::vector<CFusionIOAdapter> m_Adapters CORVANE_GUARDED_BY(m_DataLock);
  std::vector<CFusionIOPhysicalDrive> m_PhysicalDrives CORVANE_GUARDED_BY(m_DataLock);
  std::uint64_t m_NextID CORVANE_GUARDED_BY(m_DataLock) = 0;
  PI::CConfigFile m_ConfigFile CORVANE_GUARDED_BY(m_DataLock);

  // Guarded by `m_DataLock`: the last attach job and the last detach job, and the device of each
  // while it is running. The jobs write the devices without the lock.
  ThreadSlot m_pAttachThread CORVANE_GUARDED_BY(m_DataLock);
  std::string m_AttachDevice CORVANE_GUARDED_BY(m_DataLock);
  ThreadSlot m_pDetachThread CORVANE_GUARDED_BY(m_DataLock);
  std::string m_DetachDevice CORVANE_GUARDED_BY(m_DataLock);

  // Guarded by `m_EventsLock`: events for the host to collect.
  std::vector<PI::CEvent> m_Events CORVANE_GUARDED_BY(m_EventsLock);

  // Used without a lock: written before the worker runs and only read afterwards.
  std::vector<CControlDevicePath> m_ControlDevicePaths;
  std::vector<PI::CAdapterID> m_AdapterIDs;
  GlobalNumbers m_GlobalNumbers;     // those in `m_AdapterIDs`
  std::uint64_t m_AdapterCount = 0;  // number of control device paths; 0: the library is stopped
  std::shared_ptr<DatabaseORM::storage_t> m_Database;

  // Used without a lock: only by the commands that start and stop the worker, which the host sends
  // one at a time.
  ThreadSlot m_pWorkerThread;
  std::vector<ThreadSlot> m_EarlierWorkers;  // still running, but no command refers to them

  // Written with `m_DataLock` held. The worker reads it without the lock; it can use the old or the
  // new value.
  std::uint32_t m_PollInterval = kDefaultPollInterval;  // seconds between full scans
};

// The plug-in instance, for the host; null before `createIf` and after `releaseIf`.
CORVANE_API extern IPLUGINAPI_IMPL* g_p_IPLUGINAPI_IMPL;

}  // namespace NAMESPACE_Corvane
