// Responses that are completed after the handler has returned.
#pragma once

#include <chrono>
#include <memory>

#include "service/http/Message.h"

namespace Http {

class PendingResponse;

// Returned by a handler whose response will follow.
struct ResponsePromise {
  std::shared_ptr<PendingResponse> m_Response;
};

// Completes a request after its handler has returned `Promise()`. Thread-safe. Move-only. If it is
// destroyed without a response, the client gets a 500.
class Responder {
 public:
  Responder();
  ~Responder();
  Responder(Responder&&) noexcept = default;
  Responder& operator=(Responder&&) = delete;
  Responder(const Responder&) = delete;
  Responder& operator=(const Responder&) = delete;

  // Returns the value that the handler must return. Call on the handler's thread.
  ResponsePromise Promise() const { return {m_Response}; }
  // Sends the response, immediately or as soon as the handler has returned. Does nothing if the
  // request already has a response or has ended.
  void Complete(Response response) const;
  // Sets the response that the server sends if there is none after this time. Call at most once.
  void SetTimeout(std::chrono::milliseconds timeout, Response response) const;
  // Whether the request has ended or timed out, so that the response can be dropped. If the client
  // closes a TCP connection, this may go unnoticed until the response is sent.
  bool HasEnded() const;

 private:
  std::shared_ptr<PendingResponse> m_Response;  // null after a move
};

}  // namespace Http
