// Keeps in memory what status and metrics need from the event log, so that their responses never
// wait for the database.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "console/plugin/DatabaseAdvice.h"
#include "console/plugin/EventLogClient.h"

namespace Service {

// Keeps the number of events of each kind and, for each object, the newest event of each kind. If
// the log is replaced, keeps what was counted before. Thread-safe.
class EventSummary : public Console::EventSource, public Console::DatabaseAdviser {
 public:
  // Reads the events that were logged since the last successful call. The writer of events calls
  // this after logging them; the first call reads the log of earlier runs. Blocks, also while
  // another call reads. What cannot be read is left unchanged until the next call.
  void Update() HOST_BLOCKS;

  // Returns the newest event of each kind and object, within the limits and in the order of
  // `HostKit::ReadEvents`. Does not block.
  std::vector<HostKit::LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) override;
  // Returns the same as `HostKit::CountEvents`, or higher counts if the log was replaced. Does not
  // block. Throws `DBEXCEPTION::DatabaseException` if the log has never been read.
  std::vector<HostKit::EventCount> CountEvents() override;
  std::vector<std::string> DatabaseAdvice() const override;

 private:
  // Event id, object type, serial number, and name of an object without a serial number.
  using Kind = std::tuple<std::uint32_t, std::uint32_t, std::string, std::string>;
  // Event id, severity and serial number.
  using Counts = std::map<std::tuple<std::uint32_t, std::uint32_t, std::string>, std::uint64_t>;

  // An event, and its place in the order in which events were read.
  struct Entry {
    std::uint64_t m_Place;
    HostKit::LoggedEvent m_Event;
  };

  // The right to read the database. Waits until no other thread has it.
  class Turn;

  std::int64_t LastRead();
  void ReadNewEvents() HOST_BLOCKS;
  void ReadCounts() HOST_BLOCKS;
  void Add(const std::vector<HostKit::LoggedEvent>& events) HOST_REQUIRES(m_Lock);

  Base::Mutex m_Lock;  // not held while the database is read
  Base::ConditionVariable m_Changed;
  bool m_IsReading HOST_GUARDED_BY(m_Lock) = false;
  std::int64_t m_Last HOST_GUARDED_BY(m_Lock) = 0;  // number of the newest event read
  std::map<Kind, Entry> m_Newest HOST_GUARDED_BY(m_Lock);
  std::uint64_t m_Places HOST_GUARDED_BY(m_Lock) = 0;  // number of events read
  bool m_HasCounts HOST_GUARDED_BY(m_Lock) = false;
  Counts m_Counts HOST_GUARDED_BY(m_Lock);   // in the current log
  Counts m_Earlier HOST_GUARDED_BY(m_Lock);  // in the logs that it replaced
};

}  // namespace Service
