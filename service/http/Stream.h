// Responses that have no end yet, such as server-sent events.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Mutex.h"
#include "service/http/Unfinished.h"

namespace Http {

// Any thread may call the functions in the first group, before and after the handler has returned
// the stream.
class Stream : public Unfinished {
 public:
  using Callback = std::function<void()>;

  // At most `bytes` wait for a slow reader.
  explicit Stream(std::size_t bytes, std::string contentType = "text/event-stream");

  // Queues a text. False if the stream has ended. A text that does not fit cuts the connection, and
  // the client has to resume; one text fits always, however long it is.
  bool Send(std::string_view text);
  // Ends the stream after everything that was sent.
  void Close();
  // Whether nothing more can be sent: the client is gone or was cut, the stream was closed, or the
  // server stops.
  bool IsGone() const;

  // Before the handler returns the stream. Callbacks must not wait.
  //
  // Called once, when the request is over for any reason.
  void OnEnd(Callback callback) { m_OnEnd = std::move(callback); }
  // Called each time the connection has taken everything that was sent: time for more of a long
  // backlog.
  void OnDrained(Callback callback) { m_OnDrained = std::move(callback); }

  // For the server.
  const std::string& ContentType() const { return m_ContentType; }
  // Moves up to `timeout` bytes. 0 if there are none now, empty if there will be none.
  std::optional<std::size_t> Take(char* into, std::size_t timeout);
  // Whether it ended before everything was taken, so that the client must not see a regular end.
  bool IsCut() const;
  void Abort() override;
  short EndingEvents() const override;
  void Attach(std::shared_ptr<Gate> gate) override;
  void End() override;

 private:
  bool Queue(std::string_view text) HOST_REQUIRES(m_Lock);
  std::size_t TakeLocked(char* into, std::size_t timeout) HOST_REQUIRES(m_Lock);
  bool HasDrained();

  const std::size_t m_Bytes;
  const std::string m_ContentType;
  Callback m_OnEnd;
  Callback m_OnDrained;

  mutable Base::Mutex m_Lock;
  std::string m_Text HOST_GUARDED_BY(m_Lock);  // not yet taken, from `m_Taken` on
  std::size_t m_Taken HOST_GUARDED_BY(m_Lock) = 0;
  bool m_IsDrained HOST_GUARDED_BY(m_Lock) = true;  // and `m_OnDrained` was called
  bool m_IsClosed HOST_GUARDED_BY(m_Lock) = false;  // nothing more is accepted
  bool m_IsCut HOST_GUARDED_BY(m_Lock) = false;     // nothing more is taken
  std::shared_ptr<Gate> m_Gate HOST_GUARDED_BY(m_Lock);
};

}  // namespace Http
