// The result of `list` and `tree`: one row per object.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// Returns the default columns.
const std::vector<std::string>& DefaultColumns();

// If the options ask for the names of the columns with `-c help`, returns a result that lists them,
// for people only.
std::optional<CommandResult> ColumnHelp(const Context& context);

// Returns every object with the columns from the options, or `defaults` without that option;
// includes the plug-in object if `withPlugin`. Throws `Failure`; an unknown column is reported
// before the plug-in is started.
CommandResult ObjectOverview(Context& context, const std::vector<std::string>& defaults,
                             bool withPlugin);
// Returns the same for `list`, with the table of cards for people. `acknowledged` returns the cards
// whose problems have all been acknowledged; it is called only for people.
CommandResult CardOverview(
    Context& context, const std::function<std::set<const Object*>(const Model&)>& acknowledged);

}  // namespace Console
