#include "service/EventTail.h"

#include "console/plugin/EventLogClient.h"

namespace Service {

std::vector<HostKit::LoggedEvent> EventTail::Read() {
  const std::int64_t newest = HostKit::ReadEventNumbers().m_Newest;
  const bool isReplaced = m_Last && newest < *m_Last;
  if (!m_Last || (isReplaced && !m_HasRead)) m_Last = newest;
  // A log that was replaced since the last read is numbered from 1 again, so all entries are new.
  if (isReplaced && m_HasRead) m_Last = 0;
  m_HasRead = true;
  auto events = HostKit::ReadEventsAfter(*m_Last, Console::EventLogClient::kAll);
  if (!events.empty()) m_Last = events.back().m_Number;
  return events;
}

}  // namespace Service
