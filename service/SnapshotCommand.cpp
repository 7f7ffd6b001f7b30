#include "service/SnapshotCommand.h"

#include <memory>

#include "console/cli/CommandLine.h"
#include "console/report/CommandContext.h"
#include "service/SnapshotSession.h"

namespace Service {

using Console::Command;
using Console::CommandResult;
using Console::Context;

namespace {

// The document says so if the objects are not those of a running plug-in.
void NoteStale(const Snapshot& snapshot, Console::Diagnostics& diagnostics) {
  if (snapshot.m_Plugin.m_IsUp) return;
  diagnostics.Note("STALE", "the plug-in is not running; values are from its last report: " +
                                snapshot.m_Plugin.m_Reason);
}

}  // namespace

std::string RunOnSnapshot(const Console::CommandTable& commands,
                          const std::vector<std::string>& arguments,
                          const Console::ResultStream& stream, const SnapshotPtr& snapshot) {
  Console::Options options;
  Console::ParseCommandLine(arguments, options);
  const Command& command = commands.Choose(options);
  const std::string form = options.m_Form.empty() ? command.m_Forms.front() : options.m_Form;
  Console::Diagnostics diagnostics(Console::Verbosity::Nothing);
  const Console::Style style;
  const auto open = [&snapshot](Console::EventLogClient&, const Console::TimeLimits&) {
    return std::make_unique<SnapshotSession>(snapshot);
  };
  Context context(options, style, diagnostics, stream, command.m_Name, form,
                  {options.m_Words.begin() + 1, options.m_Words.end()}, {}, open);
  NoteStale(*snapshot, diagnostics);
  const CommandResult result = command.m_Run(context);
  return Render(result, form, style, context.EnvelopeFor(result.m_Code));
}

}  // namespace Service
