// What a responder and the connection that waits for it have in common.
#pragma once

#include <memory>
#include <mutex>
#include <optional>

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
  mutable std::mutex m_Lock;  // guards all members
  std::optional<Response> m_Response;
  std::shared_ptr<Gate> m_Gate;
  bool m_IsGone = false;
};

}  // namespace Http
