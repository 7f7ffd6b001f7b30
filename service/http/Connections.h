// The connections of a server, with limits on their number and duration.
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
#include "service/http/UnfinishedResponse.h"

namespace Http {

// Thread-safe.
class Connections {
 public:
  // A connection. libmicrohttpd owns the socket and closes it after `Close`.
  struct Entry;
  using EntryPtr = std::shared_ptr<Entry>;

  explicit Connections(const Limits& limits);
  // All connections must have been closed.
  ~Connections();
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;

  // Registers a connection and starts its request timeout. A connection that exceeds a limit is
  // shut down immediately.
  EntryPtr Open(int socket);
  void Close(const EntryPtr& entry);

  // Replaces the time limit: the connection is shut down after `timeout` from now.
  void SetTimeout(const EntryPtr& entry, std::chrono::milliseconds timeout);
  // Call when a request has been received in full. Removes the time limit, because the server's own
  // work is not limited.
  void BeginRequest(const EntryPtr& entry);
  // Registers the response for which the request waits. It is aborted if the client disconnects or
  // the server stops. Returns false if the server is stopping or too many streams are open.
  bool BeginWait(const EntryPtr& entry, std::shared_ptr<UnfinishedResponse> unfinished,
                 bool isStream);
  // Call when a request has ended. Unregisters the response that `BeginWait` registered, if any.
  void EndRequest(const EntryPtr& entry);

  // Aborts all registered responses, and waits up to a second for the end of all requests that have
  // been received in full. Afterwards `BeginWait` returns false.
  void Stop();

 private:
  using Clock = std::chrono::steady_clock;
  using Responses = std::vector<std::shared_ptr<UnfinishedResponse>>;

  bool HasRequests() const HOST_REQUIRES(m_Lock);
  bool IsLimitReached(const Peer& peer) const HOST_REQUIRES(m_Lock);
  void Run();
  // The responses for which requests wait.
  struct Waits {
    Responses m_Disconnected;
    Responses m_Others;
  };
  Waits Check() HOST_REQUIRES(m_Lock);

  const Limits m_Limits;

  mutable Base::Mutex m_Lock;  // also guards the entries
  Base::ConditionVariable m_Changed;
  // Excludes refused connections.
  std::set<EntryPtr> m_Entries HOST_GUARDED_BY(m_Lock);
  // Number of TCP connections by client address.
  std::map<std::string, std::size_t> m_Addresses HOST_GUARDED_BY(m_Lock);
  // Number of streams by `Peer::m_IsTcp`.
  std::map<bool, std::size_t> m_Streams HOST_GUARDED_BY(m_Lock);
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;
  bool m_HasEnded HOST_GUARDED_BY(m_Lock) = false;

  std::thread m_Thread;
};

struct Connections::Entry {
  Entry(int socket, Peer peer) : m_Socket(socket), m_Peer(std::move(peer)) {}

  const int m_Socket;
  const Peer m_Peer;
  bool m_IsRefused = false;   // set before any other thread sees the entry
  bool m_HasRequest = false;  // received in full, not ended
  bool m_IsStream = false;
  std::optional<Clock::time_point> m_Deadline;
  std::shared_ptr<UnfinishedResponse> m_Unfinished;
};

}  // namespace Http
