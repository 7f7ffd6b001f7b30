// What a responder and the connection that waits for it have in common.
#pragma once

#include <memory>
#include <optional>

#include "base/Mutex.h"
#include "service/http/Message.h"
#include "service/http/Unfinished.h"

namespace Http {

class LateResponse : public Unfinished {
 public:
  // The first response wins. Any thread.
  void Complete(Response response);
  bool IsGone() const;
  // Empty as long as there is none.
  std::optional<Response> Get() const;

  void Abort() override;
  short EndingEvents() const override;
  void Attach(std::shared_ptr<Gate> gate) override;
  void End() override;

 private:
  mutable Base::Mutex m_Lock;
  std::optional<Response> m_Response HOST_GUARDED_BY(m_Lock);
  std::shared_ptr<Gate> m_Gate HOST_GUARDED_BY(m_Lock);
  bool m_IsGone HOST_GUARDED_BY(m_Lock) = false;
};

}  // namespace Http
