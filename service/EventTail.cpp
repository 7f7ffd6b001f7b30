#include "service/EventTail.h"

#include <algorithm>
#include <utility>

namespace Service {

using HostKit::LoggedEvent;

// Returns the newest entries, at least back to the last one that was read.
std::vector<LoggedEvent> EventTail::ReadBack() const {
  constexpr std::size_t kFirstLimit = 64;
  for (std::size_t limit = kFirstLimit;; limit *= 4) {
    std::vector<LoggedEvent> events = HostKit::ReadEvents(0, limit);
    if (events.size() < limit || (m_Last && events.front().m_Number <= *m_Last + 1)) return events;
    if (!m_Last) return events;
  }
}

std::vector<LoggedEvent> EventTail::Read() {
  std::vector<LoggedEvent> events = ReadBack();
  const std::int64_t newest = events.empty() ? 0 : events.back().m_Number;
  const bool isReplaced = m_Last && newest < *m_Last;
  if (!m_Last || (isReplaced && !m_HasRead)) m_Last = newest;
  // A log that was replaced since the last read is numbered from 1 again, so all entries are new.
  if (isReplaced && m_HasRead) m_Last = 0;
  m_HasRead = true;
  const auto isOld = [this](const LoggedEvent& event) { return event.m_Number <= *m_Last; };
  events.erase(std::remove_if(events.begin(), events.end(), isOld), events.end());
  m_Last = newest;
  return events;
}

}  // namespace Service
