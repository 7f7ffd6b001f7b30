// The plug-in: one object that holds everything it knows.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/Vocabulary.h"
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
template <class Kind>
class AttributeReader;

// Everything that the host asks for enters through `Execute`, on the host's threads. The locks are
// usable from `Initialize` on, so that command comes first; nothing checks it.
//
// Lock order: `m_DataLock` before `m_EventsLock`.
class IPLUGINAPI_IMPL : public IPLUGINAPI {
 public:
  IPLUGINAPI_IMPL();
  unsigned int Execute(PI::_COMMAND command, unsigned long objectId, void* payload) override;
  ~IPLUGINAPI_IMPL() override;

 private:
  // Commands. A vector that is to be filled may hold a part of its contents after a failure;
  // `Execute` empties it then.

  // Brings the card library up, finds the cards and scans them; fills one entry per adapter.
  unsigned int Initialize(std::vector<PI::CAdapterID>& adapterIDs);
  // Takes the host's numbers and names the adapters by them. Always 0.
  unsigned int SetAdapterIDs(const std::vector<PI::CAdapterID>& adapterIDs);
  // Stops the threads and takes the library down. The threads have 25 s in all; then the worker is
  // canceled. Always 0.
  unsigned int DeInitialize();
  // The plug-in object, all adapters and all drives with properties and operations. Always 0.
  unsigned int GetTopology(std::vector<PI::CObject>& objects);

  // Commands on one object; ERR_INVALID_OBJECT_ID for an id that nobody has.
  unsigned int GetProperties(unsigned long objectId, std::vector<PI::CProperty>& properties);
  unsigned int GetProperty(unsigned long objectId, PI::CProperty& property);
  unsigned int SetProperty(unsigned long objectId, PI::CProperty& property);
  unsigned int GetOperations(unsigned long objectId, std::vector<PI::COperation>& operations);
  unsigned int CheckOperation(unsigned long objectId, PI::COperation& operation);
  unsigned int ExecuteOperation(unsigned long objectId, PI::COperation& operation);

  // What an object-kind does for each command on an object.
  template <class... Arguments>
  struct Handlers {
    unsigned int (IPLUGINAPI_IMPL::*m_Plugin)(CFusionIOPlugin&, Arguments...);
    unsigned int (IPLUGINAPI_IMPL::*m_Adapter)(CFusionIOAdapter&, Arguments...);
    unsigned int (IPLUGINAPI_IMPL::*m_PhysicalDrive)(CFusionIOPhysicalDrive&, Arguments...);
  };
  // Trace texts for the number of objects about to be looked through; null where a command has
  // none.
  struct CountTexts {
    const char* m_Function = nullptr;  // that the texts are traced for
    const char* m_Adapters = nullptr;
    const char* m_PhysicalDrives = nullptr;
  };
  struct Routed {
    unsigned int m_Result;
    PI::CObject* m_pObject;  // null when no object has the id
  };
  // Finds the object and calls its handler. The caller holds `m_DataLock`.
  template <class... Arguments>
  Routed Route(unsigned long objectId, const Handlers<Arguments...>& handlers,
               const CountTexts& texts, Arguments... arguments);
  // Reads the properties that the selector asks for. The caller holds `m_DataLock`.
  Routed RouteProperties(unsigned long objectId, const CountTexts& texts,
                         std::vector<PI::CProperty>& properties, unsigned int selector);

  // The plug-in object.
  unsigned int GetPluginProperties(CFusionIOPlugin& plugin, std::vector<PI::CProperty>& properties,
                                   unsigned int propertyId);
  unsigned int SetPluginProperty(CFusionIOPlugin& plugin, PI::CProperty& property);
  unsigned int GetPluginOperations(CFusionIOPlugin& plugin,
                                   std::vector<PI::COperation>& operations);
  unsigned int CheckPluginOperation(CFusionIOPlugin& plugin, PI::COperation& operation);
  unsigned int ExecutePluginOperation(CFusionIOPlugin& plugin, PI::COperation& operation);
  // Hands all queued events over and forgets them. Always 0.
  unsigned int GetEvents(CFusionIOPlugin& plugin, PI::COperation& operation);

  // Adapters.
  unsigned int GetAdapterProperties(CFusionIOAdapter& adapter,
                                    std::vector<PI::CProperty>& properties,
                                    unsigned int propertyId);
  unsigned int SetAdapterProperty(CFusionIOAdapter& adapter, PI::CProperty& property);
  unsigned int GetAdapterOperations(CFusionIOAdapter& adapter,
                                    std::vector<PI::COperation>& operations);
  unsigned int CheckAdapterOperation(CFusionIOAdapter& adapter, PI::COperation& operation);
  unsigned int ExecuteAdapterOperation(CFusionIOAdapter& adapter, PI::COperation& operation);

