// What the service knows about the cards: every read is answered from it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "console/base/Deadline.h"
#include "console/model/Model.h"
#include "console/plugin/Session.h"

namespace Service {

using Clock = std::chrono::system_clock;

// The state of the plug-in process.
struct PluginState {
  // Why it is not up.
  std::string WhyDown() const { return m_Reason.empty() ? "the plug-in is starting" : m_Reason; }

  bool m_IsUp = false;
  std::string m_Reason;        // why it is not up; empty before the first start has ended
  std::uint64_t m_Starts = 0;  // of the process, the failed ones included
  pid_t m_Process = -1;        // of the last start that succeeded
  std::size_t m_LostThreads = 0;
  std::chrono::duration<double> m_StartDuration{0};
};

// Immutable once published: a newer one replaces it.
struct Snapshot {
  // Whether a plug-in has reported its objects since the service started.
  bool HasReport() const { return !m_Info.m_File.empty(); }
  // Null if it has no object with that id.
  const PI::CObject* Find(std::uint64_t id) const;

  std::uint64_t m_Run = 0;         // of the service; each run counts snapshots from 1
  std::uint64_t m_Number = 0;      // rises with each snapshot; 0: nothing has been read yet
  std::uint64_t m_Refreshes = 0;   // refresh requests that this snapshot satisfies
  Clock::time_point m_ObservedAt;  // when `m_Objects` was read
  Console::PluginInfo m_Info;
  PluginState m_Plugin;
  bool m_HasCards = false;
  std::vector<PI::CObject> m_Objects;  // as the last plug-in reported them
};

using SnapshotPtr = std::shared_ptr<const Snapshot>;

// Null if the object does not have the property.
const PI::CProperty* FindProperty(const PI::CObject& object, std::uint32_t property);

// Holds the newest snapshot. Any thread may call its members.
class SnapshotStore {
 public:
  SnapshotStore();

  // Never null.
  SnapshotPtr Get() const;
  // Makes it the newest one and gives it its number.
  void Publish(Snapshot snapshot);
  // Calls it after each snapshot, on the thread that publishes; it must not wait. Null
  // removes the callback. On return, the previous callback has finished.
  void OnPublish(std::function<void()> call);
  // Waits for a snapshot with a number above `number`, or until the deadline; returns the newest.
  SnapshotPtr AwaitNewer(std::uint64_t number, const Console::Deadline& deadline) const;

 private:
  mutable Base::Mutex m_Lock;
  mutable Base::ConditionVariable m_Changed;
  SnapshotPtr m_Newest HOST_GUARDED_BY(m_Lock);

  Base::Mutex m_CallLock;  // also held while it runs
  std::function<void()> m_OnPublish HOST_GUARDED_BY(m_CallLock);
};

}  // namespace Service
