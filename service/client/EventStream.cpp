#include "service/client/EventStream.h"

#include <fmt/format.h>

#include <utility>

#include "console/base/Deadline.h"
#include "console/base/Failure.h"
#include "service/client/HttpClient.h"
#include "service/client/Pause.h"
#include "service/client/ServiceFailure.h"
#include "service/client/StreamLines.h"

namespace Service {

// Members are destroyed in reverse order: the easy handle before the headers that it refers to.
struct EventStream::Connection {
  Connection(const std::filesystem::path& socket, std::int64_t after)
      : m_Headers(MakeHeaders(fmt::format("Last-Event-ID: {}", after))),
        m_Multi(MakeMulti()),
        m_Easy(MakeEasy(socket)) {
    SetOption(m_Easy, CURLOPT_URL, UrlOf("/v1/events/stream").c_str());
    SetOption(m_Easy, CURLOPT_HTTPHEADER, m_Headers.get());
    SetOption(m_Easy, CURLOPT_WRITEFUNCTION, &Connection::Append);
    SetOption(m_Easy, CURLOPT_WRITEDATA, this);
    curl_multi_add_handle(m_Multi.get(), m_Easy.get());
  }
  ~Connection() { curl_multi_remove_handle(m_Multi.get(), m_Easy.get()); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Keeps a reply that is not a stream, because it contains the problem document.
  static std::size_t Append(const char* text, std::size_t, std::size_t size,
                            Connection* connection) {
    if (connection->Status() == 200) return connection->m_Lines.Append({text, size}) ? size : 0;
    if (size > StreamLines::kMaxLine - connection->m_Problem.size()) return 0;
    connection->m_Problem.append(text, size);
    return size;
  }

  long Status() const {
    long status = 0;
    curl_easy_getinfo(m_Easy.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
  }

  curl_socket_t Socket() const {
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(m_Easy.get(), CURLINFO_ACTIVESOCKET, &socket);
    return socket;
  }

  const HeaderList m_Headers;
  const MultiHandle m_Multi;
  const EasyHandle m_Easy;
  StreamLines m_Lines;
  std::string m_Problem;
};

void EventStream::Connect(std::int64_t after) {
  // Limits the rate of connections to a service that ends each stream immediately.
  constexpr std::chrono::milliseconds kPause(200);
  m_NextConnect = Console::Deadline(kPause);
  m_Connection = std::make_shared<Connection>(m_Socket, after);
}

// Processes the data that has arrived. The end of the stream also counts as a change.
bool EventStream::HasChanges() {
  int running = 0;
  curl_multi_perform(m_Connection->m_Multi.get(), &running);
  if (const auto code = TakeResult(m_Connection->m_Multi)) {
    const std::shared_ptr<Connection> ended = std::move(m_Connection);
    ThrowIfRefused(*ended, *code);
    return true;
  }
  return m_Connection->m_Lines.TakeChange();
}

void EventStream::ThrowIfRefused(const Connection& ended, CURLcode code) const {
  const long status = ended.Status();
  if (code == CURLE_OK && status != 200) {
    throw ProblemFailure({status, ended.m_Problem}, m_Socket);
  }
  if (code == CURLE_WRITE_ERROR) throw InvalidReplyFailure(m_Socket, "a line is too long");
  if (status != 200) throw ServiceEndedFailure(m_Socket, false);
}

bool EventStream::Wait(std::int64_t after, std::chrono::milliseconds timeout,
                       const Console::WaitSet& extra) {
  const Console::Deadline deadline(timeout);
  if (!m_Connection) {
    if (!Pause(deadline.Earlier(m_NextConnect).Remaining(), extra) || !m_NextConnect.HasPassed()) {
      return false;
    }
    Connect(after);
  }
  while (!HasChanges()) {
    if (deadline.HasPassed() || Console::IsStopRequested()) return false;
    const curl_socket_t socket = m_Connection->Socket();
    // A Unix socket connects immediately, unless the service's listen backlog is full.
    constexpr std::chrono::milliseconds kPause(20);
    const bool mayContinue =
        socket == CURL_SOCKET_BAD
            ? Pause(deadline.Remaining(kPause), extra)
            : Console::WaitReadable(socket, deadline.Remaining(timeout), extra);
    if (!mayContinue) return false;
  }
  return true;
}

}  // namespace Service
