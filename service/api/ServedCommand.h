// Console commands that the service runs, so that its documents are the same as the console's.
#pragma once

#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/cli/CommandTable.h"
#include "console/report/CommandContext.h"
#include "service/Snapshot.h"

namespace Service {

// What a command would have written to standard output, with `open` making its session. Throws
// `Console::Failure` and `Console::Stopped` as the command does, also for arguments that it does
// not accept. Nothing is written to `stream`; messages are only in the document. From any thread.
std::string RunCommand(const Console::CommandTable& commands,
                       const std::vector<std::string>& arguments,
                       const Console::ResultStream& stream, const Console::SessionFactory& open);

// The same with a session that reads the snapshot. The document says so if the plug-in that
// reported it is not running any more.
std::string RunOnSnapshot(const Console::CommandTable& commands,
                          const std::vector<std::string>& arguments,
                          const Console::ResultStream& stream, const SnapshotPtr& snapshot);

}  // namespace Service
