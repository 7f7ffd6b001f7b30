// The difference between a scan and the stored records. The comparison is a pure function of its
// arguments: it does not acquire locks, access cards or write trace lines.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Corvane/Src/ChangeEvents.h"
#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/RecordComparison.h"
#include "Corvane/Src/RecordSearch.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// Returns the record of a card, or null. A card has the same index in each scan.
template <class Records>
auto FindByCardIndex(Records& records, std::uint32_t cardIndex) {
  return Find(records, cardIndex, [](const auto& record) { return record.m_CardIndex; });
}

// An adapter that differs from its stored record.
struct AdapterChange {
  // The stored record, with the scanned masks added to its histories and its change count
  // incremented.
  CFusionIOAdapter m_Before;
  // The scanned record, with debounced masks.
  CFusionIOAdapter m_After;
};

struct SystemDifference {
  std::vector<CFusionIOAdapter> m_AddedAdapters;
  std::vector<AdapterChange> m_ChangedAdapters;
  std::vector<CFusionIOAdapter> m_RemovedAdapters;
  // The drives of added adapters, with the adapters' global numbers. A new drive without an adapter
  // is not included.
  std::vector<CFusionIOPhysicalDrive> m_AddedDrives;
  std::vector<CFusionIOPhysicalDrive> m_ChangedDrives;  // as scanned
  // In the order in which they are queued: added and changed adapters in the order of the scan,
  // then removed adapters, then changed drives.
  std::vector<PI::CEvent> m_Events;

  // Whether anything has changed. A change does not always have an event.
  bool Any() const {
    return !m_AddedAdapters.empty() || !m_ChangedAdapters.empty() || !m_RemovedAdapters.empty() ||
           !m_ChangedDrives.empty();
  }
};

// Adds the scanned masks to the histories, replacing the oldest ones.
inline void AddToHistories(const CFusionIOAdapter& scanned, CFusionIOAdapter& adapter) {
  std::uint64_t& slot = adapter.m_FlagHistoryIndex.m_Value;
  adapter.m_ErrorHistory.m_Value[slot] = scanned.m_ErrorFlags;
  adapter.m_WarningHistory.m_Value[slot] = scanned.m_WarningFlags;
  adapter.m_InfoHistory.m_Value[slot] = scanned.m_InfoFlags;
  slot = (slot + 1) % adapter.m_ErrorHistory.m_Value.size();
}

inline void CopyHistories(const CFusionIOAdapter& from, CFusionIOAdapter& to) {
  to.m_FlagHistoryIndex.m_Value = from.m_FlagHistoryIndex.m_Value;
  to.m_ErrorHistory.m_Value = from.m_ErrorHistory.m_Value;
  to.m_WarningHistory.m_Value = from.m_WarningHistory.m_Value;
  to.m_InfoHistory.m_Value = from.m_InfoHistory.m_Value;
}

// Returns the mask to store: the new mask if the last three are equal, otherwise the stored one.
inline std::uint64_t Debounced(const FlagHistory& history, std::uint64_t stored) {
  const auto& last = history.m_Value;
  return last[0] == last[1] && last[1] == last[2] ? last[0] : stored;
}

// Returns the change of an adapter that differs from its stored record.
inline AdapterChange ChangeOf(const CFusionIOAdapter& stored, const CFusionIOAdapter& scanned) {
  AdapterChange change = {stored, scanned};
  AddToHistories(scanned, change.m_Before);
  ++change.m_Before.m_ChangeCount;
  change.m_After.m_ErrorFlags = Debounced(change.m_Before.m_ErrorHistory, stored.m_ErrorFlags);
  change.m_After.m_WarningFlags =
      Debounced(change.m_Before.m_WarningHistory, stored.m_WarningFlags);
  change.m_After.m_InfoFlags = Debounced(change.m_Before.m_InfoHistory, stored.m_InfoFlags);
  return change;
}

// Adds an adapter that has no stored record to `difference`, and the first drive with the same
// serial number, if any, which gets the adapter's global number.
inline void AddNewAdapter(const CFusionIOAdapter& adapter,
                          std::vector<CFusionIOPhysicalDrive>& drives, unsigned long now,
                          SystemDifference& difference) {
  AppendAdded(adapter, now, difference.m_Events);
  difference.m_AddedAdapters.push_back(adapter);
  const auto drive = std::find_if(drives.begin(), drives.end(), [&adapter](const auto& each) {
    return each.m_SerialNumber == adapter.m_SerialNumber;
  });
  if (drive == drives.end()) return;
  drive->m_GlobalNumber = adapter.m_GlobalNumber;
  difference.m_AddedDrives.push_back(*drive);
}

inline void CompareAdapters(const std::vector<CFusionIOAdapter>& stored,
                            const std::vector<CFusionIOAdapter>& scanned,
                            std::vector<CFusionIOPhysicalDrive>& drives, unsigned long now,
                            SystemDifference& difference) {
  for (const CFusionIOAdapter& adapter : scanned) {
    const CFusionIOAdapter* before = FindByCardIndex(stored, adapter.m_CardIndex);
    if (before == nullptr) {
      AddNewAdapter(adapter, drives, now, difference);
    } else if (Differ(*before, adapter)) {
      difference.m_ChangedAdapters.push_back(ChangeOf(*before, adapter));
      AppendChanged(*before, difference.m_ChangedAdapters.back().m_After, now, difference.m_Events);
    }
  }
  for (const CFusionIOAdapter& adapter : stored) {
    if (FindByCardIndex(scanned, adapter.m_CardIndex) != nullptr) continue;
    AppendRemoved(adapter, now, difference.m_Events);
    difference.m_RemovedAdapters.push_back(adapter);
  }
}

// A drive that differs counts as changed even if its adapter is missing. In that case it has no
// event, because the event contains the name of the adapter.
inline void CompareDrives(const std::vector<CFusionIOPhysicalDrive>& stored,
                          const std::vector<CFusionIOPhysicalDrive>& scanned,
                          const std::vector<CFusionIOAdapter>& adapters, unsigned long now,
                          SystemDifference& difference) {
  for (const CFusionIOPhysicalDrive& drive : scanned) {
    const CFusionIOPhysicalDrive* before = FindByCardIndex(stored, drive.m_CardIndex);
    if (before == nullptr || !Differ(*before, drive)) continue;
    difference.m_ChangedDrives.push_back(drive);
    const CFusionIOAdapter* adapter = FindByCardIndex(adapters, drive.m_CardIndex);
    if (adapter != nullptr) AppendChanged(*before, drive, *adapter, now, difference.m_Events);
  }
}

// Compares the scanned `adapters` and `drives` with the stored records. `now` is the time of the
// events, in milliseconds since the epoch. The drives of added adapters get the adapters' global
// numbers.
inline SystemDifference Compare(const std::vector<CFusionIOAdapter>& storedAdapters,
                                const std::vector<CFusionIOPhysicalDrive>& storedDrives,
                                const std::vector<CFusionIOAdapter>& adapters,
                                std::vector<CFusionIOPhysicalDrive>& drives, unsigned long now) {
  SystemDifference difference;
  CompareAdapters(storedAdapters, adapters, drives, now, difference);
  CompareDrives(storedDrives, drives, adapters, now, difference);
  return difference;
}

}  // namespace NAMESPACE_Corvane
