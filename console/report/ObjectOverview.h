// The answer of `list` and `tree`: a row for each object.
#pragma once

#include <string>
#include <vector>

#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// The columns of a list without options.
const std::vector<std::string>& UsualColumns();

// Every object with the columns that the options name, else `usual`; the plug-in only if
// `withPlugin`. Throws `Failure`, for a wrong column before the plug-in is brought up.
CommandResult ObjectOverview(Context& context, const std::vector<std::string>& usual,
                             bool withPlugin);

}  // namespace Console
