// The connections of a server: how many there are, and how long each may take.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "service/http/Message.h"
#include "service/http/Settings.h"
#include "service/http/Unfinished.h"

namespace Http {

// Any thread may call its members.
class Connections {
 public:
  // One connection. The sockets belong to the library, which closes them after `Close`.
  struct Entry;
  using EntryPtr = std::shared_ptr<Entry>;

  explicit Connections(const Limits& limits);
  // All connections must be closed.
  ~Connections();
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;

  // A new connection, which has the time of a request. It is cut at once if it exceeds a limit.
  EntryPtr Open(int socket);
  void Close(const EntryPtr& entry);

  // Cuts the connection after this time, unless this is called again or the time is empty.
  void SetTime(const EntryPtr& entry, std::optional<std::chrono::milliseconds> time);
  // The request waits for `unfinished`, which is aborted when the client is gone or the server
  // stops. False if the server is stopping, or there are too many streams.
  bool Wait(const EntryPtr& entry, std::shared_ptr<Unfinished> unfinished, bool isStream);
  // The request does not wait any more.
  void EndWait(const EntryPtr& entry);

  // Aborts what the connections wait for; from here on `Wait` fails.
  void Stop();

 private:
  using Clock = std::chrono::steady_clock;
  using Aborted = std::vector<std::shared_ptr<Unfinished>>;

  bool IsTooMany(const Peer& peer) const HOST_REQUIRES(m_Lock);
  void Run();
  Aborted Check() HOST_REQUIRES(m_Lock);

  const Limits m_Limits;

  mutable Base::Mutex m_Lock;  // also guards the entries
  Base::ConditionVariable m_Changed;
  // Without those that were too many.
  std::set<EntryPtr> m_Entries HOST_GUARDED_BY(m_Lock);
  // TCP only: number of connections.
  std::map<std::string, std::size_t> m_Addresses HOST_GUARDED_BY(m_Lock);
  // By `Peer::m_IsTcp`.
  std::map<bool, std::size_t> m_Streams HOST_GUARDED_BY(m_Lock);
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;
  bool m_HasEnded HOST_GUARDED_BY(m_Lock) = false;

  std::thread m_Thread;
};

struct Connections::Entry {
  Entry(int socket, Peer peer) : m_Socket(socket), m_Peer(std::move(peer)) {}

  const int m_Socket;
  const Peer m_Peer;
  bool m_IsRefused = false;  // set before any other thread sees the entry
  bool m_IsStream = false;
  std::optional<Clock::time_point> m_Deadline;
  std::shared_ptr<Unfinished> m_Unfinished;
};

}  // namespace Http
