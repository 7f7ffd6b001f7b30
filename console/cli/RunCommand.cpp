#include "console/cli/RunCommand.h"

#include <fmt/format.h>

#include "console/base/Output.h"
#include "console/base/StopSignals.h"
#include "console/cli/CommandTimeLimits.h"
#include "console/plugin/UnreadableRecords.h"
#include "console/render/CommandResult.h"
#include "console/report/CheckText.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

using Words = std::vector<std::string>;

bool IsJson(const std::string& format) {
  return format == "json" || format == "jsonl";
}

// Whether a result that was read lacks missing cards, because their records cannot be read.
bool IsIncomplete(const Command& command, const Context& context, const CommandResult& result) {
  return result.m_Code == ExitCode::Done && command.m_Group != Group::Change &&
         !UnreadableRecords(context.m_Diagnostics).empty();
}

// The plug-in is stopped before the result is written, so that a blocked reader cannot keep it
// running.
ExitCode Run(const Command& command, Context& context, ResultStream& stream) {
  CommandResult result = command.m_Run(context);
  if (IsIncomplete(command, context, result)) result.m_Code = ExitCode::Failed;
  context.Close();
  ThrowIfStopped();
  const Style& style = context.m_Style;
  stream.Write(Render(result, context.m_OutputFormat, style, context.EnvelopeFor(result.m_Code)));
  return result.m_Code;
}

// For a usage error without advice, refers to the command's help, or to the general help if the
// command is unknown.
std::vector<std::string> AdviceFor(const Failure& failure, const Invocation& invocation) {
  const Options& options = invocation.m_Options;
  if (!failure.m_Advice.empty() || failure.m_Code != ExitCode::Usage) return failure.m_Advice;
  const bool known =
      !options.m_Words.empty() && invocation.m_Commands.Find(options.m_Words.front()) != nullptr;
  return {"See: corvane-host help" + (known ? " " + options.m_Words.front() : "")};
}

// A usage error does not name the command.
std::string MessageOf(const Failure& failure, const Command* command) {
  const bool lacksCommand = failure.m_Id == kUsageError && command != nullptr;
  return lacksCommand ? fmt::format("{}: {}", command->m_Name, failure.m_Text) : failure.m_Text;
}

// A failure has the same envelope as a result.
std::string FailureText(const Invocation& invocation, const Failure& failure,
                        const Envelope& envelope) {
  const std::string& format = invocation.m_Options.m_OutputFormat;
  if (IsJson(format)) return RenderEnvelope(nullptr, envelope, format == "jsonl");
  if (!invocation.m_Monitored) return {};
  return CheckText(
      Failure(failure.m_Code, failure.m_Id, failure.m_Text, AdviceFor(failure, invocation)));
}

// Monitoring systems show the first line of either stream, so `check` prints diagnostics only if
// standard output cannot be written.
Verbosity VerbosityOf(const Invocation& invocation) {
  if (invocation.m_Monitored && !invocation.m_Options.m_Verbose) return Verbosity::Silent;
  return invocation.m_Options.m_Quiet ? Verbosity::Errors : Verbosity::All;
}

// The exit codes of failures before anything is changed.
bool IsUnchanged(ExitCode code) {
  return code == ExitCode::Usage || code == ExitCode::NoObject || code == ExitCode::Refused;
}

// Returns what is known about the changes of a failed command.
std::optional<bool> ChangedBy(const Command* command, ExitCode code) {
  const bool mayChange = command != nullptr && command->m_Group == Group::Change;
  return mayChange && IsUnchanged(code) ? std::optional(false) : std::nullopt;
}

ExitCode Report(const Invocation& invocation, const Failure& failure, const Context* context,
                Diagnostics& diagnostics, ResultStream& stream) {
  const ExitCode code = invocation.m_Monitored ? ExitCode::Unknown : failure.m_Code;
  diagnostics.Error(failure.m_Id, MessageOf(failure, invocation.m_pCommand),
                    AdviceFor(failure, invocation));
  const char* command = invocation.m_pCommand == nullptr ? "" : invocation.m_pCommand->m_Name;
  Envelope envelope{command, std::nullopt, diagnostics.Messages(), code};
  if (context != nullptr) envelope = context->EnvelopeFor(code);
  envelope.m_Changed = ChangedBy(invocation.m_pCommand, code);
  std::string writeError = failure.m_Id == kWriteFailed ? failure.m_Text : std::string();
  try {
    stream.Write(FailureText(invocation, failure, envelope));
  } catch (const Failure& unwritten) {
    writeError = unwritten.m_Text;
  }
  // Only `check` is silent; for all other commands, standard error already has the failure.
  if (!writeError.empty() && VerbosityOf(invocation) == Verbosity::Silent) {
    Diagnostics(Verbosity::Errors).Error(kWriteFailed, writeError);
  }
  return code;
}

Failure ToFailure(const std::exception& e) {
  if (const auto* failure = dynamic_cast<const Failure*>(&e)) return *failure;
  if (dynamic_cast<const Stopped*>(&e) != nullptr) return StopFailure(e.what());
  return Failure(ExitCode::Failed, "UNEXPECTED", e.what());
}

}  // namespace

ExitCode RunCommand(const Invocation& invocation) {
  const Options& options = invocation.m_Options;
  ResultStream stream(options.m_Verbose);
  Diagnostics diagnostics(VerbosityOf(invocation));
  const Style style = DecideStyle(options, stream.TerminalWidth());
  if (invocation.m_Error)
    return Report(invocation, *invocation.m_Error, nullptr, diagnostics, stream);

  const Command& command = *invocation.m_pCommand;
  const std::string format =
      options.m_OutputFormat.empty() ? command.m_OutputFormats.front() : options.m_OutputFormat;
  Context context(options, style, diagnostics, stream, command.m_Name, format,
                  Words(options.m_Words.begin() + 1, options.m_Words.end()), {},
                  invocation.m_SessionFactory, invocation.m_CardStoreFactory);
  try {
    // A monitored command runs in a separate process, which `RunIsolated` limits.
    if (!invocation.m_Monitored) context.SetTimeLimits(LimitsOf(command, options));
    return Run(command, context, stream);
  } catch (const std::exception& e) {
    context.Close();
    return Report(invocation, ToFailure(e), &context, diagnostics, stream);
  }
}

}  // namespace Console
