// Commands of the console that answer from a snapshot, so that the service and the console give the
// same documents.
#pragma once

#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/cli/CommandTable.h"
#include "service/Snapshot.h"

namespace Service {

// What a command would have written to standard output. Throws `Console::Failure` as the command
// does, also for arguments that it does not accept. Nothing is written to `stream`, and messages
// are only in the document. From any thread.
std::string RunOnSnapshot(const Console::CommandTable& commands,
                          const std::vector<std::string>& arguments,
                          const Console::ResultStream& stream, const SnapshotPtr& snapshot);

}  // namespace Service
