// Passes logged events to the programs in a directory.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "service/EventTail.h"
#include "service/Snapshot.h"
#include "service/hooks/EventPrograms.h"

namespace Service {

class EventHooks {
 public:
  // Runs the programs for events that were logged since the service last ran; on the first start,
  // skips all logged events. `report` receives the output and failures of programs, on several
  // threads. The store must outlive this object.
  EventHooks(const SnapshotStore& store, const std::filesystem::path& directory,
             std::function<void(const std::string&)> report);

  // Call after events were logged, from one thread at a time. Does not wait for the programs.
  void OnEvents();

 private:
  void ForwardEvents();

  const SnapshotStore& m_Store;
  const std::function<void(const std::string&)> m_Report;
  Hooks::EventPrograms m_Programs;
  EventTail m_Tail;
};

}  // namespace Service
