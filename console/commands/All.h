// All commands of the program.
#pragma once

#include "console/cli/CommandTable.h"

namespace Console {

const CommandTable& AllCommands();

// Their entry points.

Answer RunList(Context& context);
Answer RunTree(Context& context);
Answer RunShow(Context& context);
Answer RunGet(Context& context);
Answer RunSet(Context& context);
Answer RunLocate(Context& context);
Answer RunAttach(Context& context);
Answer RunDetach(Context& context);
Answer RunOnline(Context& context);
Answer RunOffline(Context& context);
Answer RunFormat(Context& context);
Answer RunOp(Context& context);
Answer RunStatus(Context& context);
Answer RunCheck(Context& context);
Answer RunEvents(Context& context);
Answer RunWatch(Context& context);
Answer RunMetrics(Context& context);
Answer RunWait(Context& context);
Answer RunRows(Context& context);
Answer RunExplain(Context& context);
Answer RunCompletion(Context& context);
Answer RunComplete(Context& context);
Answer RunPlugin(Context& context);
Answer RunHelp(Context& context);
Answer RunVersion(Context& context);

}  // namespace Console
