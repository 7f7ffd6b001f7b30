#include "service/http/Connections.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

#include "base/ThreadName.h"
#include "service/http/PeerOf.h"

namespace Http {
namespace {

bool HasDisconnected(int socket, const UnfinishedResponse& unfinished) {
  pollfd wait = {socket, unfinished.DisconnectEvents(), 0};
  return poll(&wait, 1, 0) == 1;
}

}  // namespace

Connections::Connections(const Limits& limits) : m_Limits(limits), m_Thread([this] { Run(); }) {}

Connections::~Connections() {
  {
    const Base::MutexLock lock(m_Lock);
    m_HasEnded = true;
  }
  m_Changed.NotifyAll();
  m_Thread.join();
}

// libmicrohttpd can also limit connections, but only per listener, and it divides the limit among
// its threads. The limits apply before it gets the socket: it could not refuse a burst of clients
// as fast as they are accepted.
Connections::EntryPtr Connections::Open(int socket) {
  auto entry = std::make_shared<Entry>(socket, PeerOf(socket));
  const Base::MutexLock lock(m_Lock);
  // libmicrohttpd closes a socket without notice if it runs out of memory before it has started.
  const auto dropped = m_Accepted.find(socket);
  if (dropped != m_Accepted.end()) Remove(EntryPtr(dropped->second));
  if (IsLimitReached(entry->m_Peer)) return nullptr;
  m_Accepted[socket] = entry;
  m_Entries.insert(entry);
  if (entry->m_Peer.m_IsTcp) ++m_Addresses[entry->m_Peer.m_Address];
  if (m_Entries.size() == 1) m_Changed.NotifyAll();
  return entry;
}

Connections::EntryPtr Connections::Start(int socket) {
  const Base::MutexLock lock(m_Lock);
  const auto found = m_Accepted.find(socket);
  if (found == m_Accepted.end()) return nullptr;
  EntryPtr entry = std::move(found->second);
  m_Accepted.erase(found);
  entry->m_Deadline = Clock::now() + m_Limits.m_RequestTimeout;
  return entry;
}

bool Connections::IsLimitReached(const Peer& peer) const {
  if (m_Entries.size() >= m_Limits.m_Connections) return true;
  const auto found = m_Addresses.find(peer.m_Address);
  return found != m_Addresses.end() && found->second >= m_Limits.m_ConnectionsPerAddress;
}

void Connections::Close(const EntryPtr& entry) {
  const Base::MutexLock lock(m_Lock);
  Remove(entry);
}

void Connections::Remove(const EntryPtr& entry) {
  if (m_Entries.erase(entry) == 0) return;
  const auto accepted = m_Accepted.find(entry->m_Socket);
  if (accepted != m_Accepted.end() && accepted->second == entry) m_Accepted.erase(accepted);
  const auto address = m_Addresses.find(entry->m_Peer.m_Address);
  if (address != m_Addresses.end() && --address->second == 0) m_Addresses.erase(address);
}

void Connections::SetTimeout(const EntryPtr& entry, std::chrono::milliseconds timeout) {
  const Base::MutexLock lock(m_Lock);
  entry->m_Deadline = Clock::now() + timeout;
}

void Connections::BeginRequest(const EntryPtr& entry) {
  const Base::MutexLock lock(m_Lock);
  entry->m_Deadline.reset();
  entry->m_HasRequest = true;
}

bool Connections::BeginWait(const EntryPtr& entry, std::shared_ptr<UnfinishedResponse> unfinished,
                            bool isStream) {
  const Base::MutexLock lock(m_Lock);
  std::size_t& streams = m_Streams[entry->m_Peer.m_IsTcp];
  if (m_IsStopping || (isStream && streams >= m_Limits.m_Streams)) return false;
  if (isStream) ++streams;
  entry->m_IsStream = isStream;
  entry->m_Unfinished = std::move(unfinished);
  return true;
}

void Connections::EndRequest(const EntryPtr& entry) {
  const Base::MutexLock lock(m_Lock);
  if (std::exchange(entry->m_IsStream, false)) --m_Streams[entry->m_Peer.m_IsTcp];
  entry->m_Unfinished.reset();
  entry->m_HasRequest = false;
  if (m_IsStopping) m_Changed.NotifyAll();
}

void Connections::Stop() {
  Responses aborted;
  {
    const Base::MutexLock lock(m_Lock);
    m_IsStopping = true;
    for (const EntryPtr& entry : m_Entries) {
      if (entry->m_Unfinished != nullptr) aborted.push_back(entry->m_Unfinished);
    }
  }
  for (const auto& each : aborted) each->Abort();
  const auto end = Clock::now() + std::chrono::seconds(1);
  Base::MutexLock lock(m_Lock);
  while (HasRequests() && Clock::now() < end) m_Changed.WaitUntil(lock, end);
}

bool Connections::HasRequests() const {
  return std::any_of(m_Entries.begin(), m_Entries.end(),
                     [](const EntryPtr& entry) { return entry->m_HasRequest; });
}

// libmicrohttpd's own timeout is insufficient: it covers only inactivity, so a client that sends
// single bytes slowly would keep its connection. It also ignores suspended connections.
void Connections::Run() {
  Base::NameThread("http-check");
  Base::MutexLock lock(m_Lock);
  while (!m_HasEnded) {
    if (m_Entries.empty()) {
      m_Changed.Wait(lock);
      continue;
    }
    const auto next = Clock::now() + m_Limits.m_CheckInterval;
    while (!m_HasEnded && m_Changed.WaitUntil(lock, next)) continue;
    const Waits waits = Check();
    lock.Unlock();
    for (const auto& each : waits.m_Disconnected) each->Abort();
    for (const auto& each : waits.m_Others) each->CheckTimeout();
    lock.Lock();
  }
}

Connections::Waits Connections::Check() {
  Waits waits;
  const auto now = Clock::now();
  for (const EntryPtr& entry : m_Entries) {
    if (entry->m_Deadline && now >= *entry->m_Deadline) shutdown(entry->m_Socket, SHUT_RDWR);
    const auto& unfinished = entry->m_Unfinished;
    if (unfinished == nullptr) continue;
    const bool isAborted = HasDisconnected(entry->m_Socket, *unfinished);
    (isAborted ? waits.m_Disconnected : waits.m_Others).push_back(unfinished);
  }
  return waits;
}

}  // namespace Http
