// Running the service until a stop signal.
#pragma once

#include <filesystem>

#include "console/base/Deadline.h"
#include "console/cli/CommandTable.h"
#include "console/report/CommandContext.h"

namespace Service {

// Where clients find the service: CORVANE_SOCKET, else /run/corvane/corvane.sock for root, else
// $XDG_RUNTIME_DIR/corvane/corvane.sock. Empty if no variable names a folder for this user.
std::filesystem::path DefaultSocket();

// Serves clients at `socket` until the deadline or a stop signal. The commands answer the requests;
// the context gives the plug-in and the cards. Throws `Console::Failure` if the service cannot
// start.
void Serve(Console::Context& context, const Console::CommandTable& commands,
           const std::filesystem::path& socket, const Console::Deadline& deadline);

}  // namespace Service
