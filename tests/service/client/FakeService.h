// A service on a Unix socket that replies with bytes that the test chooses.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/Descriptor.h"
#include "service/http/Listen.h"
#include "tests/support/Temporary.h"

namespace ClientTest {

// The behavior of the service after a request.
struct Behavior {
  std::string m_Bytes;       // sent as the reply
  bool m_KeepsOpen = false;  // does not close the connection after the reply
};

inline Behavior Reply(int status, const std::string& type, const std::string& body) {
  return {"HTTP/1.1 " + std::to_string(status) + " Some\r\nContent-Type: " + type +
          "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" +
          body};
}

inline Behavior Json(const std::string& body, int status = 200) {
  return Reply(status, "application/json", body);
}

inline Behavior Problem(int status, const std::string& id, const std::string& detail) {
  return Reply(status, "application/problem+json",
               R"({"status": )" + std::to_string(status) + R"(, "id": ")" + id +
                   R"(", "detail": ")" + detail + R"("})");
}

class FakeService {
 public:
  // Returns the behavior for a request, whose text starts with the method and path. Called by a
  // single thread.
  using Respond = std::function<Behavior(const std::string&)>;

  explicit FakeService(Respond respond)
      : m_Respond(std::move(respond)),
        m_Listener(Http::ListenUnix(Socket(), 0600, std::nullopt)),
        m_Thread([this] { Run(); }) {}
  ~FakeService() { Stop(); }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;

  std::filesystem::path Socket() const { return m_Directory.Path() / "socket"; }
  // Stops the service but leaves its socket file, as if the service had been killed.
  void Stop() {
    m_IsStopping = true;
    if (m_Thread.joinable()) m_Thread.join();
    m_OpenConnections.clear();
    m_Listener.Close();
  }
  std::vector<std::string> Requests() const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Requests;
  }

 private:
  static bool IsReadable(int socket) {
    pollfd wait = {socket, POLLIN, 0};
    return poll(&wait, 1, 5) == 1;
  }

  void Run() {
    while (!m_IsStopping) {
      if (!IsReadable(m_Listener.Get())) continue;
      Base::Descriptor connection(accept4(m_Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
      const std::string request = ReadRequest(connection);
      if (request.empty()) continue;  // the client only connected
      const Behavior behavior = m_Respond(request);
      {
        const std::lock_guard<std::mutex> lock(m_Lock);
        m_Requests.push_back(request.substr(0, request.find(" HTTP")));
      }
      Send(connection, behavior.m_Bytes);
      if (behavior.m_KeepsOpen) m_OpenConnections.push_back(std::move(connection));
    }
  }

  static void Send(const Base::Descriptor& connection, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t count =
          send(connection.Get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) return;
      sent += static_cast<std::size_t>(count);
    }
  }

  std::string ReadRequest(const Base::Descriptor& connection) const {
    std::string request;
    while (!m_IsStopping && !IsComplete(request)) {
      if (!IsReadable(connection.Get())) continue;
      char bytes[4096];
      const ssize_t count = recv(connection.Get(), bytes, sizeof bytes, 0);
      if (count <= 0) return {};
      request.append(bytes, static_cast<std::size_t>(count));
    }
    return request;
  }

  static bool IsComplete(const std::string& request) {
    const auto head = request.find("\r\n\r\n");
    if (head == request.npos) return false;
    const std::string name = "Content-Length: ";
    const auto length = request.find(name);
    if (length == request.npos || length > head) return true;
    const auto size = std::strtoul(request.c_str() + length + name.size(), nullptr, 10);
    return request.size() >= head + 4 + size;
  }

  const Respond m_Respond;
  const TemporaryDirectory m_Directory;
  Base::Descriptor m_Listener;
  std::vector<Base::Descriptor> m_OpenConnections;
  std::atomic<bool> m_IsStopping{false};
  mutable std::mutex m_Lock;
  std::vector<std::string> m_Requests;  // guarded by `m_Lock`
  std::thread m_Thread;
};

}  // namespace ClientTest
