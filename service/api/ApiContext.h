// The objects that the handlers of the API use.
#pragma once

#include <chrono>
#include <string>

#include "console/base/Output.h"
#include "console/cli/CommandTable.h"
#include "service/CallThreads.h"
#include "service/Collector.h"
#include "service/EventFeed.h"
#include "service/EventSummary.h"
#include "service/JobTable.h"
#include "service/RecordsHealth.h"
#include "service/Snapshot.h"
#include "service/api/MetricsCache.h"
#include "service/api/ReplayCache.h"
#include "service/api/SessionJobs.h"
#include "service/http/Route.h"
#include "service/state/StateThread.h"

namespace Service {

// The referenced objects must outlive the server.
struct ApiContext {
  const Console::CommandTable& m_Commands;
  const Console::ResultStream& m_Stream;
  SnapshotStore& m_Store;
  const Collector& m_Collector;
  EventFeed& m_Feed;
  EventSummary& m_Summary;
  JobTable& m_Jobs;
  SessionJobs& m_SessionJobs;
  ReplayCache& m_Replays;
  CallThreads& m_Threads;
  StateThread& m_State;
  MetricsCache& m_Metrics;
  // Time limits of a request for a new snapshot, and for a call to the plug-in.
  std::chrono::milliseconds m_RefreshTimeout{30000};
  std::chrono::milliseconds m_CallTimeout{120000};
  // Time limit of a request that waits for the database.
  std::chrono::milliseconds m_DatabaseTimeout{30000};
  // What all documents say about the cards.
  const RecordsHealth* m_pRecords = nullptr;  // null: the known cards can be read
  bool m_IsSimulated = false;                 // whether the cards are simulated

  // Returns why the known cards cannot be read; empty if they can.
  std::string RecordsFailure() const { return m_pRecords == nullptr ? "" : m_pRecords->Cause(); }
};

}  // namespace Service
