// Runs the programs of a directory on each event.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "console/base/Notifier.h"

namespace Hooks {

struct Event {
  std::int64_t m_Number = 0;  // rises from event to event, also across restarts
  nlohmann::ordered_json m_Document;
};

struct ProgramSettings {
  std::filesystem::path m_Directory;
  // Keeps the number of the last event whose programs were started; empty: not kept.
  std::filesystem::path m_StateFile;
  std::chrono::milliseconds m_Timeout{30000};  // of a program
  std::chrono::milliseconds m_StopTimeout{3000};
  unsigned m_Parallel = 4;      // programs at a time
  std::size_t m_Queue = 20000;  // events; further ones are dropped with a report
  // Receives what programs print and why they failed. Called by several threads.
  std::function<void(const std::string&)> m_Report = nullptr;
};

// The programs of one event run one after the other, by name; those of different events at the same
// time. The directory is read for each event.
//
// No program runs twice for an event: the event's number is in the state file before the first
// program starts. If the service is killed in between, some or all programs have not run for that
// event (at most once). An event whose number cannot be written is dropped with a report.
class EventPrograms {
 public:
  // Starts the threads.
  explicit EventPrograms(ProgramSettings settings);
  // Starts no further program, and kills those that have not ended after the stop timeout. Events
  // that wait are run after the next start if their source has them then.
  ~EventPrograms();
  EventPrograms(const EventPrograms&) = delete;
  EventPrograms& operator=(const EventPrograms&) = delete;

  // The number in the state file when this was made; empty without a readable one.
  std::optional<std::int64_t> LastNumber() const { return m_LastNumber; }
  // Records that the events up to this number need no programs.
  void SkipTo(std::int64_t number);
  // Runs the programs for the event, in order of the calls. Returns at once. From any thread.
  void Take(Event event);

 private:
  bool Enqueue(Event event);
  void RunThread();
  std::optional<Event> Next();
  bool Record(std::int64_t number) const;
  void RunPrograms(const Event& event) const;
  void Report(const std::string& text) const;

  const ProgramSettings m_Settings;
  std::optional<std::int64_t> m_LastNumber;
  Console::Notifier m_StopNow;
  std::atomic<bool> m_MustEnd{false};  // no further program starts

  Base::Mutex m_NextLock;  // held by the thread that takes an event and records its number
  Base::Mutex m_Lock;
  Base::ConditionVariable m_Changed;
  std::deque<Event> m_Waiting HOST_GUARDED_BY(m_Lock);
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;
  unsigned m_Running HOST_GUARDED_BY(m_Lock) = 0;

  std::vector<std::thread> m_Threads;
};

// The variables for programs: PATH, LANG, and one for each text, number and truth value of the
// document, such as CORVANE_EVENT_ID for "event_id".
std::vector<std::string> EnvironmentOf(const Event& event);

}  // namespace Hooks
