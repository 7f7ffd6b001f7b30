// A response that other threads produce after the handler has returned.
#pragma once

#include <memory>

#include "service/http/Gate.h"

namespace Http {

class UnfinishedResponse {
 public:
  UnfinishedResponse() = default;
  UnfinishedResponse(const UnfinishedResponse&) = delete;
  UnfinishedResponse& operator=(const UnfinishedResponse&) = delete;
  virtual ~UnfinishedResponse() = default;

  // Ends the response early because the client has disconnected or the server is stopping.
  // Thread-safe.
  virtual void Abort() = 0;
  // Completes the response if its time limit has expired. Thread-safe.
  virtual void CheckTimeout() = 0;
  // Returns the poll(2) events that mean that the client no longer wants the response.
  virtual short DisconnectEvents() const = 0;

  // Called by the server with the gate of the connection that waits for this response.
  virtual void Attach(std::shared_ptr<Gate> gate) = 0;
  // Called by the server once, when the request has ended, with no lock held.
  virtual void End() = 0;
};

}  // namespace Http