  // Physical drives.
  unsigned int GetPhysicalDriveProperties(CFusionIOPhysicalDrive& drive,
                                          std::vector<PI::CProperty>& properties,
                                          unsigned int propertyId);
  unsigned int SetPhysicalDriveProperty(CFusionIOPhysicalDrive& drive, PI::CProperty& property);
  unsigned int GetPhysicalDriveOperations(CFusionIOPhysicalDrive& drive,
                                          std::vector<PI::COperation>& operations);
  unsigned int CheckPhysicalDriveOperation(CFusionIOPhysicalDrive& drive,
                                           PI::COperation& operation);
  unsigned int ExecutePhysicalDriveOperation(CFusionIOPhysicalDrive& drive,
                                             PI::COperation& operation);

  // Steps of `Initialize`.
  bool InitializeLocks();
  bool StartCardLibrary();
  void FindControlDevices();
  unsigned int FirstScan(std::vector<PI::CAdapterID>& adapterIDs);

  // Steps of `DeInitialize`.
  using ThreadSlot = std::unique_ptr<MBX::Threading::CThread>;
  struct NamedThread {
    const char* m_Name;
    const ThreadSlot* m_pThread;
  };
  std::array<NamedThread, 3> Threads() const;
  static bool IsRunning(const ThreadSlot& thread);
  bool AnyThreadRuns() const;
  void CancelThreads();

  // The jobs. Each drives one card to its end on a thread of its own, holds no lock while the card
  // works, and tells the host of a failure alone, by one event. The result means nothing.
  struct CardJob;
  unsigned int Attach(const std::string& device);
  unsigned int Detach(const std::string& device);
  unsigned int ForceDetach(const std::string& device);
  void StartJob(ThreadSlot& slot, unsigned int (IPLUGINAPI_IMPL::*job)(const std::string&),
                const CFusionIOAdapter& adapter);
  unsigned int RunJob(const CardJob& job, const std::string& device);
  // The writes of a job to its device string, which take no lock. Functions of their own, and never
  // inlined, so that the list of accepted races can name them and nothing else.
  static void SetDevice(std::string& slot, const std::string& device);
  static void WriteDevice(std::string& slot, const std::string& device);
  PI::CEvent FailureOf(const CardJob& job, const std::string& device);
  void DriveCard(const CardJob& job, const std::string& device, const PI::CEvent& failure);
  bool JobFailed(const CardJob& job, const char* function, std::uint64_t code,
                 const ErrorRecord& error, const PI::CEvent& failure);
  void PostEvent(const CardJob& job, const PI::CEvent& event);
  // Whether a job of the slot's kind is at work, on whichever card.
  static bool IsBusy(const ThreadSlot& thread, const std::string& device) {
    return IsRunning(thread) && !device.empty();
  }

  // The worker: looks at the cards every third of the poll interval, scans them every whole one or
  // when a look sees a difference, and notifies the host with no lock held. Ends on
  // `m_StopRequest`.
  unsigned int Worker();
  struct Watch {
    unsigned long m_LastScan = MBX::Misc::now();
    bool m_ScanDue = false;

    unsigned long Age() const { return MBX::Misc::now() - m_LastScan; }
  };
  void Look(Watch& watch);
  bool CardsLookDifferent();
  bool LooksDifferent(const CFusionIOAdapter& adapter);
  // Gives 0 when something has changed. The caller holds both locks.
  unsigned int Rescan(Watch& watch);
  // Takes a scan over as the new state and queues events for what has changed: 0, or ERR_GENERAL
  // when nothing has. The caller holds both locks.
  unsigned int UpdateSystem(std::vector<CFusionIOAdapter>& adapters,
                            std::vector<CFusionIOPhysicalDrive>& drives);
  struct Difference {
    bool m_Any = false;
    std::vector<PI::CEvent> m_Events;
    std::vector<CFusionIOAdapter> m_AddedAdapters;
    std::vector<CFusionIOAdapter> m_ChangedAdapters;
    std::vector<CFusionIOAdapter> m_RemovedAdapters;
    std::vector<CFusionIOPhysicalDrive> m_AddedDrives;
  };
  void UpdateAdapters(std::vector<CFusionIOAdapter>& scanned,
                      std::vector<CFusionIOPhysicalDrive>& drives, Difference& difference);
  void AddAdapter(const CFusionIOAdapter& adapter, std::vector<CFusionIOPhysicalDrive>& drives,
                  Difference& difference);
  void UpdateDrives(std::vector<CFusionIOAdapter>& adapters,
                    const std::vector<CFusionIOPhysicalDrive>& scanned, Difference& difference);
  void WriteRows(Difference& difference, std::vector<CFusionIOPhysicalDrive>& drives);
  void LinkToPlugin(CFusionIOAdapter& adapter);

