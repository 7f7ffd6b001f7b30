// An HTTP server: routes on listening sockets.
#pragma once

#include <memory>
#include <vector>

#include "base/Descriptor.h"
#include "service/http/Route.h"
#include "service/http/Settings.h"

namespace Http {

// Serves from its construction to its destruction, on threads of its own. Errors that a client
// makes are problem documents, except for what is not HTTP at all, which the library refuses.
//
// Clients of TCP sockets only read, and must name an allowed host; clients of Unix sockets are
// identified by their credentials.
class Server {
 public:
  // `listeners` are listening TCP or Unix sockets. Throws `std::logic_error` for a route that can
  // never be reached, and `std::runtime_error` if no server can be started.
  Server(std::vector<Route> routes, Settings settings, std::vector<Base::Descriptor> listeners);
  // Waits for handlers that run. Requests that wait for a response get a 503 if the client reads it
  // at once; streams are cut.
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Replaces the permissions of the settings, for requests that arrive from now on. From any
  // thread.
  void SetPermissions(Permissions permissions);

 private:
  class Daemon;
  struct State;

  std::unique_ptr<State> m_State;
};

}  // namespace Http
