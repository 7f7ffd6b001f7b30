// An HTTP server: serves a set of routes on a set of listening sockets.
#pragma once

#include <memory>
#include <vector>

#include "base/Descriptor.h"
#include "service/http/Route.h"
#include "service/http/Settings.h"

namespace Http {

// Serves on its own threads from construction to destruction. Client errors are answered with
// problem documents; libmicrohttpd itself rejects input that is not HTTP.
//
// TCP clients can only read, and must send an allowed Host header. Clients of Unix sockets are
// identified by their credentials.
class Server {
 public:
  // `listeners` are listening TCP or Unix sockets. Throws `std::logic_error` for a route that can
  // never be reached, and `std::runtime_error` if the server cannot be started.
  Server(std::vector<Route> routes, Settings settings, std::vector<Base::Descriptor> listeners);
  // Waits for running handlers. Requests that wait for a response get a 503, which their clients
  // must receive within a second; streams are dropped.
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Replaces the permissions for requests that arrive from now on. Thread-safe.
  void SetPermissions(Permissions permissions);

 private:
  class Daemon;
  struct State;

  std::unique_ptr<State> m_State;
};

}  // namespace Http
