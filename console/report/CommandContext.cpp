#include "console/report/CommandContext.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/Descriptor.h"
#include "base/TrustedPath.h"
#include "console/base/StopSignals.h"
#include "console/base/TrustedCode.h"
#include "console/plugin/DatabaseLock.h"
#include "console/plugin/PluginSession.h"
#include "console/plugin/StartChecks.h"
#include "hostkit/ConfigFile.h"
#include "hostkit/Paths.h"
#include "hostkit/Texts.h"
#include "hostkit/Tracing.h"

namespace Console {
namespace {

constexpr const char* kNoWorker = "NO_WORKER";
constexpr const char* kNoWorkerText =
    "the plug-in could not start the thread that polls the cards; no events will arrive";
constexpr const char* kThreadAdvice =
    "Allow this user more processes and threads (ulimit -u), or free memory.";

constexpr const char* kConfigFile = "Corvane.ini";

ExitCode CodeForErrno(int error) {
  return error == EACCES || error == EPERM ? ExitCode::Permission : ExitCode::Failed;
}

std::vector<std::string> ConfigAdvice(const std::filesystem::path& file, int error) {
  switch (error) {
    case 0:
      return {"Repair or remove the file. Nothing was changed."};
    case EACCES:
      return {fmt::format("Check the permissions of the file and its directories: namei -l {}",
                          file.string()),
              "Run the command as the file's owner or as root. Nothing was changed."};
    case EPERM:
      return TrustAdvice(file);
    default:
      return {"Nothing was changed."};
  }
}

// Throws `Failure` if the configuration file cannot be read: the plug-in would use defaults, and
// the next change would overwrite the file.
void RequireReadableConfig() {
  PI::CConfigFile config;
  config.SetFileName(kConfigFile);
  std::string value;
  if (config.ReadKeyValue("PollInterval", value, -1, -1) != HostKit::RESULT_UNREADABLE) {
    return;
  }
  const std::filesystem::path file = (HostKit::ConfigDirectory() / kConfigFile).native();
  const std::string trustError = Base::ResolveTrusted(file.string()).m_TrustError;
  const int error = trustError.empty() ? Base::CheckReadable(file.string()) : EPERM;
  const std::string why = trustError.empty() ? std::strerror(error) : trustError;
  throw Failure(CodeForErrno(error), "CONFIG_UNREADABLE",
                fmt::format("cannot read {}", file.string()), error == 0 ? "not an ini file" : why,
                ConfigAdvice(file, error));
}

void StartTracing(const Options& options) {
  if (!options.m_TraceFile.empty() && !HostKit::SetTraceFile(options.m_TraceFile)) {
    const int error = errno;
    const std::string trustError = Base::ResolveTrusted(options.m_TraceFile).m_TrustError;
    throw Failure(trustError.empty() ? CodeForErrno(error) : ExitCode::Permission, "TRACE_FILE",
                  fmt::format("cannot open trace file {}", options.m_TraceFile),
                  trustError.empty() ? std::strerror(error) : trustError);
  }
  if (!options.m_Trace) return;
  const auto mask = HostKit::ParseTraceLevels(*options.m_Trace);
  if (!mask) {
    throw UsageFailure(fmt::format("--trace: invalid levels '{}'", *options.m_Trace),
                       {"Valid: a number, a list of levels such as 2,4,16, all or off."});
  }
  HostKit::SetTraceMask(*mask);
}

// The option would have no effect on a service, and it has already been given for a simulation.
std::vector<std::string> NoCardsAdvice(const Session& session, const Options& options) {
  if (session.IsShared() || options.m_Simulate) return {};
  return {"Pass --simulate to use simulated cards."};
}

// Simulated cards have their own default database, so that they never count as missing cards of
// this machine.
void SelectDatabase(const Options& options) {
  constexpr const char* kVariable = "CORVANE_DATABASE";
  if (!options.m_Database.empty()) {
    setenv(kVariable, options.m_Database.c_str(), 1);
  } else if (const char* given = secure_getenv(kVariable);
             options.m_Simulate && (given == nullptr || *given == '\0')) {
    const auto file = HostKit::DatabaseFile().parent_path() / "simulated.db";
    setenv(kVariable, file.string().c_str(), 1);
  }
}

std::string NoCardsText() {
  return HostKit::CaptionOf(HostKit::Family::Error, PI::ERR_NO_SUPPORTED_HARDWARE);
}

bool HasAdapter(const Model& model) {
  return std::any_of(model.Objects().begin(), model.Objects().end(),
                     [](const Object& object) { return object.m_Kind == Kind::Adapter; });
}

}  // namespace

Context::Context(const Options& options, const Style& style, Diagnostics& diagnostics,
                 const ResultStream& stream, std::string command, std::string format,
                 std::vector<std::string> arguments, const TimeLimits& limits,
                 SessionFactory factory, CardStoreFactory cardStoreFactory)
    : m_Options(options),
      m_Style(style),
      m_Diagnostics(diagnostics),
      m_Command(std::move(command)),
      m_OutputFormat(std::move(format)),
      m_Arguments(std::move(arguments)),
      m_Stream(stream),
      m_EventLog(diagnostics),
      m_Limits(limits),
      m_Factory(std::move(factory)),
      m_CardStoreFactory(std::move(cardStoreFactory)) {}

Context::~Context() {
  Close();
}

Context Context::WithOptions(const Options& options) const {
  return Context(options, m_Style, m_Diagnostics, m_Stream, m_Command, m_OutputFormat, m_Arguments,
                 m_Limits, m_Factory, m_CardStoreFactory);
}

Session& Context::Open() {
  if (m_pSession) return *m_pSession;
  if (Start().FailedThreads() > 0) m_Diagnostics.Note(kNoWorker, kNoWorkerText, {kThreadAdvice});
  return *m_pSession;
}

Session& Context::OpenForEvents() {
  if (!m_pSession) Start();
  if (m_pSession->FailedThreads() == 0) return *m_pSession;
  throw Failure(ExitCode::Failed, kNoWorker, "cannot wait", kNoWorkerText, {kThreadAdvice});
}

Session& Context::OpenToFollow() {
  Session& session = OpenForEvents();
  session.KeepConnected([this] {
    m_Diagnostics.Note("SERVICE_LOST", "the connection to the service was lost; reconnecting");
  });
  return session;
}

Session& Context::Start() {
  if (m_Factory) {
    m_pSession = m_Factory({m_Command, m_Options, m_Diagnostics, m_EventLog, m_Limits});
  }
  if (!m_pSession) LoadPlugin();
  m_Plugin = m_pSession->Info();
  ThrowIfStopped();
  if (!m_pSession->HasCards() && !HasAdapter(Objects())) {
    m_Diagnostics.Note(HostKit::NameOf(HostKit::Family::Error, PI::ERR_NO_SUPPORTED_HARDWARE),
                       NoCardsText(), NoCardsAdvice(*m_pSession, m_Options));
  }
  return *m_pSession;
}

void Context::PrepareForPlugin() {
  RequireFreeDescriptors();
  StartTracing(m_Options);
  RequireReadableConfig();
  SelectDatabase(m_Options);
  if (m_Options.m_Simulate)
    m_pSimulation = std::make_unique<Simulation>(*m_Options.m_Simulate, m_Limits);
  ThrowIfStopped();
}

PluginFiles Context::Plugin() const {
  return {
      m_Options.m_Plugin.empty() ? DefaultPluginFile() : std::filesystem::path(m_Options.m_Plugin),
      m_Options.m_Simulate ? SimulatedCardLibrary() : std::filesystem::path()};
}

void Context::LoadPlugin() {
  PrepareForPlugin();
  RequireNoService();
  auto session = std::make_unique<PluginSession>(Plugin(), m_EventLog, m_Diagnostics, m_Limits);
  if (m_CardStoreFactory) session->UseCardStore(m_CardStoreFactory());
  m_pSession = std::move(session);
  ThrowIfStopped();
  if (!m_pSession->HasCards()) RequireReadableBus();
}

Model Context::Objects() {
  Session& session = Open();
  const std::vector<PI::CObject> topology = session.Topology();
  return Model(topology, session.Times(), session.Cards());
}

void Context::Close() {
  if (m_pSession) m_ObservedAt = m_pSession->Times().m_ObservedAt;
  m_pSession.reset();
  m_pSimulation.reset();
}

void Context::Emit(const CommandResult& result, bool first) {
  Style style = m_Style;
  style.m_Headings = style.m_Headings && first;
  m_Stream.Write(Render(result, m_OutputFormat, style, EnvelopeFor(result.m_Code)));
}

WaitSet Context::ReaderWaitSet() const {
  WaitSet waitSet;
  if (m_Stream.File() != nullptr) waitSet.m_Reader = fileno(m_Stream.File());
  return waitSet;
}

bool Context::HasLostReader() const {
  const int result = ReaderWaitSet().m_Reader;
  return result >= 0 && Console::HasLostReader(result);
}

Envelope Context::EnvelopeFor(ExitCode code) const {
  return {m_Command, m_Plugin, m_Diagnostics.Messages(), code,
          m_pSession ? m_pSession->Times().m_ObservedAt : m_ObservedAt};
}

}  // namespace Console