  // Reads every card of `m_ControlDevicePaths` into one adapter and one drive. `initial` at
  // start-up only, where nothing known is carried over. 0, or ERR_COMMAND_ERROR when a card could
  // not be opened; what was read before it stays in the vectors. The caller holds `m_DataLock`.
  unsigned int ScanSystem(std::vector<CFusionIOAdapter>& adapters,
                          std::vector<CFusionIOPhysicalDrive>& drives, bool initial);
  bool ScanCard(std::size_t index, bool initial, std::vector<CFusionIOAdapter>& adapters,
                std::vector<CFusionIOPhysicalDrive>& drives);
  void IdentifyAdapter(CFusionIOAdapter& adapter, bool initial);
  void IdentifyDrive(CFusionIOPhysicalDrive& drive, bool initial);
  void ScanAdapter(CardHandle& iom, CFusionIOAdapter& adapter, CFusionIOPhysicalDrive& drive,
                   bool initial);
  void ScanCardState(const AttributeReader<HandleKind::Card>& card, CFusionIOAdapter& adapter);
  void ScanDrive(HandleRef<HandleKind::Card> iom, const CFusionIOAdapter& adapter,
                 CFusionIOPhysicalDrive& drive);
  // The state that the card gives, or the one that a running job takes it through.
  std::uint32_t CorrectedState(std::uint32_t iomState, const std::string* devicePath) const;

  // Names the adapter by the number that the host gave for its PCI address; without one the name
  // stays.
  void NameAdapter(CFusionIOAdapter& adapter) const;

  // The status masks of an open card, free of momentary values: one that does not hold still for
  // five samples leaves its variable as it was. Always 0.
  unsigned int GetStatusFlags(void*& iom, unsigned long& errors, unsigned long& warnings,
                              unsigned long& info);

  // The rows of the objects in the host's database. 0, or ERR_GENERAL when the database refused,
  // which is traced and bothers nobody else. `SetDatabaseObjectProperties` fills a row.
  unsigned int SetDatabaseObjectProperties(RaidDataModels::Adapter& row, CFusionIOAdapter& adapter);
  unsigned int InsertObjectToDatabase(CFusionIOAdapter& adapter);
  unsigned int UpdateObjectInDatabase(CFusionIOAdapter& adapter);
  unsigned int DeleteObjectFromDatabase(CFusionIOAdapter& adapter);
  unsigned int SetDatabaseObjectProperties(RaidDataModels::PD& row, CFusionIOPhysicalDrive& drive);
  unsigned int InsertObjectToDatabase(CFusionIOPhysicalDrive& drive);
  unsigned int UpdateObjectInDatabase(CFusionIOPhysicalDrive& drive);
  unsigned int DeleteObjectFromDatabase(CFusionIOPhysicalDrive& drive);
  void FillRow(RaidDataModels::PD& row, CFusionIOPhysicalDrive& drive,
               const CFusionIOAdapter& adapter);
  unsigned int SetDatabaseObjectProperties(RaidDataModels::Plugin& row, CFusionIOPlugin& plugin);
  unsigned int InsertObjectToDatabase(CFusionIOPlugin& plugin);
  unsigned int UpdateObjectInDatabase(CFusionIOPlugin& plugin);
  unsigned int DeleteObjectFromDatabase(CFusionIOPlugin& plugin);

  // The next object id. The caller holds `m_DataLock`.
  unsigned long NewID();

  // Mark objects as being worked on. Always 0.
  unsigned int LockObjects(int adapter, int drive);
  unsigned int UnlockObjects();
  void MarkAll(bool locked);

  MBX::Threading::Native_OS::CFastMutex m_DataLock;
  MBX::Threading::Native_OS::CFastMutex m_EventsLock;
  MBX::Threading::CEvent m_ForceWorker;
  MBX::Threading::CEvent m_StopRequest;
  MBX::Threading::CEvent m_PrivateEvent;

  // Guarded by `m_DataLock`.
  CFusionIOPlugin m_Plugin;
  std::vector<CFusionIOAdapter> m_Adapters;
  std::vector<CFusionIOPhysicalDrive> m_PhysicalDrives;

  // Written before the worker runs, and then only read.
  std::vector<CControlDevicePath> m_ControlDevicePaths;
  std::vector<PI::CAdapterID> m_AdapterIDs;

  // Guarded by `m_EventsLock`.
  std::vector<PI::CEvent> m_Events;

  std::uint64_t m_AdapterCount = 0;   // of control device paths; 0: the library is down
  std::uint32_t m_PollInterval = 15;  // seconds between full scans
  std::uint64_t m_NextID = 0;
  ThreadSlot m_pWorkerThread;
  std::vector<ThreadSlot> m_LostWorkers;  // still at work, and known to nobody else
  PI::CConfigFile m_ConfigFile;

  // One attach job and one detach job, running or ended, and the device that it works on, which
  // the job itself writes.
  ThreadSlot m_pAttachThread;
  std::string m_AttachDevice;
  ThreadSlot m_pDetachThread;
  std::string m_DetachDevice;

  std::shared_ptr<DatabaseORM::storage_t> m_Database;
};

// The one instance, for the host to see; null before `createIf` and after `releaseIf`.
CORVANE_API extern IPLUGINAPI_IMPL* g_p_IPLUGINAPI_IMPL;

}  // namespace NAMESPACE_Corvane
