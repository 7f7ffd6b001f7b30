// The objects and events of a live view, read at the pace of the plug-in.
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
  // An event as it was when it arrived: its object may be gone since.
  struct Entry {
    Row m_Row;
    Json m_Json;
    Severity m_Severity;
  };

  // Reads everything once, including the pending events.
  explicit LiveModel(Session& session);

  // Of events that are kept.
  static constexpr std::size_t kMaxEvents = 1000;

  // Puts events of earlier runs before those received.
  void Recall(const std::vector<LoggedEvent>& past);

  // Waits for a notification or for a third of the poll interval since the last reading, whichever
  // comes first, but at most `timeout` and only until one of `also` is ready. True if it has read
  // everything again. Throws `Stopped` on a stop signal.
  bool Wait(std::chrono::milliseconds timeout, const WaitSet& also);

  const Model& Objects() const { return m_Model; }
  // The newest last; the oldest are dropped when there are very many.
  const std::deque<Entry>& Log() const { return m_Log; }
  // The number of events received or recalled, including dropped ones.
  std::size_t EventCount() const { return m_EventCount; }
  // The temperatures read so far, the newest last; empty for an object without one.
  const std::deque<double>& Temperatures(std::uint64_t object) const;
  // The interval at which the plug-in reads all values.
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
