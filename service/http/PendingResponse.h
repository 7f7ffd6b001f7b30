// The state shared by a responder and the connection that waits for its response.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "base/Mutex.h"
#include "service/http/Message.h"
#include "service/http/UnfinishedResponse.h"

namespace Http {

class PendingResponse : public UnfinishedResponse {
 public:
  using Callback = std::function<void(const Response&)>;

  // Sets a callback that is called once with the response: immediately if there already is one,
  // otherwise on the thread that sets it. It is not called if the request ends first. Call at most
  // once.
  void OnComplete(Callback callback);
  // Sets the response, unless one was set before or the request has ended. Thread-safe.
  void Complete(Response response);
  // Sets the response that `CheckTimeout` sends if there is none after `timeout`. Call at most
  // once. Thread-safe.
  void SetTimeout(std::chrono::milliseconds timeout, Response response);
  // Copies the deadline and the timeout response from `other`, if it has them. Call at most once,
  // and instead of `SetTimeout`.
  void CopyTimeout(const PendingResponse& other);
  // Whether the request has ended or timed out.
  bool HasEnded() const;
  // Returns empty until a response is set.
  std::optional<Response> Get() const;

  void Abort() override;
  void CheckTimeout() override;
  short DisconnectEvents() const override;
  void Attach(std::shared_ptr<Gate> gate) override;
  void End() override;

 private:
  using Clock = std::chrono::steady_clock;

  bool HasTimedOut();

  Response m_OnTimeout;  // not changed after `SetTimeout` or `CopyTimeout`

  mutable Base::Mutex m_Lock;
  std::optional<Response> m_Response HOST_GUARDED_BY(m_Lock);
  std::optional<Clock::time_point> m_Deadline HOST_GUARDED_BY(m_Lock);
  std::shared_ptr<Gate> m_Gate HOST_GUARDED_BY(m_Lock);
  bool m_HasTimedOut HOST_GUARDED_BY(m_Lock) = false;
  Callback m_OnComplete HOST_GUARDED_BY(m_Lock);
  bool m_HasEnded HOST_GUARDED_BY(m_Lock) = false;
};

}  // namespace Http
