#include "service/http/Responder.h"

#include <poll.h>

#include <utility>

#include "service/http/PendingResponse.h"

namespace Http {

Responder::Responder() : m_Response(std::make_shared<PendingResponse>()) {}

Responder::~Responder() {
  if (m_Response == nullptr) return;
  try {
    Complete(MakeProblem(500, "UNEXPECTED", "the request was dropped"));
  } catch (...) {  // out of memory: the client waits until its own timeout
  }
}

void Responder::Complete(Response response) const {
  m_Response->Complete(std::move(response));
}

void Responder::SetTimeout(std::chrono::milliseconds timeout, Response response) const {
  m_Response->SetTimeout(timeout, std::move(response));
}

bool Responder::HasEnded() const {
  return m_Response->HasEnded();
}

void PendingResponse::OnComplete(Callback callback) {
  std::optional<Response> response;
  {
    const Base::MutexLock lock(m_Lock);
    if (!m_Response) {
      m_OnComplete = std::move(callback);
      return;
    }
    response = m_Response;
  }
  callback(*response);
}

void PendingResponse::Complete(Response response) {
  std::shared_ptr<Gate> gate;
  Callback callback;
  {
    const Base::MutexLock lock(m_Lock);
    if (m_Response || m_HasEnded) return;
    m_Response = response;
    gate = m_Gate;
    callback = std::move(m_OnComplete);
  }
  if (gate != nullptr) gate->Wake();
  if (callback) callback(response);
}

void PendingResponse::SetTimeout(std::chrono::milliseconds timeout, Response response) {
  const Base::MutexLock lock(m_Lock);
  m_OnTimeout = std::move(response);
  m_Deadline = Clock::now() + timeout;
}

void PendingResponse::CopyTimeout(const PendingResponse& other) {
  std::optional<Clock::time_point> deadline;
  {
    const Base::MutexLock lock(other.m_Lock);
    deadline = other.m_Deadline;
  }
  if (!deadline) return;
  const Base::MutexLock lock(m_Lock);
  m_OnTimeout = other.m_OnTimeout;
  m_Deadline = deadline;
}

bool PendingResponse::HasTimedOut() {
  const Base::MutexLock lock(m_Lock);
  if (!m_Response && m_Deadline && Clock::now() >= *m_Deadline) m_HasTimedOut = true;
  return m_HasTimedOut;
}

void PendingResponse::CheckTimeout() {
  if (HasTimedOut()) Complete(m_OnTimeout);
}

bool PendingResponse::HasEnded() const {
  const Base::MutexLock lock(m_Lock);
  return m_HasEnded || m_HasTimedOut;
}

std::optional<Response> PendingResponse::Get() const {
  const Base::MutexLock lock(m_Lock);
  return m_Response;
}

void PendingResponse::Abort() {
  Complete(MakeProblem(503, "STOPPING", "the service is stopping"));
}

// POLLRDHUP is excluded: a client that has only finished sending still waits for the response.
short PendingResponse::DisconnectEvents() const {
  return POLLHUP | POLLERR;
}

void PendingResponse::Attach(std::shared_ptr<Gate> gate) {
  const Base::MutexLock lock(m_Lock);
  m_Gate = std::move(gate);
}

void PendingResponse::End() {
  const Base::MutexLock lock(m_Lock);
  m_HasEnded = true;
}

}  // namespace Http
