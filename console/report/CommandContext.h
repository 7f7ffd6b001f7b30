// What a command works with while it runs.
#pragma once

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
#include "console/plugin/EventLogClient.h"
#include "console/plugin/Session.h"
#include "console/plugin/Simulation.h"
#include "console/plugin/TimeLimits.h"
#include "console/render/CommandResult.h"

namespace Console {

// What a session is made for. The references outlive the session.
struct SessionRequest {
  const std::string& m_Command;
  const Options& m_Options;
  Diagnostics& m_Diagnostics;
  EventLogClient& m_EventLog;
  const TimeLimits& m_Limits;
};

// Makes the session of a context; null: load the plug-in into this process.
using SessionFactory = std::function<std::unique_ptr<Session>(const SessionRequest&)>;

class Context {
 public:
  Context(const Options& options, const Style& style, Diagnostics& diagnostics,
          const ResultStream& stream, std::string command, std::string form,
          std::vector<std::string> arguments, const TimeLimits& limits = {},
          SessionFactory factory = {});
  ~Context();

  // Sets how long the plug-in may take (default: no limit).
  void Limit(const TimeLimits& limits) { m_Limits = limits; }

  // A new context with other options, which must outlive it; its session is not open.
  Context With(const Options& options) const;

  // Applies the options that a plug-in depends on to this process: tracing, database, simulated
  // cards, which exist until `Close`. `Open` does that for a plug-in in this process. Throws
  // `Failure`.
  void PrepareForPlugin();
  // The session. The first call starts the plug-in, with simulated cards if requested, and adds a
  // note if no cards are found.
  Session& Open();
  // The same for a command that waits for events. Throws `Failure` if none can arrive because the
  // plug-in could not start the thread that polls the cards.
  Session& OpenToWait();
  // Stops the plug-in; the result is written after that. Does nothing if it is not running.
  void Close();
  // The objects as they are now.
  Model Objects() { return Model(Open().Topology()); }

  // The plug-in that the options select.
  std::filesystem::path PluginFile() const;

  // The host's event log; to be read when the session is open.
  EventLogClient& EventLog() { return m_EventLog; }

  // Writes a part of the result now, for a command that continues.
  void Emit(const CommandResult& result, bool first);
  // The stream of the result, for a screen.
  const ResultStream& Stream() const { return m_Stream; }
  // Whether the reader of the result is gone, and the wait set that ends a wait when it goes.
  bool HasLostReader() const;
  WaitSet ReaderWaitSet() const;
  // The envelope for a result, with the messages so far.
  Envelope EnvelopeFor(ExitCode code) const;

  const Options& m_Options;
  const Style& m_Style;
  Diagnostics& m_Diagnostics;
  const std::string m_Command;
  const std::string m_Form;
  const std::vector<std::string> m_Arguments;  // without the verb

 private:
  Session& Start();
  void LoadPlugin();

  const ResultStream& m_Stream;
  EventLogClient m_EventLog;
  TimeLimits m_Limits;
  const SessionFactory m_Factory;
  std::optional<PluginInfo> m_Plugin;
  std::unique_ptr<Simulation> m_pSimulation;
  std::unique_ptr<Session> m_pSession;
};

}  // namespace Console
