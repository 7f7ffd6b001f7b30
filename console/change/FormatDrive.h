// Formatting a drive, which erases it.
#pragma once

#include "console/change/FormatRequest.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// Shows the plan, prompts for the serial number and formats; with --dry-run, only shows the plan.
// Throws `Failure`.
CommandResult FormatDrive(Context& context, const Model& model, const Object& drive,
                          FormatRequest request);

}  // namespace Console
