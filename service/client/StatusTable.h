// HTTP statuses and the console's exit codes: the one table for both directions.
#pragma once

#include <optional>
#include <string>

#include "console/base/Failure.h"

namespace Service {

// The status for a failure with that exit code; 500 if there is no better one.
unsigned StatusOf(Console::ExitCode code);

// The exit code for a problem with that status and id; empty if the status says that the request
// itself is wrong.
std::optional<Console::ExitCode> ExitCodeOf(long status, const std::string& id);

}  // namespace Service
