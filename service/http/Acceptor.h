// Accepts the connections of a listening socket.
#pragma once

#include <sys/socket.h>

#include <functional>
#include <thread>

#include "base/Descriptor.h"

namespace Http {

// Accepts connections on a thread of its own, from construction to destruction. libmicrohttpd could
// accept them itself, but it cannot stop and keep the listener open for the next service:
// MHD_quiesce_daemon() removes the listener from the epoll sets of threads that may be removing it
// at the same moment, and the loser of that race aborts the process.
class Acceptor {
 public:
  // Receives a connected, non-blocking socket, which it then owns, and the client's address. Must
  // not throw.
  using Take = std::function<void(int socket, const sockaddr* address, socklen_t size)>;

  // Sets `listener` to non-blocking. `take` is called on the thread. Throws `std::system_error`.
  Acceptor(Base::Descriptor listener, Take take);
  // Waits for a running call of `take`. Clients that connect from now on wait in the listener's
  // queue if the service manager has the listener open, too.
  ~Acceptor();
  Acceptor(const Acceptor&) = delete;
  Acceptor& operator=(const Acceptor&) = delete;

 private:
  void Run() noexcept;
  bool AwaitClient() const;
  bool AcceptOne();

  const Base::Descriptor m_Listener;
  const Take m_Take;
  const Base::Descriptor m_Stop;  // an eventfd
  std::thread m_Thread;
};

}  // namespace Http
