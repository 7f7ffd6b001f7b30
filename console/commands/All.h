// All commands of the program.
#pragma once

#include "console/cli/CommandTable.h"

namespace Console {

const CommandTable& AllCommands();

// Their entry points.

CommandResult RunList(Context& context);
CommandResult RunTree(Context& context);
CommandResult RunShow(Context& context);
CommandResult RunGet(Context& context);
CommandResult RunSet(Context& context);
CommandResult RunLocate(Context& context);
CommandResult RunAttach(Context& context);
CommandResult RunDetach(Context& context);
CommandResult RunOnline(Context& context);
CommandResult RunOffline(Context& context);
CommandResult RunFormat(Context& context);
CommandResult RunOp(Context& context);
CommandResult RunStatus(Context& context);
CommandResult RunCheck(Context& context);
CommandResult RunEvents(Context& context);
CommandResult RunWatch(Context& context);
CommandResult RunMetrics(Context& context);
CommandResult RunWait(Context& context);
CommandResult RunRows(Context& context);
CommandResult RunExplain(Context& context);
CommandResult RunCompletion(Context& context);
CommandResult RunComplete(Context& context);
CommandResult RunPlugin(Context& context);
CommandResult RunHelp(Context& context);
CommandResult RunVersion(Context& context);

}  // namespace Console
