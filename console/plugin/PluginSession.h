// A session with a plug-in that is loaded into this process.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/base/Notifier.h"
#include "console/plugin/CardLibraryGuard.h"
#include "console/plugin/CardStore.h"
#include "console/plugin/CommandSession.h"
#include "console/plugin/LocateLedReader.h"
#include "console/plugin/PluginLibrary.h"
#include "hostkit/FailedThreads.h"

namespace Console {

// Calls are abandoned if the plug-in does not respond in time. A stop signal also ends reads, but
// not changes to a card.
class PluginSession : public CommandSession {
 public:
  // Loads and starts the plug-in, which takes more than a second. Throws `Failure`, but not if the
  // plug-in finds no cards. The event log and the diagnostics must outlive the session.
  PluginSession(const PluginFiles& files, EventLogClient& eventLog, Diagnostics& diagnostics,
                const TimeLimits& limits);
  // From the next topology on, records the cards that the plug-in reports, and returns all known
  // cards from `Cards`.
  void UseCardStore(std::unique_ptr<CardStore> store) { m_pCardStore = std::move(store); }

  // Logs the pending events, then stops and unloads the plug-in, which waits up to 25 seconds for
  // running jobs. A plug-in that does not stop is abandoned, and a note is added. While a call to
  // the card library is stuck, the plug-in stays loaded until the program exits.
  ~PluginSession() override;

  PluginInfo Info() const override { return m_Info; }
  std::vector<PI::CObject> Topology() override;
  CardRecords Cards() const override;
  std::size_t FailedThreads() const override {
    return HostKit::FailedThreads() - m_FailedThreadsBefore;
  }
  std::vector<UnresponsiveCard> UnresponsiveCards() const override {
    return GetCardLibraryGuard().m_UnresponsiveCards();
  }
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds timeout, const WaitSet& extra) override;

 private:
  // Used by the plug-in's threads. The order of the members matters: the instance is destroyed
  // before its library, and the notifier after both.
  struct Loaded {
    explicit Loaded(const PluginFiles& files) : m_Library(files), m_Plugin(m_Library) {}

    Notifier m_Notifier;
    PluginLibrary m_Library;
    PluginInstance m_Plugin;
  };

  void Load(const PluginFiles& files);
  void NoteUnlistedCards(const UnresponsiveCard& card);
  void Stop();
  static bool CallWithThreadRetry(const std::function<std::uint32_t()>& call,
                                  const Deadline& deadline);
  std::optional<PluginReply> Call(PluginCommand command, const Deadline& deadline,
                                  OnStop onStop) override;
  void Abandon() override;

  std::unique_ptr<CardStore> m_pCardStore;  // null: no records
  CardRecords m_Records;
  LocateLedReader m_LedReader{std::chrono::milliseconds(0)};
  std::vector<LocateLed> m_LocateLeds;
  // Addresses of the cards that the plug-in has never reported. Empty until the first topology.
  std::optional<std::vector<std::string>> m_Unreported;
  std::unique_ptr<Loaded> m_pLoaded;  // null: stopped or abandoned
  PluginInfo m_Info;
  Diagnostics& m_Diagnostics;
  const std::size_t m_FailedThreadsBefore = HostKit::FailedThreads();
};

}  // namespace Console
