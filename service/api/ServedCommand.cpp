#include "service/api/ServedCommand.h"

#include <memory>

#include "console/base/Timestamp.h"
#include "console/cli/CommandLine.h"
#include "console/cli/CommandTimeLimits.h"
#include "console/model/LiveValues.h"
#include "console/plugin/DatabaseAdvice.h"
#include "console/plugin/EventLogClient.h"
#include "console/plugin/SimulatedService.h"
#include "console/plugin/UnreadableRecords.h"
#include "hostkit/EventLog.h"
#include "hostkit/Paths.h"
#include "service/api/SnapshotSession.h"

namespace Service {
namespace {

using Console::Command;
using Console::CommandResult;
using Console::Context;
using Console::Diagnostics;

std::string Run(const Console::CommandTable& commands, const std::vector<std::string>& arguments,
                const Console::ResultStream& stream, const Console::SessionFactory& open,
                Diagnostics& diagnostics) {
  Console::Options options;
  Console::ParseCommandLine(arguments, options);
  const Command& command = commands.Resolve(options);
  const std::string format =
      options.m_OutputFormat.empty() ? command.m_OutputFormats.front() : options.m_OutputFormat;
  const Console::Style style;
  Context context(options, style, diagnostics, stream, command.m_Name, format,
                  {options.m_Words.begin() + 1, options.m_Words.end()}, {}, open);
  context.SetTimeLimits(Console::LimitsOf(command, options));
  const CommandResult result = command.m_Run(context);
  return Render(result, format, style, context.EnvelopeFor(result.m_Code));
}

// The event log in the database of this service.
class ServiceLog : public Console::EventSource, public Console::DatabaseAdviser {
 public:
  std::vector<HostKit::LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) override {
    return HostKit::ReadEvents(sinceMs, limit);
  }
  std::vector<HostKit::EventCount> CountEvents() override { return HostKit::CountEvents(); }
  std::vector<std::string> DatabaseAdvice() const override {
    return Console::ServiceDatabaseAdvice(HostKit::DatabaseFile().string());
  }
};

// While a card does not respond, the plug-in gets the values last read, which are older than the
// snapshot.
bool IsNotResponding(const Snapshot& snapshot, const Console::Object& object) {
  const PI::CObject* const record = snapshot.Find(object.m_ID);
  return object.m_Kind == Console::Kind::Adapter && object.m_LastRead != 0 &&
         object.m_LastRead < snapshot.m_Times.m_ObservedAt && record != nullptr &&
         Console::HasValueFromCard(*record);
}

void NoteUnreadCards(const Snapshot& snapshot, Diagnostics& diagnostics) {
  const Console::Model model = ModelOf(snapshot);
  for (const Console::Object& object : model.Objects()) {
    if (!IsNotResponding(snapshot, object)) continue;
    diagnostics.Note("CARD_NOT_RESPONDING", object.m_Selector + ": not responding since " +
                                                Console::TimeText(object.m_LastRead) +
                                                "; values are from that time");
  }
}

}  // namespace

std::string RunCommand(const Console::CommandTable& commands,
                       const std::vector<std::string>& arguments,
                       const Console::ResultStream& stream, const Console::SessionFactory& open) {
  Diagnostics diagnostics(Console::Verbosity::Silent);
  return Run(commands, arguments, stream, open, diagnostics);
}

std::string RunOnSnapshot(const Console::CommandTable& commands,
                          const std::vector<std::string>& arguments,
                          const Console::ResultStream& stream, const SnapshotPtr& snapshot,
                          const SnapshotNotes& notes, Console::EventSource* events) {
  Diagnostics diagnostics(Console::Verbosity::Silent);
  if (!snapshot->m_Plugin.m_IsUp) {
    diagnostics.Note("STALE", "the plug-in is not running: " + snapshot->m_Plugin.m_Reason +
                                  "; values are from its last report");
  }
  NoteUnreadCards(*snapshot, diagnostics);
  if (notes.m_IsSimulated) Console::NoteSimulatedService(diagnostics);
  if (!notes.m_RecordsFailure.empty()) {
    Console::ReportUnreadableRecords(
        Console::UnreadableRecordsFailure(notes.m_RecordsFailure, notes.m_DatabaseAdvice),
        diagnostics);
  }
  ServiceLog log;
  const auto open = [&snapshot, &log, events](const Console::SessionRequest& request) {
    request.m_EventLog.ReadFrom(events == nullptr ? &log : events);
    return std::make_unique<SnapshotSession>(snapshot);
  };
  return Run(commands, arguments, stream, open, diagnostics);
}

}  // namespace Service
