// Snapshots of the cards, which are used to answer reads.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "console/base/Deadline.h"
#include "console/model/Model.h"
#include "console/plugin/Session.h"
#include "console/plugin/UnresponsiveCard.h"
#include "service/BusyCard.h"

namespace Service {

using Clock = std::chrono::system_clock;

// The state of the plug-in process.
struct PluginState {
  // Returns why the plug-in is not up.
  std::string DownReason() const { return m_Reason.empty() ? "the plug-in is starting" : m_Reason; }

  bool m_IsUp = false;
  std::string m_Reason;        // why it is not up; empty during the first start
  std::uint64_t m_Starts = 0;  // number of process starts, including failed ones
  pid_t m_Process = -1;        // process ID of the last successful start
  std::size_t m_FailedThreads = 0;
  std::chrono::duration<double> m_StartDuration{0};
};

// Immutable once published; newer snapshots replace it.
struct Snapshot {
  // Whether a plug-in has reported its objects since the service started.
  bool HasReport() const { return !m_Info.m_File.empty(); }
  // Returns null if no object has that id.
  const PI::CObject* Find(std::uint64_t id) const;

  std::uint64_t m_Run = 0;        // identifies the run of the service
  std::uint64_t m_Number = 0;     // increases with each snapshot; 0: none was published yet
  std::uint64_t m_Refreshes = 0;  // number of refresh requests that it satisfies
  Console::PluginInfo m_Info;
  PluginState m_Plugin;
  bool m_HasCards = false;
  std::vector<PI::CObject> m_Objects;  // as last reported by a plug-in
  Console::CardTimes m_Times;          // of `m_Objects`
  // `SnapshotStore` sets the known cards and the running formats.
  Console::CardRecords m_Cards;
  BusyCards m_Busy;  // set by `SnapshotStore`
  // The cards that the plug-in omits, and those whose values are the values last read.
  std::vector<Console::UnresponsiveCard> m_UnresponsiveCards;
};

// Returns the objects with the activities of the running jobs, which the plug-in reports only after
// its next scan: a card that is being attached or detached has neither state.
std::vector<PI::CObject> ObjectsWithActivities(const Snapshot& snapshot);

// Returns the objects of a snapshot.
Console::Model ModelOf(const Snapshot& snapshot);

using SnapshotPtr = std::shared_ptr<const Snapshot>;

// Returns the serial number of the object's card; empty if the object does not belong to a card or
// the serial number is unknown.
std::string SerialOf(const Snapshot& snapshot, std::uint64_t object);

// Returns null if the object does not have the property.
const PI::CProperty* FindProperty(const PI::CObject& object, std::uint32_t property);

// Holds the newest snapshot. Thread-safe.
class SnapshotStore {
 public:
  SnapshotStore();

  // Never null.
  SnapshotPtr Get() const;
  // Numbers the snapshot and makes it the newest one.
  void Publish(Snapshot snapshot);
  // Set the known cards, or the cards on which jobs are running, of all later snapshots. If they
  // differ from those of the newest snapshot, it is published again with them, unless a job has
  // ended: its card has a new state, which only a later snapshot shows.
  void SetKnownCards(const Console::CardRecords& records);
  void SetBusy(const BusyCards& cards);
  // Sets a callback to be called after each snapshot, on the publishing thread. It must not block.
  // Null removes the callback. When this returns, the previous callback has returned.
  void OnPublish(std::function<void()> call);
  // Waits until the deadline for a snapshot with a number above `number`. Returns the newest one.
  SnapshotPtr AwaitNewer(std::uint64_t number, const Console::Deadline& deadline) const;

 private:
  // Changes the records of all later snapshots. `change` returns false if nothing differs.
  void ChangeRecords(const std::function<bool(Console::CardRecords&)>& change);
  void NotifyPublished();

  mutable Base::Mutex m_Lock;
  mutable Base::ConditionVariable m_Changed;
  Console::CardRecords m_Records HOST_GUARDED_BY(m_Lock);  // without unreadable cards
  BusyCards m_Busy HOST_GUARDED_BY(m_Lock);
  SnapshotPtr m_Newest HOST_GUARDED_BY(m_Lock);

  Base::Mutex m_CallLock;  // also held while the callback runs
  std::function<void()> m_OnPublish HOST_GUARDED_BY(m_CallLock);
};

}  // namespace Service
