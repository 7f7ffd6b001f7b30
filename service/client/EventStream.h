// Waits for notifications from the service's event stream. The events themselves are read from the
// event log with other requests.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "console/base/Deadline.h"
#include "console/base/StopSignals.h"
#include "service/client/CurlHandles.h"

namespace Service {

// Not thread-safe.
class EventStream {
 public:
  // Does not connect yet.
  explicit EventStream(std::filesystem::path socket) : m_Socket(std::move(socket)) {}
  EventStream(const EventStream&) = delete;
  EventStream& operator=(const EventStream&) = delete;

  // Waits for an event with a number above `after` or for a new snapshot. Connects first if not
  // connected. Returns false on timeout, on a stop signal, or if a descriptor of `extra` is ready.
  // Throws `Console::Failure` if the service is not reachable, rejects the request or sends
  // an invalid stream. If the stream ends, returns true, and the next call connects again after a
  // pause.
  bool Wait(std::int64_t after, std::chrono::milliseconds timeout, const Console::WaitSet& extra);

 private:
  struct Connection;

  void Connect(std::int64_t after);
  bool HasChanges();
  void ThrowIfRefused(const Connection& ended, CURLcode code) const;

  const std::filesystem::path m_Socket;
  std::shared_ptr<Connection> m_Connection;  // null: not connected
  Console::Deadline m_NextConnect{std::chrono::milliseconds(0)};
};

}  // namespace Service
