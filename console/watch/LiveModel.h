// The objects and events of a live view, read again after each notification of the plug-in and at
// regular intervals.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "console/model/Model.h"
#include "console/plugin/EventLogClient.h"
#include "console/plugin/Session.h"
#include "console/render/CommandResult.h"

namespace Console {

class LiveModel {
 public:
  // An event, rendered when it arrived, because its object may be removed later.
  struct Entry {
    Row m_Row;
    Json m_Json;
    Severity m_Severity;
  };

  // Reads all objects and the pending events.
  explicit LiveModel(Session& session);

  // The number of events that are kept.
  static constexpr std::size_t kMaxEvents = 1000;

  // Inserts events of earlier runs before the events received so far.
  void AddPastEvents(const std::vector<LoggedEvent>& past);

  // Waits for a notification or until a third of the poll interval has elapsed since the last
  // reading, then reads everything again and returns true. Returns false if `timeout` expires or a
  // descriptor of `extra` is ready first. Throws `Stopped` on a stop signal.
  bool Wait(std::chrono::milliseconds timeout, const WaitSet& extra);

  // The objects as last read.
  const Model& CurrentModel() const { return m_Model; }
  // The newest `kMaxEvents` events, the newest last.
  const std::deque<Entry>& Log() const { return m_Log; }
  // The number of events received or added, including dropped ones.
  std::size_t EventCount() const { return m_EventCount; }
  // The latest temperatures of an object, the newest last; empty for an object without a
  // temperature.
  const std::deque<double>& Temperatures(std::uint64_t object) const;
  // Whether the objects are the plug-in's current report. If not, the connection to the service is
  // lost or the plug-in is not running.
  bool IsCurrent() const { return m_Session.IsUp(); }
  // When the plug-in reported the objects, in milliseconds since the epoch.
  std::uint64_t ObservedAt() const { return m_Session.Times().m_ObservedAt; }
  // The interval at which the plug-in polls the cards.
  std::chrono::milliseconds PollInterval() const { return m_PollInterval; }

 private:
  void Read();
  void Remember(const Object* object, const LoggedEvent& event);
  void RememberTemperatures();

  Session& m_Session;
  Model m_Model;
  std::deque<Entry> m_Log;
  std::size_t m_EventCount = 0;
  std::map<std::uint64_t, std::deque<double>> m_Temperatures;
  std::chrono::milliseconds m_PollInterval;
  std::chrono::steady_clock::time_point m_NextReading;
};

}  // namespace Console
