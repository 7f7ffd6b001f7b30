// Responses of unlimited length, such as server-sent events.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Mutex.h"
#include "service/http/UnfinishedResponse.h"

namespace Http {

// `Send` and `Close` are thread-safe and may be called before and after the handler returns the
// stream.
class Stream : public UnfinishedResponse {
 public:
  using Callback = std::function<void()>;

  // Queues up to `bytes` bytes for a slow reader.
  explicit Stream(std::size_t bytes, std::string contentType = "text/event-stream");

  // Queues `text`. Returns false if the stream has ended: the connection was lost or dropped, the
  // stream was closed, or the server is stopping. If the text does not fit, drops the connection
  // and returns false; the client has to resume. An empty queue accepts text of any length.
  bool Send(std::string_view text);
  // Ends the stream after the queued text.
  void Close();

  // Set callbacks before the handler returns the stream. They must not block.
  //
  // Sets a callback that is called once, when the request has ended, regardless of the reason.
  void OnEnd(Callback callback) { m_OnEnd = std::move(callback); }
  // Sets a callback that is called each time the queue has become empty, for example to queue the
  // next part of a long backlog.
  void OnDrained(Callback callback) { m_OnDrained = std::move(callback); }

  // Called by the server.
  const std::string& ContentType() const { return m_ContentType; }
  // Moves up to `size` bytes from the queue to `into`. Returns their number: 0 if none are queued
  // now, or empty if no more will follow.
  std::optional<std::size_t> Take(char* into, std::size_t size);
  // Whether the stream ended early, so that the client must not see a regular end.
  bool IsAborted() const;
  void Abort() override;
  void CheckTimeout() override {}  // streams have no time limit
  short DisconnectEvents() const override;
  void Attach(std::shared_ptr<Gate> gate) override;
  void End() override;

 private:
  bool Queue(std::string_view text) HOST_REQUIRES(m_Lock);
  std::size_t TakeLocked(char* into, std::size_t size) HOST_REQUIRES(m_Lock);
  bool HasDrained();

  const std::size_t m_Bytes;
  const std::string m_ContentType;
  Callback m_OnEnd;
  Callback m_OnDrained;

  mutable Base::Mutex m_Lock;
  std::string m_Text HOST_GUARDED_BY(m_Lock);  // queued from offset `m_Taken` on
  std::size_t m_Taken HOST_GUARDED_BY(m_Lock) = 0;
  bool m_IsDrained HOST_GUARDED_BY(m_Lock) = true;   // queue empty, `m_OnDrained` called
  bool m_IsClosed HOST_GUARDED_BY(m_Lock) = false;   // accepts no more text
  bool m_IsAborted HOST_GUARDED_BY(m_Lock) = false;  // sends no more text
  std::shared_ptr<Gate> m_Gate HOST_GUARDED_BY(m_Lock);
};

}  // namespace Http
