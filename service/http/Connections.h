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

  // Registers a connection that has been accepted. Returns null if a limit is reached; the caller
  // then closes the socket.
  EntryPtr Open(int socket);
  // Starts the request timeout of a connection that libmicrohttpd has taken over. Returns null if
  // the socket was not registered.
  EntryPtr Start(int socket);
  // Unregisters a connection.
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
  void Remove(const EntryPtr& entry) HOST_REQUIRES(m_Lock);
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
  std::set<EntryPtr> m_Entries HOST_GUARDED_BY(m_Lock);
  // The entries that have not been started, by socket.
  std::map<int, EntryPtr> m_Accepted HOST_GUARDED_BY(m_Lock);
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
  bool m_HasRequest = false;  // received in full, not ended
  bool m_IsStream = false;
  std::optional<Clock::time_point> m_Deadline;
  std::shared_ptr<UnfinishedResponse> m_Unfinished;
};

}  // namespace Http
