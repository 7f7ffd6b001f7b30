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
  std::int64_t m_Number = 0;  // increases with each event, even across restarts
  nlohmann::ordered_json m_Document;
};

struct ProgramSettings {
  std::filesystem::path m_Directory;
  // File with the number of the last event whose programs were started. If the path is empty, the
  // number is not stored.
  std::filesystem::path m_StateFile;
  std::chrono::milliseconds m_Timeout{30000};  // per program
  std::chrono::milliseconds m_StopTimeout{3000};
  unsigned m_Parallel = 4;      // programs at a time
  std::size_t m_Queue = 20000;  // events; further ones are dropped with a report
  // Receives the output and failures of programs. Called on several threads.
  std::function<void(const std::string&)> m_Report = nullptr;
};

// Returns the event number in the text of a state file: an integer, at least 0, followed by a
// newline. Returns empty for any other text. A number without the newline may be incomplete, and
// programs could run twice for the events after it.
std::optional<std::int64_t> ParseStateFile(const std::string& text);

// The programs of one event run one after another, in order of their names; programs of different
// events run concurrently. The directory is read for each event.
//
// Each program runs at most once per event: the event's number is written to the state file before
// the first program starts. If the service is killed after that, some or all programs do not run
// for that event. An event whose number cannot be written is dropped with a report.
class EventPrograms {
 public:
  // Starts the threads. Throws `std::system_error` if one cannot be started.
  explicit EventPrograms(ProgramSettings settings);
  // Starts no programs for queued events, and kills programs that are still running after the stop
  // timeout. Queued events must be passed again after the next start.
  ~EventPrograms();
  EventPrograms(const EventPrograms&) = delete;
  EventPrograms& operator=(const EventPrograms&) = delete;

  // Returns the number in the state file at construction; empty if it could not be read.
  std::optional<std::int64_t> LastEventNumber() const { return m_LastEventNumber; }
  // Records that no programs need to run for the events up to this number. Call before
  // `QueueEvent`.
  void SkipTo(std::int64_t number);
  // Queues the event for its programs and returns immediately. Events are handled in the order of
  // the calls. Thread-safe.
  void QueueEvent(Event event);

 private:
  void ReadStateFile();
  void Stop();
  bool Enqueue(Event event);
  void RunThread();
  std::optional<Event> Next();
  std::optional<Event> TakeNext();
  void EndRecording(bool isRecorded);
  bool Record(std::int64_t number) const;
  void RunPrograms(const Event& event) const;
  void Report(const std::string& text) const;

  const ProgramSettings m_Settings;
  std::optional<std::int64_t> m_LastEventNumber;
  Console::Notifier m_StopNow;
  std::atomic<bool> m_MustEnd{false};  // no further program starts

  Base::Mutex m_Lock;
  Base::ConditionVariable m_Changed;
  std::deque<Event> m_Waiting HOST_GUARDED_BY(m_Lock);
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;
  bool m_IsRecording HOST_GUARDED_BY(m_Lock) = false;  // a thread is recording a number
  unsigned m_Running HOST_GUARDED_BY(m_Lock) = 0;

  std::vector<std::thread> m_Threads;
};

// Returns the environment of programs: PATH, LANG, and a variable for each string, number and
// Boolean of the document, such as CORVANE_EVENT_ID for "event_id".
std::vector<std::string> EnvironmentOf(const Event& event);

}  // namespace Hooks
