// The result of `list` and `tree`: one row per object.
#pragma once

#include <string>
#include <vector>

#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// Returns the default columns.
const std::vector<std::string>& DefaultColumns();

// Returns every object with the columns from the options, or `defaults` without that option;
// includes the plug-in object if `withPlugin`. Throws `Failure`; an unknown column is reported
// before the plug-in is started.
CommandResult ObjectOverview(Context& context, const std::vector<std::string>& defaults,
                             bool withPlugin);

}  // namespace Console
