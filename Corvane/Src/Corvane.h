// The plug-in: one object that holds everything it knows.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

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

// Makes the plug-in and stores it in `*instance`; 0, or ERR_MEMORY_ERROR with null stored. Reads
// the configuration; no card is touched before `CMD_INITIALIZE`.
CORVANE_API unsigned int createIf(IPLUGINAPI** instance);

// Destroys the plug-in, if there is one, and stores null. `CMD_DEINITIALIZE` comes first.
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
struct SystemDifference;
template <class Kind>
class AttributeReader;

// Commands of the host enter through `Execute`, on the host's threads. `CMD_INITIALIZE` comes
// first, because it makes the locks usable; nothing checks it.
class IPLUGINAPI_IMPL : public IPLUGINAPI {
 public:
  IPLUGINAPI_IMPL();
  unsigned int Execute(PI::_COMMAND command, unsigned long objectId, void* payload) override;
  ~IPLUGINAPI_IMPL() override;

 private:
  // Commands. A vector that is to be filled may hold a part of its contents after a failure;
  // `Execute` empties it then.

  // Starts the card library, finds the cards and scans them. Appends one entry per adapter.
  unsigned int Initialize(std::vector<PI::CAdapterID>& adapterIDs);
  // Takes the host's numbers and names the adapters by them. Always 0.
  unsigned int SetAdapterIDs(const std::vector<PI::CAdapterID>& adapterIDs);
  // Stops the threads and the card library. The threads have 25 s in all to end; then the worker is
  // canceled. Always 0.
  unsigned int DeInitialize();
  // The plug-in object, all adapters and all drives with properties and operations. Always 0.
  unsigned int GetTopology(std::vector<PI::CObject>& objects);

  // Commands on one object. ERR_INVALID_OBJECT_ID if no object has the id.
  unsigned int GetProperties(unsigned long objectId, std::vector<PI::CProperty>& properties);
  unsigned int GetProperty(unsigned long objectId, PI::CProperty& property);
  unsigned int SetProperty(unsigned long objectId, PI::CProperty& property);
  unsigned int GetOperations(unsigned long objectId, std::vector<PI::COperation>& operations);
  unsigned int CheckOperation(unsigned long objectId, PI::COperation& operation);
  unsigned int ExecuteOperation(unsigned long objectId, PI::COperation& operation);

  // The functions that serve one command, by kind of object.
  template <class... Arguments>
  struct Handlers {
    unsigned int (IPLUGINAPI_IMPL::*m_Plugin)(CFusionIOPlugin&, Arguments...);
    unsigned int (IPLUGINAPI_IMPL::*m_Adapter)(CFusionIOAdapter&, Arguments...);
    unsigned int (IPLUGINAPI_IMPL::*m_PhysicalDrive)(CFusionIOPhysicalDrive&, Arguments...);
  };
  // Trace texts for the number of objects that are searched; null where a command has none.
  struct CountTexts {
    const char* m_Function = nullptr;  // that the texts are traced for
    const char* m_Adapters = nullptr;
    const char* m_PhysicalDrives = nullptr;
  };
  struct Routed {
    unsigned int m_Result;
    PI::CObject* m_pObject;  // null when no object has the id
  };
  // Finds the object and calls its handler. ERR_INVALID_OBJECT_ID if no object has the id.
  template <class... Arguments>
  Routed Route(unsigned long objectId, const Handlers<Arguments...>& handlers,
               const CountTexts& texts, Arguments... arguments) CORVANE_REQUIRES(m_DataLock);
  // Appends the properties that the selector asks for.
  Routed RouteProperties(unsigned long objectId, const CountTexts& texts,
                         std::vector<PI::CProperty>& properties, unsigned int selector)
      CORVANE_REQUIRES(m_DataLock);

  // The plug-in object. Its properties and operations are replaced, not appended. Setting anything
  // but the poll interval gives ERR_INVALID_PROPERTY; executing anything but OP_GET_EVENTS gives
  // ERR_INVALID_OPERATION; any check succeeds.
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
  // Moves all queued events to the operation. Without the lock it gets none. Always 0.
  unsigned int GetEvents(CFusionIOPlugin& plugin, PI::COperation& operation)
      CORVANE_REQUIRES(m_DataLock);

