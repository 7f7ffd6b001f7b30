// A response that other threads produce after the handler has returned.
#pragma once

#include <memory>

#include "service/http/Gate.h"

namespace Http {

class Unfinished {
 public:
  Unfinished() = default;
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  virtual ~Unfinished() = default;

  // Any thread: ends the response early, because the client is gone or the server stops.
  virtual void Abort() = 0;
  // The events of poll(2) on the connection after which the response is of no use.
  virtual short EndingEvents() const = 0;

  // From the server: `gate` is that of the connection which waits for this response.
  virtual void Attach(std::shared_ptr<Gate> gate) = 0;
  // From the server, once, without a lock: the request is over.
  virtual void End() = 0;
};

}  // namespace Http
