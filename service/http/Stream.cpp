#include "service/http/Stream.h"

#include <poll.h>

#include <utility>

namespace Http {

Stream::Stream(std::size_t bytes, std::string contentType)
    : m_Bytes(bytes), m_ContentType(std::move(contentType)) {}

bool Stream::Send(std::string_view text) {
  std::shared_ptr<Gate> gate;
  bool fits = false;
  {
    const Base::MutexLock lock(m_Lock);
    if (m_IsClosed) return false;
    fits = Queue(text);
    if (!fits) m_IsClosed = m_IsAborted = true;
    gate = m_Gate;
  }
  if (gate != nullptr && fits) gate->Wake();
  if (gate != nullptr && !fits) gate->Disconnect();
  return fits;
}

bool Stream::Queue(std::string_view text) {
  const std::size_t waiting = m_Text.size() - m_Taken;
  if (waiting > 0 && waiting + text.size() > m_Bytes) return false;
  // Erases sent text, which would otherwise accumulate with a reader that never catches up.
  if (m_Taken > m_Text.size() / 2) m_Text.erase(0, std::exchange(m_Taken, 0));
  m_Text.append(text);
  return true;
}

void Stream::Close() {
  std::shared_ptr<Gate> gate;
  {
    const Base::MutexLock lock(m_Lock);
    m_IsClosed = true;
    gate = m_Gate;
  }
  if (gate != nullptr) gate->Wake();
}

bool Stream::IsAborted() const {
  const Base::MutexLock lock(m_Lock);
  return m_IsAborted;
}

std::optional<std::size_t> Stream::Take(char* into, std::size_t size) {
  {
    const Base::MutexLock lock(m_Lock);
    if (m_IsAborted) return std::nullopt;
    if (const std::size_t count = TakeLocked(into, size); count > 0) return count;
    if (m_IsClosed) return std::nullopt;
  }
  if (HasDrained() && m_OnDrained) m_OnDrained();
  return 0;
}

std::size_t Stream::TakeLocked(char* into, std::size_t size) {
  const std::size_t count = m_Text.copy(into, size, m_Taken);
  m_Taken += count;
  if (count > 0) m_IsDrained = false;
  if (m_Taken == m_Text.size()) {
    m_Text.clear();
    m_Taken = 0;
  }
  return count;
}

// Returns true once each time the queue has become empty.
bool Stream::HasDrained() {
  const Base::MutexLock lock(m_Lock);
  return !std::exchange(m_IsDrained, true);
}

void Stream::Abort() {
  std::shared_ptr<Gate> gate;
  {
    const Base::MutexLock lock(m_Lock);
    m_IsClosed = m_IsAborted = true;
    gate = m_Gate;
  }
  if (gate != nullptr) gate->Disconnect();
}

// POLLRDHUP is included: a client of a stream has nothing more to send, so if it closes its sending
// side, it has disconnected.
short Stream::DisconnectEvents() const {
  return POLLHUP | POLLERR | POLLRDHUP;
}

void Stream::Attach(std::shared_ptr<Gate> gate) {
  const Base::MutexLock lock(m_Lock);
  m_Gate = std::move(gate);
}

void Stream::End() {
  {
    const Base::MutexLock lock(m_Lock);
    m_IsClosed = m_IsAborted = true;
    m_Text = std::string();
    m_Taken = 0;
  }
  if (m_OnEnd) m_OnEnd();
}

}  // namespace Http
