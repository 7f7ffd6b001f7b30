// corvane-host: a host around a storage plug-in, for people and scripts.
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "console/Answer.h"
#include "console/Child.h"
#include "console/CommandLine.h"
#include "console/Commands.h"
#include "console/Context.h"
#include "console/Failure.h"
#include "console/Output.h"
#include "console/Span.h"
#include "console/Stop.h"
#include "console/Verdict.h"

namespace Console {
namespace {

using Words = std::vector<std::string>;

// What is known of the run when its arguments have been read.
struct Start {
  Options m_Options;
  const Command* m_pCommand = nullptr;
  bool m_Monitored = false;  // a monitoring system waits for the answer
  std::optional<Failure> m_Wrong;
};

bool IsJson(const std::string& form) {
  return form == "json" || form == "jsonl";
}

// The plug-in is stopped before the answer is written: a reader that has gone must not keep it up.
ExitCode Run(const Command& command, Context& context, AnswerStream& stream) {
  const Answer answer = command.m_Run(context);
  context.Close();
  CheckStop();
  const Style& style = context.m_Style;
  stream.Write(Render(answer, context.m_Form, style, context.Around(answer.m_Code)));
  return answer.m_Code;
}

// A wrong command line without better advice leads to the help, of its command if it has one.
std::vector<std::string> AdviceFor(const Failure& failure, const Options& options) {
  if (!failure.m_Advice.empty() || failure.m_Code != ExitCode::Usage) return failure.m_Advice;
  const bool known = !options.m_Words.empty() && FindCommand(options.m_Words.front()) != nullptr;
  return {"See: corvane-host help" + (known ? " " + options.m_Words.front() : "")};
}

// A failure has the same envelope as an answer, without a result.
std::string FailureText(const Start& start, const Failure& failure, const Surroundings& around) {
  const std::string& form = start.m_Options.m_Form;
  if (IsJson(form)) return Envelope(nullptr, around, form == "jsonl");
  return start.m_Monitored ? CheckText(failure) : std::string();
}

ExitCode Report(const Start& start, const Failure& failure, const Context* context, Talk& talk,
                AnswerStream& stream) {
  const ExitCode code = start.m_Monitored ? ExitCode::Unknown : failure.m_Code;
  talk.Error(failure.m_Id, failure.m_Text, AdviceFor(failure, start.m_Options));
  const char* command = start.m_pCommand == nullptr ? "" : start.m_pCommand->m_Name;
  Surroundings around{command, std::nullopt, talk.Messages(), code};
  if (context != nullptr) around = context->Around(code);
  try {
    stream.Write(FailureText(start, failure, around));
  } catch (const Failure&) {
    // Standard error has been told; the answer's reader is gone.
  }
  return code;
}

Failure StopFailure() {
  return Failure(ExitCode::Stopped, "STOPPED", "the command", "it was stopped by a signal");
}

Failure AsFailure(const std::exception& e) {
  if (const auto* failure = dynamic_cast<const Failure*>(&e)) return *failure;
  if (dynamic_cast<const Stopped*>(&e) != nullptr) return StopFailure();
  return Failure(ExitCode::Failed, "UNEXPECTED", "the command", e.what());
}

// Monitoring systems show the first line that they get from either stream.
Volume VolumeOf(const Start& start) {
  if (start.m_Monitored && !start.m_Options.m_Verbose) return Volume::Nothing;
  return start.m_Options.m_Quiet ? Volume::Errors : Volume::All;
}

// Runs the command, or reports what is wrong with it.
ExitCode Perform(const Start& start) {
  const Options& options = start.m_Options;
  AnswerStream stream(options.m_Verbose);
  Talk talk(VolumeOf(start));
  const Style style = DecideStyle(options, stream.TerminalWidth());
  if (start.m_Wrong) return Report(start, *start.m_Wrong, nullptr, talk, stream);

  const Command& command = *start.m_pCommand;
  const std::string form = options.m_Form.empty() ? command.m_Forms.front() : options.m_Form;
  Context context(options, style, talk, stream, command.m_Name, form,
                  Words(options.m_Words.begin() + 1, options.m_Words.end()));
  try {
    return Run(command, context, stream);
  } catch (const std::exception& e) {
    context.Close();
    return Report(start, AsFailure(e), &context, talk, stream);
  }
}

std::chrono::milliseconds CheckTimeout(const Options& options) {
  // Below the minute after which monitoring systems give up by themselves.
  constexpr std::chrono::seconds kDefault(30);
  if (options.m_Timeout.empty()) return kDefault;
  return ParseSpan("--timeout", options.m_Timeout);
}

Failure EndingFailure(const Ending& ending, std::chrono::milliseconds timeout) {
  switch (ending.m_How) {
    case How::TimedOut:
      return Failure(ExitCode::TimedOut, "TIMED_OUT", "looking at the cards",
                     fmt::format("it took longer than {} ms", timeout.count()),
                     {"Give it more time with --timeout."});
    case How::Stopped:
      return StopFailure();
    case How::Killed:
      return Failure(ExitCode::Failed, "CRASHED", "looking at the cards",
                     fmt::format("the program crashed ({})", strsignal(ending.m_Number)));
    case How::Exited:
      break;
  }
  return Failure(ExitCode::Failed, "CRASHED", "looking at the cards",
                 fmt::format("the program ended with code {}", ending.m_Number));
}

// A code that says nothing, or none of the answer, is not the command's.
bool IsAnswer(const Ending& ending) {
  return ending.m_How == How::Exited && ending.m_Number <= static_cast<int>(ExitCode::Unknown) &&
         !ending.m_Output.empty();
}

// What a plug-in or its library prints there would come before the answer where a monitoring system
// reads both streams as one.
void SilenceErrors() {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0) return;
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

int PerformForMonitoring(const Start& start) {
  if (!start.m_Options.m_Verbose && !start.m_Options.m_Trace) SilenceErrors();
  return static_cast<int>(Perform(start));
}

// A monitoring system gets its answer in time whatever the plug-in does.
ExitCode PerformGuarded(Start start) {
  try {
    const std::chrono::milliseconds timeout = CheckTimeout(start.m_Options);
    const Ending ending = RunInChild([&] { return PerformForMonitoring(start); }, timeout);
    if (!IsAnswer(ending)) throw EndingFailure(ending, timeout);
    AnswerStream(false).Write(ending.m_Output);
    return static_cast<ExitCode>(ending.m_Number);
  } catch (const Failure& failure) {
    start.m_Wrong.emplace(failure);
  }
  return Perform(start);
}

// The verb, found without a full understanding of the arguments.
std::string GuessVerb(const Words& arguments, const Options& options) {
  const auto isVerb = [](const std::string& word) { return FindCommand(word) != nullptr; };
  if (!options.m_Words.empty() && isVerb(options.m_Words.front())) return options.m_Words.front();
  const auto found = std::find_if(arguments.begin(), arguments.end(), isVerb);
  return found == arguments.end() ? std::string() : *found;
}

ExitCode Main(const Words& arguments) {
  CatchStopSignals();
  Start start;
  try {
    ParseCommandLine(arguments, start.m_Options);
    start.m_pCommand = &ChooseCommand(start.m_Options);
  } catch (const Failure& failure) {
    start.m_Wrong.emplace(failure);
  }
  start.m_Monitored = GuessVerb(arguments, start.m_Options) == "check";
  return start.m_Monitored && !start.m_Wrong ? PerformGuarded(start) : Perform(start);
}

}  // namespace
}  // namespace Console

int main(int argc, char** argv) {
  return static_cast<int>(Console::Main(Console::Words(argv + 1, argv + argc)));
}
