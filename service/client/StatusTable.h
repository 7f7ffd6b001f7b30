// Mapping between HTTP statuses and the console's exit codes.
#pragma once

#include <optional>
#include <string>

#include "console/base/Failure.h"

namespace Service {

// Maps an exit code to an HTTP status; 500 for codes without a mapping.
unsigned StatusOf(Console::ExitCode code, const std::string& id);

// Maps the status and id of a problem to an exit code; empty if the status means that the request
// itself was invalid.
std::optional<Console::ExitCode> ExitCodeOf(long status, const std::string& id);

}  // namespace Service