  // Adapters. The lists are replaced, not appended. No property can be set: ERR_INVALID_PROPERTY.
  // A check gives 0, ERR_ADAPTER_BUSY while a job of the same kind runs, ERR_GENERAL in the wrong
  // state of the card, ERR_LOCATE_IN_PROGRESS or ERR_NO_LOCATE_STARTED for the locate LED. Attach
  // and detach return as soon as their job has started.
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

  // Physical drives. The lists are replaced, not appended. No property can be set:
  // ERR_INVALID_PROPERTY. A format blocks until the card has been formatted. ERR_COMMAND_ERROR when
  // the card library rejects an operation.
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

  // Steps of `Initialize`. The first two give whether they succeeded.
  bool InitializeLocks();
  bool StartCardLibrary();
  void FindControlDevices();
  // 0, or ERR_NO_SUPPORTED_HARDWARE, with no objects and the library stopped.
  unsigned int FirstScan(std::vector<PI::CAdapterID>& adapterIDs) CORVANE_REQUIRES(m_DataLock);

  // A step of `SetAdapterIDs`. Unlocked: the host sends this command once, before the worker runs.
  // After a second one, an earlier worker may read at the same time.
  void NameAdapters() CORVANE_UNLOCKED;

  // Steps of `DeInitialize`.
  using ThreadSlot = std::unique_ptr<MBX::Threading::CThread>;
  struct NamedThread {
    const char* m_Name;
    const ThreadSlot* m_pThread;
  };
  // Unlocked: a stop takes no lock, so that a thread which never releases one does not block it.
  std::array<NamedThread, 3> Threads() const CORVANE_UNLOCKED;
  // False for a slot that was never used.
  static bool IsRunning(const ThreadSlot& thread);
  bool AnyThreadRuns() const;
  void CancelThreads();

