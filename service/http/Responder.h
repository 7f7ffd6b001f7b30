// Responses that come later.
#pragma once

#include <memory>

#include "service/http/Message.h"

namespace Http {

class LateResponse;

// What a handler returns instead of a response that is not there yet.
struct Later {
  std::shared_ptr<LateResponse> m_Response;
};

// Completes a request after its handler has returned `Promise()`, from any thread. One owner; if it
// is destroyed without a response, the client gets a 500.
class Responder {
 public:
  Responder();
  ~Responder();
  Responder(Responder&&) noexcept = default;
  Responder& operator=(Responder&&) = delete;
  Responder(const Responder&) = delete;
  Responder& operator=(const Responder&) = delete;

  // For the handler to return, on its thread.
  Later Promise() const { return {m_Response}; }
  // Sends the response, at once or as soon as the handler has returned. Does nothing if there was
  // one already, or the connection is closed.
  void Complete(Response response) const;
  // Whether the request is over, so that the response is not needed any more. A client that waits
  // in silence is not gone; one that has closed a TCP connection is seen when it is written to.
  bool IsGone() const;

 private:
  std::shared_ptr<LateResponse> m_Response;  // null after a move
};

}  // namespace Http
