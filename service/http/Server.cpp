#include "service/http/Server.h"

#include <microhttpd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>

#include "service/http/Acceptor.h"
#include "service/http/Exchange.h"

namespace Http {
namespace {

// `Connections` enforces the limit; this margin keeps libmicrohttpd's own limit above it.
constexpr std::size_t kConnectionMargin = 64;

Shared& SharedOf(void* closure) {
  return *static_cast<Shared*>(closure);
}

// Null if the connection could not be started.
Connections::EntryPtr* EntryOf(MHD_Connection* connection) {
  const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
  return static_cast<Connections::EntryPtr*>(info->socket_context);
}

int SocketOf(MHD_Connection* connection) {
  return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

bool Continue(Exchange& exchange, std::string_view body) {
  if (body.empty()) return exchange.Finish();
  exchange.AddBody(body);
  return true;
}

// Callbacks for libmicrohttpd. They must not throw.

// The first callback of a request. Returns its exchange, or null if out of memory.
void* OnTarget(void* closure, const char* target, MHD_Connection* connection) {
  try {
    const Connections::EntryPtr* const entry = EntryOf(connection);
    if (entry == nullptr) return nullptr;
    return new Exchange(SharedOf(closure), connection, *entry, target);  // deleted in OnCompleted
  } catch (...) {
    return nullptr;
  }
}

MHD_Result OnAccess(void*, MHD_Connection*, const char* path, const char* method,
                    const char* version, const char* body, size_t* bodySize, void** context) {
  const std::string_view part(body, *bodySize);
  *bodySize = 0;
  auto* const exchange = static_cast<Exchange*>(*context);
  if (exchange == nullptr) return MHD_NO;
  try {
    const bool keepOpen =
        exchange->HasBegun() ? Continue(*exchange, part) : exchange->Begin(method, path, version);
    return keepOpen ? MHD_YES : MHD_NO;
  } catch (...) {  // out of memory: libmicrohttpd closes the connection
    return MHD_NO;
  }
}

void OnCompleted(void*, MHD_Connection*, void** exchange, MHD_RequestTerminationCode) {
  const std::unique_ptr<Exchange> ended(static_cast<Exchange*>(std::exchange(*exchange, nullptr)));
  try {
    if (ended != nullptr) ended->End();
  } catch (...) {  // thrown by a stream's callback
  }
}

void OnConnection(void* closure, MHD_Connection* connection, void** context,
                  MHD_ConnectionNotificationCode code) {
  Connections& connections = SharedOf(closure).m_Connections;
  try {
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      Connections::EntryPtr entry = connections.Start(SocketOf(connection));
      if (entry != nullptr) *context = new Connections::EntryPtr(std::move(entry));
    } else {
      const std::unique_ptr<Connections::EntryPtr> entry(EntryOf(connection));
      if (entry != nullptr) connections.Close(*entry);
    }
  } catch (...) {  // out of memory: OnAccess closes a connection without a context
  }
}

// Leaves the escapes in place: a path is split before they are decoded, and malformed escapes are
// rejected.
size_t KeepEscapes(void*, MHD_Connection*, char* text) {
  return std::strlen(text);
}

// Passes an accepted socket to libmicrohttpd, or closes it.
void OnAccepted(Connections& connections, MHD_Daemon* daemon, int socket, const sockaddr* address,
                socklen_t size) {
  Connections::EntryPtr entry;
  try {
    entry = connections.Open(socket);
  } catch (...) {  // out of memory
  }
  if (entry == nullptr) {
    close(socket);
  } else if (MHD_add_connection(daemon, socket, address, size) != MHD_YES) {  // has closed it
    connections.Close(entry);
  }
}

MHD_Daemon* StartDaemon(Shared& shared) {
  const Limits& limits = shared.m_Settings.m_Limits;
  const std::size_t connections = (limits.m_Connections + kConnectionMargin) * limits.m_Threads;
  constexpr auto kFlags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_USE_NO_LISTEN_SOCKET | MHD_USE_ITC |
                          MHD_ALLOW_SUSPEND_RESUME;
  // clang-format off
  return MHD_start_daemon(kFlags, 0, nullptr, nullptr, OnAccess, nullptr,
      MHD_OPTION_THREAD_POOL_SIZE, limits.m_Threads,
      MHD_OPTION_CONNECTION_LIMIT, static_cast<unsigned>(connections),
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, ConnectionBufferSize(limits),
      MHD_OPTION_STRICT_FOR_CLIENT, 1,
      MHD_OPTION_NOTIFY_CONNECTION, OnConnection, &shared,
      MHD_OPTION_URI_LOG_CALLBACK, OnTarget, &shared,
      MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, nullptr,
      MHD_OPTION_UNESCAPE_CALLBACK, KeepEscapes, nullptr,
      MHD_OPTION_END);
  // clang-format on
}

}  // namespace

// The threads for one listener.
class Server::Daemon {
 public:
  Daemon(Shared& shared, Base::Descriptor listener) : m_Daemon(StartDaemon(shared)) {
    if (m_Daemon == nullptr) throw std::runtime_error("cannot start the HTTP server");
    m_Acceptor.emplace(std::move(listener), [&shared, daemon = m_Daemon.get()](auto... client) {
      OnAccepted(shared.m_Connections, daemon, client...);
    });
  }

 private:
  struct Stop {
    void operator()(MHD_Daemon* daemon) const { MHD_stop_daemon(daemon); }
  };

  const std::unique_ptr<MHD_Daemon, Stop> m_Daemon;
  std::optional<Acceptor> m_Acceptor;  // stops first
};

struct Server::State {
  State(std::vector<Route> routes, Settings settings)
      : m_Shared(std::move(routes), std::move(settings)) {}
  // libmicrohttpd must not be stopped while a connection is suspended.
  ~State() { m_Shared.m_Connections.Stop(); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  Shared m_Shared;
  std::vector<std::unique_ptr<Daemon>> m_Daemons;
};

Server::Server(std::vector<Route> routes, Settings settings,
               std::vector<Base::Descriptor> listeners)
    : m_State(std::make_unique<State>(std::move(routes), std::move(settings))) {
  for (Base::Descriptor& listener : listeners) {
    m_State->m_Daemons.push_back(std::make_unique<Daemon>(m_State->m_Shared, std::move(listener)));
  }
}

Server::~Server() = default;

void Server::SetPermissions(Permissions permissions) {
  m_State->m_Shared.SetPermissions(std::move(permissions));
}

}  // namespace Http
