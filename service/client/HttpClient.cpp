#include "service/client/HttpClient.h"

#include <array>
#include <utility>

#include "console/base/Failure.h"
#include "console/base/StopSignals.h"
#include "service/client/ServiceFailure.h"

namespace Service {
namespace {

using Console::OnStop;

// Adds the easy handle to the multi handle for one transfer. After its removal, it can be used for
// the next transfer.
class Transfer {
 public:
  Transfer(const MultiHandle& multi, const EasyHandle& easy) : m_Multi(multi), m_Easy(easy) {
    curl_multi_add_handle(m_Multi.get(), m_Easy.get());
  }
  ~Transfer() { curl_multi_remove_handle(m_Multi.get(), m_Easy.get()); }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

 private:
  const MultiHandle& m_Multi;
  const EasyHandle& m_Easy;
};

// Waits for activity on the connection, for the deadline, or for a stop signal if that ends the
// request.
void Poll(const MultiHandle& multi, const Console::Deadline& deadline, OnStop onStop) {
  curl_waitfd stop = {};
  stop.fd = Console::StopDescriptor();
  stop.events = CURL_WAIT_POLLIN;
  const unsigned count = onStop == OnStop::Abandon && stop.fd >= 0 ? 1 : 0;
  curl_multi_poll(multi.get(), &stop, count, static_cast<int>(deadline.Remaining().count()),
                  nullptr);
}

}  // namespace

HttpClient::HttpClient(std::filesystem::path socket, std::size_t maxBodyBytes)
    : m_Socket(std::move(socket)),
      m_MaxBodyBytes(maxBodyBytes),
      m_Headers(MakeHeaders("Content-Type: application/json")),
      m_Multi(MakeMulti()),
      m_Easy(MakeEasy(m_Socket)) {
  SetOption(m_Easy, CURLOPT_WRITEFUNCTION, &HttpClient::Append);
  SetOption(m_Easy, CURLOPT_WRITEDATA, this);
}

// libcurl aborts the transfer if the return value is less than `size`.
std::size_t HttpClient::Append(const char* text, std::size_t, std::size_t size,
                               HttpClient* client) {
  if (size > client->m_MaxBodyBytes - client->m_Body.size()) return 0;
  client->m_Body.append(text, size);
  return size;
}

// Changes use a new connection, because libcurl repeats a request if a reused connection turns out
// to be closed.
std::optional<HttpReply> HttpClient::Send(const HttpRequest& request,
                                          const Console::Deadline& deadline) {
  SetOption(m_Easy, CURLOPT_URL, UrlOf(request.m_Path).c_str());
  SetOption(m_Easy, CURLOPT_FRESH_CONNECT, request.m_IsChange ? 1L : 0L);
  if (request.m_Body) {
    SetOption(m_Easy, CURLOPT_POST, 1L);
    SetOption(m_Easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.m_Body->size()));
    SetOption(m_Easy, CURLOPT_POSTFIELDS, request.m_Body->c_str());
    SetOption(m_Easy, CURLOPT_HTTPHEADER, m_Headers.get());
  } else {
    SetOption(m_Easy, CURLOPT_HTTPGET, 1L);
    SetOption(m_Easy, CURLOPT_HTTPHEADER, static_cast<curl_slist*>(nullptr));
  }
  SetOption(m_Easy, CURLOPT_CUSTOMREQUEST, request.m_IsDelete ? "DELETE" : nullptr);
  m_Body.clear();
  const auto code = Perform(request, deadline);
  if (!code) return std::nullopt;
  if (*code != CURLE_OK) ThrowFailure(*code, request);
  m_HasReplied = true;
  HttpReply reply;
  curl_easy_getinfo(m_Easy.get(), CURLINFO_RESPONSE_CODE, &reply.m_Status);
  reply.m_Body = std::move(m_Body);
  return reply;
}

// Returns empty at the deadline.
std::optional<CURLcode> HttpClient::Perform(const HttpRequest& request,
                                            const Console::Deadline& deadline) {
  const Transfer transfer(m_Multi, m_Easy);
  for (;;) {
    int running = 0;
    if (curl_multi_perform(m_Multi.get(), &running) != CURLM_OK) return CURLE_OUT_OF_MEMORY;
    if (const auto result = TakeResult(m_Multi)) return result;
    if (request.m_OnStop == OnStop::Abandon) Console::ThrowIfStopped();
    if (deadline.HasPassed()) return std::nullopt;
    Poll(m_Multi, deadline, request.m_OnStop);
  }
}

void HttpClient::ThrowFailure(CURLcode code, const HttpRequest& request) const {
  if (code == CURLE_COULDNT_CONNECT && !m_HasReplied) throw CannotConnectFailure(m_Socket);
  if (code == CURLE_COULDNT_CONNECT || code == CURLE_GOT_NOTHING || code == CURLE_RECV_ERROR ||
      code == CURLE_SEND_ERROR || code == CURLE_PARTIAL_FILE) {
    throw ServiceEndedFailure(m_Socket, request.m_IsChange && code != CURLE_COULDNT_CONNECT);
  }
  if (code == CURLE_WRITE_ERROR) throw InvalidReplyFailure(m_Socket, "it is too long");
  throw InvalidReplyFailure(m_Socket, curl_easy_strerror(code));
}

}  // namespace Service
