// A server on a Unix socket and a TCP socket, and clients for it.
#pragma once

#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "base/Descriptor.h"
#include "service/http/Listen.h"
#include "service/http/Server.h"
#include "tests/support/Temporary.h"

namespace HttpTest {

using std::chrono::milliseconds;

// Longer than any successful wait, so that a test fails instead of hanging.
constexpr milliseconds kTimeout(60000);

// Returns true once `predicate` holds, or false on timeout.
inline bool Await(const std::function<bool()>& predicate) {
  const auto end = std::chrono::steady_clock::now() + kTimeout;
  while (!predicate()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(milliseconds(2));
  }
  return true;
}

// A response as a client sees it.
struct Result {
  long m_Status = 0;                             // 0 without a response
  std::map<std::string, std::string> m_Headers;  // names in lower case
  std::string m_Body;

  // The id of a problem document; empty for other bodies.
  std::string Id() const {
    const auto document = nlohmann::json::parse(m_Body, nullptr, false);
    return document.is_object() ? document.value("id", "") : "";
  }
  // "404 NOT_FOUND", or only the status.
  std::string Short() const { return std::to_string(m_Status) + (Id().empty() ? "" : " " + Id()); }
};

enum class Transport { Unix, Tcp };

inline std::ostream& operator<<(std::ostream& out, Transport transport) {
  return out << (transport == Transport::Unix ? "Unix" : "TCP");
}

// Grants all permissions to the user of this process, with time limits that no test reaches.
inline Http::Settings OpenSettings() {
  Http::Settings settings;
  settings.m_Permissions.m_Users = {geteuid()};
  settings.m_Limits.m_CheckInterval = milliseconds(10);
  settings.m_Limits.m_RequestTimeout = settings.m_Limits.m_ResponseTimeout = std::chrono::hours(1);
  return settings;
}

class TestServer {
 public:
  explicit TestServer(std::vector<Http::Route> routes, Http::Settings settings = OpenSettings())
      : m_Socket((m_Directory.Path() / "socket").string()) {
    std::vector<Base::Descriptor> listeners;
    listeners.push_back(Http::ListenUnix(m_Socket, 0666, std::nullopt));
    listeners.push_back(Http::ListenTcp("127.0.0.1", 0));
    m_Port = Http::PortOf(listeners.back());
    m_Server = std::make_unique<Http::Server>(std::move(routes), std::move(settings),
                                              std::move(listeners));
  }

  const TemporaryDirectory& Directory() const { return m_Directory; }
  const std::string& Socket() const { return m_Socket; }
  std::uint16_t Port() const { return m_Port; }
  std::string Host() const { return "127.0.0.1:" + std::to_string(m_Port); }
  void SetPermissions(Http::Permissions permissions) {
    m_Server->SetPermissions(std::move(permissions));
  }
  void Stop() { m_Server.reset(); }

 private:
  TemporaryDirectory m_Directory;
  const std::string m_Socket;
  std::uint16_t m_Port = 0;
  std::unique_ptr<Http::Server> m_Server;
};

// Sends requests with libcurl and keeps its connection open. Not thread-safe.
class Client {
 public:
  using Headers = std::vector<std::string>;

