#include "console/cli/RunCommand.h"

#include "console/base/Output.h"
#include "console/base/StopSignals.h"
#include "console/cli/CommandTimeLimits.h"
#include "console/render/CommandResult.h"
#include "console/report/CheckResult.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

using Words = std::vector<std::string>;

bool IsJson(const std::string& form) {
  return form == "json" || form == "jsonl";
}

// The plug-in is stopped before the result is written, so that a blocked reader cannot keep it
// running.
ExitCode Run(const Command& command, Context& context, ResultStream& stream) {
  const CommandResult result = command.m_Run(context);
  context.Close();
  CheckStop();
  const Style& style = context.m_Style;
  stream.Write(Render(result, context.m_Form, style, context.EnvelopeFor(result.m_Code)));
  return result.m_Code;
}

// A usage error without advice refers to the help, of the command if it is known.
std::vector<std::string> AdviceFor(const Failure& failure, const Start& start) {
  const Options& options = start.m_Options;
  if (!failure.m_Advice.empty() || failure.m_Code != ExitCode::Usage) return failure.m_Advice;
  const bool known =
      !options.m_Words.empty() && start.m_Commands.Find(options.m_Words.front()) != nullptr;
  return {"See: corvane-host help" + (known ? " " + options.m_Words.front() : "")};
}

// A failure has the same envelope as a result.
std::string FailureText(const Start& start, const Failure& failure, const Envelope& envelope) {
  const std::string& form = start.m_Options.m_Form;
  if (IsJson(form)) return RenderEnvelope(nullptr, envelope, form == "jsonl");
  return start.m_Monitored ? CheckText(failure) : std::string();
}

ExitCode Report(const Start& start, const Failure& failure, const Context* context,
                Diagnostics& diagnostics, ResultStream& stream) {
  const ExitCode code = start.m_Monitored ? ExitCode::Unknown : failure.m_Code;
  diagnostics.Error(failure.m_Id, failure.m_Text, AdviceFor(failure, start));
  const char* command = start.m_pCommand == nullptr ? "" : start.m_pCommand->m_Name;
  Envelope envelope{command, std::nullopt, diagnostics.Messages(), code};
  if (context != nullptr) envelope = context->EnvelopeFor(code);
  try {
    stream.Write(FailureText(start, failure, envelope));
  } catch (const Failure&) {
    // The failure is on standard error already; the reader of standard output is gone.
  }
  return code;
}

Failure AsFailure(const std::exception& e) {
  if (const auto* failure = dynamic_cast<const Failure*>(&e)) return *failure;
  if (dynamic_cast<const Stopped*>(&e) != nullptr) return StopFailure(e.what());
  return Failure(ExitCode::Failed, "UNEXPECTED", e.what());
}

// Monitoring systems show the first line of either stream.
Volume VolumeOf(const Start& start) {
  if (start.m_Monitored && !start.m_Options.m_Verbose) return Volume::Nothing;
  return start.m_Options.m_Quiet ? Volume::Errors : Volume::All;
}

}  // namespace

ExitCode RunCommand(const Start& start) {
  const Options& options = start.m_Options;
  ResultStream stream(options.m_Verbose);
  Diagnostics diagnostics(VolumeOf(start));
  const Style style = DecideStyle(options, stream.TerminalWidth());
  if (start.m_Wrong) return Report(start, *start.m_Wrong, nullptr, diagnostics, stream);

  const Command& command = *start.m_pCommand;
  const std::string form = options.m_Form.empty() ? command.m_Forms.front() : options.m_Form;
  Context context(options, style, diagnostics, stream, command.m_Name, form,
                  Words(options.m_Words.begin() + 1, options.m_Words.end()));
  try {
    // A monitored command has one time limit and runs in a process of its own.
    if (!start.m_Monitored) context.Limit(LimitsOf(command, options));
    return Run(command, context, stream);
  } catch (const std::exception& e) {
    context.Close();
    return Report(start, AsFailure(e), &context, diagnostics, stream);
  }
}

}  // namespace Console
