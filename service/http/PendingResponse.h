// The state shared by a responder and the connection that waits for its response.
#pragma once

#include <memory>
#include <optional>

#include "base/Mutex.h"
#include "service/http/Message.h"
#include "service/http/UnfinishedResponse.h"

namespace Http {

class PendingResponse : public UnfinishedResponse {
 public:
  // Sets the response, unless one was set before or the request has ended. Thread-safe.
  void Complete(Response response);
  bool HasEnded() const;
  // Returns empty until a response is set.
  std::optional<Response> Get() const;

  void Abort() override;
  short DisconnectEvents() const override;
  void Attach(std::shared_ptr<Gate> gate) override;
  void End() override;

 private:
  mutable Base::Mutex m_Lock;
  std::optional<Response> m_Response HOST_GUARDED_BY(m_Lock);
  std::shared_ptr<Gate> m_Gate HOST_GUARDED_BY(m_Lock);
  bool m_HasEnded HOST_GUARDED_BY(m_Lock) = false;
};

}  // namespace Http
