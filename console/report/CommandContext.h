// The context of a running command: its options, session, event log and output.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/base/Options.h"
#include "console/base/Output.h"
#include "console/model/Model.h"
#include "console/plugin/CardStore.h"
#include "console/plugin/EventLogClient.h"
#include "console/plugin/PluginFiles.h"
#include "console/plugin/Session.h"
#include "console/plugin/Simulation.h"
#include "console/plugin/TimeLimits.h"
#include "console/render/CommandResult.h"

namespace Console {

// The arguments of a session factory. The referenced objects must outlive the session.
struct SessionRequest {
  const std::string& m_Command;
  const Options& m_Options;
  Diagnostics& m_Diagnostics;
  EventLogClient& m_EventLog;
  const TimeLimits& m_Limits;
};

// Creates the session of a context. If it returns null, the plug-in is loaded into this process.
using SessionFactory = std::function<std::unique_ptr<Session>(const SessionRequest&)>;

class Context {
 public:
  Context(const Options& options, const Style& style, Diagnostics& diagnostics,
          const ResultStream& stream, std::string command, std::string format,
          std::vector<std::string> arguments, const TimeLimits& limits = {},
          SessionFactory factory = {}, CardStoreFactory cardStoreFactory = {});
  ~Context();

  // Sets the time limits for the plug-in (default: no limits).
  void SetTimeLimits(const TimeLimits& limits) { m_Limits = limits; }

  // Returns a context with other options, which must outlive it. Its session is not open.
  Context WithOptions(const Options& options) const;

  // Applies the options for tracing, the database and simulated cards to this process; simulated
  // cards exist until `Close`. `Open` calls this before it loads a plug-in into this process.
  // Throws `Failure`.
  void PrepareForPlugin();
  // Returns the session. The first call connects to a service, or loads and starts the plug-in,
  // with simulated cards if requested; it adds a note to `m_Diagnostics` if no cards are found.
  Session& Open();
  // Like `Open`, for a command that waits for events. Throws `Failure` if no events can arrive
  // because the plug-in could not start the thread that polls the cards.
  Session& OpenForEvents();
  // Like `OpenForEvents`, for a command that continues when the service is restarted. A lost
  // connection is reported as a note.
  Session& OpenToFollow();
  // Ends the session, if any, which stops a plug-in that runs in this process. Call before writing
  // the result.
  void Close();
  // Returns the current objects.
  Model Objects();

  // Returns the plug-in that the options select, with the simulated cards' library if requested.
  PluginFiles Plugin() const;

  // The host's event log. Open the session before reading, because the session selects the source.
  EventLogClient& EventLog() { return m_EventLog; }

  // Writes a part of the result immediately, for a command that continues. Only the first part has
  // headings.
  void Emit(const CommandResult& result, bool first);
  // The stream of the result, for full-screen output.
  const ResultStream& Stream() const { return m_Stream; }
  // Whether the reader has closed the output.
  bool HasLostReader() const;
  // Returns a wait set that ends a wait when the reader closes the output.
  WaitSet ReaderWaitSet() const;
  // Returns the envelope for a result, with the messages so far.
  Envelope EnvelopeFor(ExitCode code) const;

  const Options& m_Options;
  const Style& m_Style;
  Diagnostics& m_Diagnostics;
  const std::string m_Command;
  const std::string m_OutputFormat;
  const std::vector<std::string> m_Arguments;  // without the command

  // Whether the output is for people: a table or a tree. Other formats ignore the result's text.
  bool PrintsText() const { return m_OutputFormat == "table" || m_OutputFormat == "tree"; }

 private:
  Session& Start();
  void LoadPlugin();

  const ResultStream& m_Stream;
  EventLogClient m_EventLog;
  TimeLimits m_Limits;
  const SessionFactory m_Factory;
  const CardStoreFactory m_CardStoreFactory;
  std::optional<PluginInfo> m_Plugin;
  std::uint64_t m_ObservedAt = 0;  // of the session that was closed
  std::unique_ptr<Simulation> m_pSimulation;
  std::unique_ptr<Session> m_pSession;
};

}  // namespace Console
