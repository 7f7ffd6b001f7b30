// What a command works with while it runs.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Options.h"
#include "console/base/Output.h"
#include "console/model/Model.h"
#include "console/plugin/EventHistory.h"
#include "console/plugin/Session.h"
#include "console/plugin/Simulation.h"
#include "console/plugin/TimeLimits.h"
#include "console/render/CommandResult.h"

namespace Console {

class Context {
 public:
  Context(const Options& options, const Style& style, Diagnostics& diagnostics,
          ResultStream& stream, std::string command, std::string form,
          std::vector<std::string> arguments, const TimeLimits& limits = {});
  ~Context();

  // How long the plug-in may take; without limits until it is told.
  void Limit(const TimeLimits& limits) { m_Limits = limits; }

  // The same with other options, which must outlive it, and not yet open.
  Context With(const Options& options) const;

  // The session; the first call brings the plug-in up, with simulated cards if so wanted, and notes
  // when there is no card.
  Session& Open();
  // The same for a command that waits for what happens. Throws `Failure` when nothing ever will,
  // since the plug-in could not start the thread that watches the cards.
  Session& OpenToWait();
  // Stops the plug-in; the answer is written after that. Does nothing when it is not up.
  void Close();
  // The objects as they are now.
  Model Objects() { return Model(Open().Topology()); }

  // The host's event log; to be read when the session is open.
  History& EventLog() { return m_History; }

  // Writes a part of the answer now, for a command that goes on.
  void Emit(const CommandResult& result, bool first);
  // Where the answer goes, for a screen.
  const ResultStream& Stream() const { return m_Stream; }
  // Whether nobody reads the answer any more, and the interest that ends a wait at that moment.
  bool HasLostReader() const;
  WaitSet ReaderWaitSet() const;
  // What surrounds the answer so far.
  Envelope EnvelopeFor(ExitCode code) const;

  const Options& m_Options;
  const Style& m_Style;
  Diagnostics& m_Diagnostics;
  const std::string m_Command;
  const std::string m_Form;
  const std::vector<std::string> m_Arguments;  // without the verb

 private:
  Session& Start();

  ResultStream& m_Stream;
  History m_History;
  TimeLimits m_Limits;
  std::optional<PluginInfo> m_Plugin;
  std::unique_ptr<Simulation> m_pSimulation;
  std::unique_ptr<Session> m_pSession;
};

}  // namespace Console
