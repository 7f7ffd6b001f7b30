// Runs the service.
#pragma once

#include <filesystem>

#include "console/base/Deadline.h"
#include "console/cli/CommandTable.h"
#include "console/report/CommandContext.h"
#include "service/Listeners.h"

namespace Service {

struct ServeSettings {
  ListenSettings m_Listen;
  std::filesystem::path m_EventsDirectory;  // event programs; empty: none
  Console::Deadline m_Deadline;
};

// Serves clients until the deadline or a stop signal; SIGHUP updates the permissions. `commands`
// produces the documents of the responses; `context` provides the plug-in and the cards. Throws
// `Console::Failure` if the service cannot start.
void Serve(Console::Context& context, const Console::CommandTable& commands,
           const ServeSettings& settings);

}  // namespace Service
