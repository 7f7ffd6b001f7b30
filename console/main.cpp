// corvane-host: a host around a storage plug-in, for people and scripts.
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "console/Answer.h"
#include "console/Call.h"
#include "console/CommandLine.h"
#include "console/Commands.h"
#include "console/Context.h"
#include "console/Failure.h"
#include "console/Output.h"
#include "console/Stop.h"

namespace Console {
namespace {

using Words = std::vector<std::string>;

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

// A failure has the same envelope as an answer, without a result.
ExitCode Report(const Failure& failure, const Options& options, const Context* context, Talk& talk,
                AnswerStream& stream) {
  talk.Error(failure.m_Id, failure.m_Text, failure.m_Advice);
  if (!IsJson(options.m_Form)) return failure.m_Code;
  Surroundings around{"", std::nullopt, talk.Messages(), failure.m_Code};
  if (context != nullptr) around = context->Around(failure.m_Code);
  try {
    stream.Write(Envelope(nullptr, around, options.m_Form == "jsonl"));
  } catch (const Failure&) {
    // Standard error has been told; the answer's reader is gone.
  }
  return failure.m_Code;
}

Failure AsFailure(const std::exception& e) {
  if (const auto* failure = dynamic_cast<const Failure*>(&e)) return *failure;
  if (dynamic_cast<const Stopped*>(&e) != nullptr) {
    return Failure(ExitCode::Stopped, "STOPPED", "the command", "it was stopped by a signal");
  }
  return Failure(ExitCode::Failed, "UNEXPECTED", "the command", e.what());
}

ExitCode Main(const Words& arguments) {
  CatchStopSignals();
  Options options;
  std::optional<Failure> wrong;
  const Command* command = nullptr;
  try {
    ParseCommandLine(arguments, options);
    command = &ChooseCommand(options);
  } catch (const Failure& failure) {
    wrong.emplace(failure);
  }
  AnswerStream stream(options.m_Verbose);
  Talk talk(options.m_Quiet);
  const Style style = DecideStyle(options, stream.TerminalWidth());
  if (wrong) return Report(*wrong, options, nullptr, talk, stream);

  const std::string form = options.m_Form.empty() ? command->m_Forms.front() : options.m_Form;
  Context context(options, style, talk, stream, command->m_Name, form,
                  Words(options.m_Words.begin() + 1, options.m_Words.end()));
  try {
    return Run(*command, context, stream);
  } catch (const std::exception& e) {
    context.Close();
    return Report(AsFailure(e), options, &context, talk, stream);
  }
}

}  // namespace
}  // namespace Console

int main(int argc, char** argv) {
  const int code = static_cast<int>(Console::Main(Console::Words(argv + 1, argv + argc)));
  // A plug-in that does not answer still runs in here: nothing may be taken from under it.
  std::fflush(nullptr);
  if (Console::HasAbandonedCalls()) std::_Exit(code);
  return code;
}
