// Suspends the connection of a request that has to wait, and resumes it from other threads.
#pragma once

#include "base/Mutex.h"

struct MHD_Connection;

namespace Http {

// One exists for each response that is incomplete when its handler returns.
class Gate {
 public:
  // `socket` is the connection's socket. Both must remain valid until `Detach`.
  Gate(MHD_Connection* connection, int socket) : m_Socket(socket), m_Connection(connection) {}
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  // Call on the connection's thread. Returns true if the connection is now suspended, or false if
  // `Wake` or `Disconnect` was called while it was not suspended; the caller must then check again
  // for data to send.
  bool Suspend();
  // Call on the connection's thread when the request has ended. Afterwards, `Wake` and `Disconnect`
  // do nothing.
  void Detach();

  // Resumes the connection, or makes the next `Suspend` return false. Thread-safe.
  void Wake();
  // Shuts down the connection, even if the client does not read. Thread-safe.
  void Disconnect();

 private:
  void WakeLocked() HOST_REQUIRES(m_Lock);

  const int m_Socket;

  Base::Mutex m_Lock;
  MHD_Connection* m_Connection HOST_GUARDED_BY(m_Lock);
  bool m_IsSuspended HOST_GUARDED_BY(m_Lock) = false;
  bool m_IsWakePending HOST_GUARDED_BY(m_Lock) = false;
};

}  // namespace Http