  // The jobs. Each runs on a thread of its own until its card is done, and holds no lock while the
  // card works. A failure queues one event; a success queues none. The result is always 1.
  struct CardJob;
  unsigned int Attach(const std::string& device);
  unsigned int Detach(const std::string& device);
  unsigned int ForceDetach(const std::string& device);
  // Replaces the thread in the slot, which may still run.
  void StartJob(ThreadSlot& slot, unsigned int (IPLUGINAPI_IMPL::*job)(const std::string&),
                const CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int RunJob(const CardJob& job, const std::string& device);
  // The write of a job to its device string, which takes no lock. A function of its own, and never
  // inlined, so that the list of accepted races can name it alone.
  static void SetDevice(std::string& slot, const std::string& device);
  static void WriteDevice(std::string& slot, const std::string& device);
  // The event that the job queues if it fails. Unlocked for the analysis: the result of the wait
  // for `m_DataLock`, which has no timeout, is ignored.
  PI::CEvent FailureOf(const CardJob& job, const std::string& device) CORVANE_UNLOCKED;
  // Empty for a device that no adapter has.
  PI::CEvent FailureEvent(const CardJob& job, const std::string& device)
      CORVANE_REQUIRES(m_DataLock);
  // Makes the job's handles, starts it and waits for its result. Queues `failure` if a step fails.
  void DriveCard(const CardJob& job, const std::string& device, const PI::CEvent& failure);
  // Whether `code` is a failure, which is traced and queued then.
  bool JobFailed(const CardJob& job, const char* function, std::uint64_t code,
                 const ErrorRecord& error, const PI::CEvent& failure);
  // Whether a job of the slot's kind is running, on any card.
  static bool IsBusy(const ThreadSlot& thread, const std::string& device) {
    return IsRunning(thread) && !device.empty();
  }

  // The worker: polls the cards every third of the poll interval, scans them every whole interval
  // or when a quick poll sees a change, and notifies the host with no lock held. Ends on
  // `m_StopRequest`. The result is always 1.
  unsigned int Worker();
  // What one pass of the worker leaves for the next.
  struct PollState {
    unsigned long m_LastScan = MBX::Misc::now();
    bool m_ScanDue = false;

    unsigned long Age() const { return MBX::Misc::now() - m_LastScan; }
  };
  // One pass of the worker: a quick poll, or a full scan when one is due or the quick poll has seen
  // a change. Takes both locks for the scan, and releases them before it notifies the host. Without
  // the data lock the pass is given up; without the events lock its scan becomes due.
  void Poll(PollState& state);
  // Whether the masks or the state of any card differ from its record. A card that cannot be opened
  // counts as unchanged.
  bool AnyCardHasChanged() CORVANE_REQUIRES(m_DataLock);
  bool HasChanged(const CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  // Scans all cards and takes the result over. 0 when something has changed, ERR_GENERAL when
  // nothing has, or the error of the scan, which leaves the records as they were.
  unsigned int Rescan(PollState& state) CORVANE_REQUIRES(m_DataLock, m_EventsLock);

  // Takes a scan over as the new state, queues events for what has changed and writes the rows: 0,
  // or ERR_GENERAL when nothing has changed. The scanned records get settled masks and links.
  unsigned int UpdateSystem(std::vector<CFusionIOAdapter>& adapters,
                            std::vector<CFusionIOPhysicalDrive>& drives)
      CORVANE_REQUIRES(m_DataLock, m_EventsLock);
  // Replaces the stored records by the scanned ones. The histories stay with their positions.
  void Store(const SystemDifference& difference, std::vector<CFusionIOAdapter>& adapters,
             std::vector<CFusionIOPhysicalDrive>& drives)
      CORVANE_REQUIRES(m_DataLock, m_EventsLock);
  // Queues the events of a difference that is stored already, and writes its rows.
  void Announce(SystemDifference& difference) CORVANE_REQUIRES(m_DataLock, m_EventsLock);
  // Appends to `m_Events`, under its lock. `function` is the one that the trace lines show.
  void QueueEvents(const char* function, const std::vector<PI::CEvent>& events);

  // Replaces the contents of the vectors with one adapter and one drive per card of
  // `m_ControlDevicePaths`; a card that cannot be found is left out. `initial` at start-up only,
  // when no ids are taken over. 0, or ERR_COMMAND_ERROR when a card could not be opened; what was
  // read before it stays in the vectors.
  unsigned int ScanSystem(std::vector<CFusionIOAdapter>& adapters,
                          std::vector<CFusionIOPhysicalDrive>& drives, bool initial)
      CORVANE_REQUIRES(m_DataLock);
  // Steps of the scan. `ScanCard` is false when the card could not be opened.
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
  // The state that the card gives, or that of the job which is running on `devicePath`. Null
  // matches no job.
  std::uint32_t CorrectedState(std::uint32_t iomState, const std::string* devicePath) const
      CORVANE_REQUIRES(m_DataLock);

  // The status masks of an open card, free of momentary values: a mask that changes during five
  // samples leaves its variable as it was. Always 0.
  unsigned int GetStatusFlags(void*& iom, unsigned long& errors, unsigned long& warnings,
                              unsigned long& info);

  // The rows of the objects in the host's database. 0, or ERR_GENERAL when the database refused,
  // which is traced. `SetDatabaseObjectProperties` fills a row and always gives 0.
  unsigned int SetDatabaseObjectProperties(RaidDataModels::Adapter& row, CFusionIOAdapter& adapter)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int InsertObjectToDatabase(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int UpdateObjectInDatabase(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int DeleteObjectFromDatabase(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int SetDatabaseObjectProperties(RaidDataModels::PD& row, CFusionIOPhysicalDrive& drive)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int InsertObjectToDatabase(CFusionIOPhysicalDrive& drive) CORVANE_REQUIRES(m_DataLock);
  unsigned int UpdateObjectInDatabase(CFusionIOPhysicalDrive& drive) CORVANE_REQUIRES(m_DataLock);
  unsigned int DeleteObjectFromDatabase(CFusionIOPhysicalDrive& drive) CORVANE_REQUIRES(m_DataLock);
  void FillRow(RaidDataModels::PD& row, CFusionIOPhysicalDrive& drive,
               const CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);
  unsigned int SetDatabaseObjectProperties(RaidDataModels::Plugin& row, CFusionIOPlugin& plugin)
      CORVANE_REQUIRES(m_DataLock);
  unsigned int InsertObjectToDatabase(CFusionIOPlugin& plugin) CORVANE_REQUIRES(m_DataLock);
  unsigned int UpdateObjectInDatabase(CFusionIOPlugin& plugin) CORVANE_REQUIRES(m_DataLock);
  unsigned int DeleteObjectFromDatabase(CFusionIOPlugin& plugin) CORVANE_REQUIRES(m_DataLock);

  // The next object id.
  unsigned long NewID() CORVANE_REQUIRES(m_DataLock);
  // Makes the adapter a child of the plug-in object, and the plug-in object its only parent.
  void LinkToPlugin(CFusionIOAdapter& adapter) CORVANE_REQUIRES(m_DataLock);

  // Mark objects as being worked on: all of them for a negative `adapter`, else the drives of that
  // card, or its first drive if `drive` is not negative. Always 0.
  unsigned int LockObjects(int adapter, int drive) CORVANE_REQUIRES(m_DataLock);
  unsigned int UnlockObjects();
  // Unlocked: the worker also calls it when it holds no lock. The marks are single bytes that
  // only `LockObjects` sets, which nothing calls.
  void MarkAll(bool locked) CORVANE_UNLOCKED;

  // Usable from `Initialize` on.
  MBX::Threading::Native_OS::CFastMutex m_DataLock;
  MBX::Threading::Native_OS::CFastMutex m_EventsLock CORVANE_ACQUIRED_AFTER(m_DataLock);
  MBX::Threading::CEvent m_ForceWorker;
  MBX::Threading::CEvent m_StopRequest;
  MBX::Threading::CEvent m_PrivateEvent;

  // Guarded by `m_DataLock`: the objects and what commands change.
  CFusionIOPlugin m_Plugin CORVANE_GUARDED_BY(m_DataLock);
  std::vector<CFusionIOAdapter> m_Adapters CORVANE_GUARDED_BY(m_DataLock);
  std::vector<CFusionIOPhysicalDrive> m_PhysicalDrives CORVANE_GUARDED_BY(m_DataLock);
  std::uint64_t m_NextID CORVANE_GUARDED_BY(m_DataLock) = 0;
  PI::CConfigFile m_ConfigFile CORVANE_GUARDED_BY(m_DataLock);

  // Guarded by `m_DataLock`: one attach job and one detach job, running or ended, and the device
  // that it works on. The jobs write the devices without the lock.
  ThreadSlot m_pAttachThread CORVANE_GUARDED_BY(m_DataLock);
  std::string m_AttachDevice CORVANE_GUARDED_BY(m_DataLock);
  ThreadSlot m_pDetachThread CORVANE_GUARDED_BY(m_DataLock);
  std::string m_DetachDevice CORVANE_GUARDED_BY(m_DataLock);

  // Guarded by `m_EventsLock`: what waits for the host.
  std::vector<PI::CEvent> m_Events CORVANE_GUARDED_BY(m_EventsLock);

  // No lock: written before the worker runs and only read afterwards.
  std::vector<CControlDevicePath> m_ControlDevicePaths;
  std::vector<PI::CAdapterID> m_AdapterIDs;
  std::uint64_t m_AdapterCount = 0;  // of control device paths; 0: the library is down
  std::shared_ptr<DatabaseORM::storage_t> m_Database;

  // No lock: used by the commands that start and stop the worker, which the host sends one at a
  // time.
  ThreadSlot m_pWorkerThread;
  std::vector<ThreadSlot> m_LostWorkers;  // still running, and reached by no command

  // Written with `m_DataLock`. The worker reads it without: either value serves.
  std::uint32_t m_PollInterval = kDefaultPollInterval;  // seconds between full scans
};

// The one instance, for the host to see; null before `createIf` and after `releaseIf`.
CORVANE_API extern IPLUGINAPI_IMPL* g_p_IPLUGINAPI_IMPL;

}  // namespace NAMESPACE_Corvane
