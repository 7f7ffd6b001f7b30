// The service's resources: each is a row with the function that answers it.
#pragma once

#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/cli/CommandTable.h"
#include "service/CallThreads.h"
#include "service/Collector.h"
#include "service/Snapshot.h"
#include "service/http/Route.h"
#include "service/http/Settings.h"

namespace Service {

// What the functions use. All of it must outlive the server.
struct ApiContext {
  const Console::CommandTable& m_Commands;
  const Console::ResultStream& m_Stream;
  const SnapshotStore& m_Store;
  const Collector& m_Collector;
  CallThreads& m_Threads;
  const Http::Permissions m_Permissions;
};

// A 503 that says why.
Http::Response MakeDownProblem(const PluginState& plugin);

std::vector<Http::Route> ApiRoutes(const ApiContext& api);

}  // namespace Service
