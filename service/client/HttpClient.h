// An HTTP client over a Unix socket, for programs that use the service.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

#include "console/base/CallWithTimeout.h"
#include "console/base/Deadline.h"
#include "service/client/CurlHandles.h"

namespace Service {

struct HttpReply {
  long m_Status = 0;
  std::string m_Body;
};

struct HttpRequest {
  std::string m_Path;                 // with the query
  std::optional<std::string> m_Body;  // JSON, sent with POST; empty: GET
  bool m_IsDelete = false;            // DELETE instead of GET
  // A change may take effect even without a reply, so it is sent at most once.
  bool m_IsChange = false;
  Console::OnStop m_OnStop = Console::OnStop::Abandon;  // effect of a stop signal
};

// Keeps its connection between requests. Not thread-safe.
class HttpClient {
 public:
  static constexpr std::size_t kMaxBodyBytes = 64U << 20U;

  // Does not connect yet. Replies with a body longer than `maxBodyBytes` are rejected.
  explicit HttpClient(std::filesystem::path socket, std::size_t maxBodyBytes = kMaxBodyBytes);
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  const std::filesystem::path& Socket() const { return m_Socket; }

  // Sends a request and waits for the reply. Returns empty at the deadline. Throws a failure from
  // `ServiceFailure.h` if there is no usable reply, and `Console::Stopped` on a stop signal if
  // `m_OnStop` is `Abandon`.
  std::optional<HttpReply> Send(const HttpRequest& request, const Console::Deadline& deadline);

 private:
  std::optional<CURLcode> Perform(const HttpRequest& request, const Console::Deadline& deadline);
  [[noreturn]] void ThrowFailure(CURLcode code, const HttpRequest& request) const;
  static std::size_t Append(const char* text, std::size_t, std::size_t size, HttpClient* client);

  const std::filesystem::path m_Socket;
  const std::size_t m_MaxBodyBytes;
  const HeaderList m_Headers;
  const MultiHandle m_Multi;
  const EasyHandle m_Easy;  // not in `m_Multi` between requests
  bool m_HasReplied = false;
  std::string m_Body;
};

}  // namespace Service
