// Suspends the connection of a request that has to wait, and wakes it from other threads.
#pragma once

#include "base/Mutex.h"

struct MHD_Connection;

namespace Http {

// One for each response that is not complete when its handler returns.
class Gate {
 public:
  // `socket` is that of the connection. Both must exist until `Detach`.
  Gate(MHD_Connection* connection, int socket) : m_Socket(socket), m_Connection(connection) {}
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  // On the connection's thread. True if the connection is now suspended; false if it has been woken
  // since the last call, and has to be served instead.
  bool Suspend();
  // On the connection's thread, when the request is over: from here on `Wake` and `Cut` do nothing.
  void Detach();

  // Any thread: continues the connection, or prevents the next `Suspend`.
  void Wake();
  // Any thread: ends the connection, even if the client does not read.
  void Cut();

 private:
  void WakeLocked() HOST_REQUIRES(m_Lock);

  const int m_Socket;

  Base::Mutex m_Lock;
  MHD_Connection* m_Connection HOST_GUARDED_BY(m_Lock);
  bool m_IsSuspended HOST_GUARDED_BY(m_Lock) = false;
  bool m_IsWoken HOST_GUARDED_BY(m_Lock) = false;
};

}  // namespace Http
