#include "service/http/Gate.h"

#include <microhttpd.h>
#include <sys/socket.h>

namespace Http {

bool Gate::Suspend() {
  const Base::MutexLock lock(m_Lock);
  m_IsSuspended = !m_IsWakePending;
  m_IsWakePending = false;
  if (m_IsSuspended) MHD_suspend_connection(m_Connection);
  return m_IsSuspended;
}

void Gate::Detach() {
  const Base::MutexLock lock(m_Lock);
  m_Connection = nullptr;
}

void Gate::Wake() {
  const Base::MutexLock lock(m_Lock);
  WakeLocked();
}

// To libmicrohttpd this looks as if the client had closed the connection.
void Gate::Disconnect() {
  const Base::MutexLock lock(m_Lock);
  if (m_Connection != nullptr) shutdown(m_Socket, SHUT_RDWR);
  WakeLocked();
}

void Gate::WakeLocked() {
  if (m_Connection == nullptr) return;
  m_IsWakePending = !m_IsSuspended;
  if (m_IsSuspended) MHD_resume_connection(m_Connection);
  m_IsSuspended = false;
}

}  // namespace Http