  explicit Client(const TestServer& server, Transport transport = Transport::Unix)
      : m_Curl(curl_easy_init()), m_Url("http://" + server.Host()) {
    Set(CURLOPT_NOPROXY, "*");
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_PATH_AS_IS, 1L);
    Set(CURLOPT_TIMEOUT_MS, static_cast<long>(kTimeout.count()));
    Set(CURLOPT_HEADERFUNCTION, &Client::OnHeader);
    Set(CURLOPT_HEADERDATA, &m_Result);
    Set(CURLOPT_WRITEFUNCTION, &Client::OnBody);
    Set(CURLOPT_WRITEDATA, &m_Result);
    if (transport == Transport::Unix) Set(CURLOPT_UNIX_SOCKET_PATH, server.Socket().c_str());
  }
  ~Client() { curl_easy_cleanup(m_Curl); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  Result Get(const std::string& path, const Headers& headers = {}) {
    return Send("GET", path, headers, nullptr);
  }
  Result Head(const std::string& path) {
    Set(CURLOPT_NOBODY, 1L);
    Result result = Send("HEAD", path, {}, nullptr);
    Set(CURLOPT_NOBODY, 0L);
    return result;
  }
  // Sends a JSON body unless the headers have another Content-Type.
  Result Send(const std::string& method, const std::string& path, const std::string& body,
              Headers headers = {"Content-Type: application/json"}) {
    return Send(method, path, headers, &body);
  }
  Result SendEmpty(const std::string& method, const std::string& path) {
    return Send(method, path, {}, nullptr);
  }
  // The number of connections that the last request opened: 0 if it reused one.
  long NewConnections() const {
    long count = -1;
    curl_easy_getinfo(m_Curl, CURLINFO_NUM_CONNECTS, &count);
    return count;
  }

 private:
  template <typename Value>
  void Set(CURLoption option, Value value) {
    ASSERT_EQ(CURLE_OK, curl_easy_setopt(m_Curl, option, value));
  }

  Result Send(const std::string& method, const std::string& path, const Headers& headers,
              const std::string* body) {
    m_Result = Result();
    curl_slist* list = nullptr;
    for (const std::string& header : headers) list = curl_slist_append(list, header.c_str());
    Set(CURLOPT_HTTPHEADER, list);
    Set(CURLOPT_URL, (m_Url + path).c_str());
    if (body != nullptr) {
      Set(CURLOPT_POST, 1L);
      Set(CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
      Set(CURLOPT_POSTFIELDS, body->c_str());
    } else if (method != "HEAD") {
      Set(CURLOPT_HTTPGET, 1L);
    }
    Set(CURLOPT_CUSTOMREQUEST, method.c_str());
    if (curl_easy_perform(m_Curl) == CURLE_OK) {
      curl_easy_getinfo(m_Curl, CURLINFO_RESPONSE_CODE, &m_Result.m_Status);
    }
    curl_slist_free_all(list);
    return m_Result;
  }

  static size_t OnHeader(const char* text, size_t, size_t size, Result* result) {
    std::string line(text, size);
    const auto colon = line.find(": ");
    if (colon == line.npos) return size;
    std::string name = line.substr(0, colon);
    for (char& each : name) each = static_cast<char>(tolower(each));
    result->m_Headers[name] = line.substr(colon + 2, line.find('\r') - colon - 2);
    return size;
  }
  static size_t OnBody(const char* text, size_t, size_t size, Result* result) {
    result->m_Body.append(text, size);
    return size;
  }

  CURL* const m_Curl;
  const std::string m_Url;
  Result m_Result;
};

// A connection for raw bytes, which may be malformed or sent slowly.
class RawClient {
 public:
  explicit RawClient(const TestServer& server, Transport transport = Transport::Unix)
      : m_Socket(socket(transport == Transport::Unix ? AF_UNIX : AF_INET,
                        SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int code = transport == Transport::Unix ? Connect(UnixAddress(server))
                                                  : Connect(TcpAddress(server.Port()));
    m_IsConnected = code == 0;
  }
  // Connects over TCP to this port of the local host.
  explicit RawClient(std::uint16_t port)
      : m_Socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    m_IsConnected = Connect(TcpAddress(port)) == 0;
  }

  bool IsConnected() const { return m_IsConnected; }
  // Returns false if the connection is closed.
  bool Send(const std::string& bytes) const {
    return send(m_Socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
  }
  // Closes the sending direction of the connection.
  void EndSending() const { shutdown(m_Socket.Get(), SHUT_WR); }
  void Close() { m_Socket.Close(); }

  // Reads until the received bytes contain `text` or the connection is closed. Fails the test after
  // `kTimeout` without data. Returns everything that has been received.
  const std::string& ReadUntil(const std::string& text) {
    while (m_Received.find(text) == m_Received.npos && ReadSome()) continue;
    return m_Received;
  }
  const std::string& ReadToEnd() {
    while (ReadSome()) continue;
    return m_Received;
  }
  // Whether the server has closed the connection. Discards unread bytes.
  bool HasEnded() const {
    char bytes[4096];
    for (;;) {
      const ssize_t count = recv(m_Socket.Get(), bytes, sizeof bytes, MSG_DONTWAIT);
      if (count <= 0) return count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
    }
  }

  // Parses the last response in the received bytes.
  static Result Parse(const std::string& received) {
    Result result;
    const auto start = received.rfind("HTTP/1.1 ");
    if (start == received.npos) return result;
    result.m_Status = std::stol(received.substr(start + 9, 3));
    const auto body = received.find("\r\n\r\n", start);
    if (body != received.npos) result.m_Body = received.substr(body + 4);
    return result;
  }

 private:
  static sockaddr_un UnixAddress(const TestServer& server) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    server.Socket().copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
  }
  static sockaddr_in TcpAddress(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }
  template <typename Address>
  int Connect(const Address& address) const {
    return connect(m_Socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  bool ReadSome() {
    pollfd wait = {m_Socket.Get(), POLLIN, 0};
    if (poll(&wait, 1, static_cast<int>(kTimeout.count())) != 1) {
      ADD_FAILURE() << "timed out; received so far: " << m_Received;
      return false;
    }
    char bytes[4096];
    const ssize_t count = recv(m_Socket.Get(), bytes, sizeof bytes, 0);
    if (count > 0) m_Received.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
  }

  Base::Descriptor m_Socket;
  bool m_IsConnected = false;
  std::string m_Received;
};

// Sends a request on a separate connection and returns the response. `lines` are the request line
// and headers without the final line break.
inline Result SendRaw(const TestServer& server, const std::string& lines,
                      Transport transport = Transport::Unix) {
  RawClient client(server, transport);
  client.Send(lines + "\r\nConnection: close\r\n\r\n");
  return RawClient::Parse(client.ReadToEnd());
}

inline Http::Reply Text(const std::string& text) {
  return Http::MakeResponse(200, "text/plain", text);
}

// A route that responds with a fixed body.
inline Http::Route TextRoute(const std::string& path, const std::string& text,
                             Http::Access access = Http::Access::Anyone) {
  return {Http::Method::Get, path, access, [text](const Http::Request&) { return Text(text); }};
}

}  // namespace HttpTest
