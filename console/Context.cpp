#include "console/Context.h"

#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "console/PluginSession.h"
#include "console/Stop.h"
#include "hostkit/Paths.h"
#include "hostkit/Texts.h"
#include "hostkit/Tracing.h"

namespace Console {
namespace {

constexpr const char* kConfigFile = "Corvane.ini";

ExitCode CodeForErrno(int error) {
  return error == EACCES || error == EPERM ? ExitCode::Permission : ExitCode::Failed;
}

// A plug-in would take the default for what it cannot read, and the next change would replace the
// file: better not to start.
void RequireReadableConfig() {
  PI::CConfigFile config;
  config.SetFileName(kConfigFile);
  std::string value;
  if (config.ReadKeyValue("PollInterval", value, -1, -1) != PI::CConfigFile::RESULT_UNREADABLE) {
    return;
  }
  const std::string file = (HostKit::ConfigFolder() / kConfigFile).string();
  const int error = access(file.c_str(), R_OK) == 0 ? 0 : errno;
  throw Failure(CodeForErrno(error), "CONFIG_UNREADABLE", fmt::format("reading {}", file),
                error == 0 ? "it is no ini file" : std::strerror(error),
                {"Repair or remove it; nothing was changed."});
}

void StartTracing(const Options& options) {
  if (!options.m_TraceFile.empty() && !HostKit::SetTraceFile(options.m_TraceFile)) {
    const int error = errno;
    throw Failure(CodeForErrno(error), "TRACE_FILE",
                  fmt::format("opening the trace file {}", options.m_TraceFile),
                  "it cannot be written");
  }
  if (!options.m_Trace) return;
  const auto mask = HostKit::ParseTraceLevels(*options.m_Trace);
  if (!mask) {
    throw UsageFailure(fmt::format("--trace cannot be '{}'", *options.m_Trace),
                       {"It may be a number, a list of levels such as 2,4,16, all or off."});
  }
  HostKit::SetTraceMask(*mask);
}

std::string WhyNoCards() {
  return HostKit::CaptionOf(HostKit::Family::Error, PI::ERR_NO_SUPPORTED_HARDWARE);
}

}  // namespace

Context::Context(const Options& options, const Style& style, Talk& talk, AnswerStream& stream,
                 std::string command, std::string form, std::vector<std::string> arguments)
    : m_Options(options),
      m_Style(style),
      m_Talk(talk),
      m_Command(std::move(command)),
      m_Form(std::move(form)),
      m_Arguments(std::move(arguments)),
      m_Stream(stream),
      m_History(talk) {}

Context::~Context() {
  Close();
}

Context Context::With(const Options& options) const {
  return Context(options, m_Style, m_Talk, m_Stream, m_Command, m_Form, m_Arguments);
}

Session& Context::Open() {
  if (m_pSession) return *m_pSession;
  StartTracing(m_Options);
  RequireReadableConfig();
  if (!m_Options.m_Database.empty()) setenv("CORVANE_DATABASE", m_Options.m_Database.c_str(), 1);
  if (m_Options.m_Simulate) m_pSimulation = std::make_unique<Simulation>(*m_Options.m_Simulate);
  CheckStop();
  m_pSession = std::make_unique<PluginSession>(
      m_Options.m_Plugin.empty() ? DefaultPluginFile() : std::filesystem::path(m_Options.m_Plugin),
      m_History);
  m_Plugin = m_pSession->Info();
  CheckStop();
  if (!m_pSession->HasCards()) {
    m_Talk.Note(HostKit::NameOf(HostKit::Family::Error, PI::ERR_NO_SUPPORTED_HARDWARE),
                WhyNoCards(), {"Cards that are only simulated are shown with --simulate."});
  }
  return *m_pSession;
}

void Context::Close() {
  m_pSession.reset();
  m_pSimulation.reset();
}

void Context::Emit(const Answer& answer, bool first) {
  Style style = m_Style;
  style.m_Headings = style.m_Headings && first;
  m_Stream.Write(Render(answer, m_Form, style, Around(answer.m_Code)));
}

Interest Context::InReader() const {
  Interest interest;
  if (m_Stream.File() != nullptr) interest.m_Reader = fileno(m_Stream.File());
  return interest;
}

bool Context::HasLostReader() const {
  const int answer = InReader().m_Reader;
  return answer >= 0 && Console::HasLostReader(answer);
}

Surroundings Context::Around(ExitCode code) const {
  return {m_Command, m_Plugin, m_Talk.Messages(), code};
}

}  // namespace Console
