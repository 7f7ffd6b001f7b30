// Gives the events of the log to the programs of a directory.
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
  // Runs the programs for the events that were logged since the last start; at the first start, for
  // none. `report` receives what programs print and why they failed, from several threads. The
  // store must outlive it.
  EventHooks(const SnapshotStore& store, const std::filesystem::path& directory,
             std::function<void(const std::string&)> report);

  // Call after events were logged, from one thread at a time. Does not wait for the programs.
  void OnEvents();

 private:
  void PassOn();

  const SnapshotStore& m_Store;
  const std::function<void(const std::string&)> m_Report;
  Hooks::EventPrograms m_Programs;
  EventTail m_Tail;
};

}  // namespace Service
