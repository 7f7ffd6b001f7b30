// Console commands that the service runs, so that its documents are the same as the console's.
#pragma once

#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/cli/CommandTable.h"
#include "console/report/CommandContext.h"
#include "service/Snapshot.h"

namespace Service {

// Returns what a command would write to standard output, with a session that `open` creates. Throws
// `Console::Failure` and `Console::Stopped` like the command, also for arguments that it does not
// accept. Writes nothing to `stream`; messages are only in the document. Thread-safe.
std::string RunCommand(const Console::CommandTable& commands,
                       const std::vector<std::string>& arguments,
                       const Console::ResultStream& stream, const Console::SessionFactory& open);

// What a document says about the service in addition to its snapshot.
struct SnapshotNotes {
  bool m_IsSimulated = false;    // whether the cards are simulated
  std::string m_RecordsFailure;  // why the known cards cannot be read; empty: they can
  std::vector<std::string> m_DatabaseAdvice;
};

// Like `RunCommand`, with a session that reads the snapshot, and with the events of `events`, or of
// the database if it is null. The document contains a message if the plug-in is not running or the
// cards are simulated, and an error if the known cards cannot be read.
std::string RunOnSnapshot(const Console::CommandTable& commands,
                          const std::vector<std::string>& arguments,
                          const Console::ResultStream& stream, const SnapshotPtr& snapshot,
                          const SnapshotNotes& notes, Console::EventSource* events = nullptr);

}  // namespace Service
