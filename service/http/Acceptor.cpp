#include "service/http/Acceptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "base/ThreadName.h"

namespace Http {
namespace {

// How long to wait before the next attempt after accept4() has failed, for example because the
// process has no free descriptor. The client remains in the queue, so poll() would return at once.
constexpr int kRetryMs = 100;

Base::Descriptor MakeEvent() {
  Base::Descriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!event.IsOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
  return event;
}

// Another process can accept the client that poll() has reported; accept4() must not wait then.
Base::Descriptor NonBlocking(Base::Descriptor listener) {
  const int flags = fcntl(listener.Get(), F_GETFL);
  if (flags < 0 || fcntl(listener.Get(), F_SETFL, flags | O_NONBLOCK) < 0) {
    throw std::system_error(errno, std::generic_category(), "fcntl");
  }
  return listener;
}

}  // namespace

Acceptor::Acceptor(Base::Descriptor listener, Take take)
    : m_Listener(NonBlocking(std::move(listener))),
      m_Take(std::move(take)),
      m_Stop(MakeEvent()),
      m_Thread([this] { Run(); }) {}

Acceptor::~Acceptor() {
  eventfd_write(m_Stop.Get(), 1);
  m_Thread.join();
}

void Acceptor::Run() noexcept {
  Base::NameThread("http-accept");
  while (AwaitClient()) {
    if (AcceptOne()) continue;
    pollfd stop = {m_Stop.Get(), POLLIN, 0};
    poll(&stop, 1, kRetryMs);
  }
}

// Returns false when the thread must end.
bool Acceptor::AwaitClient() const {
  std::array<pollfd, 2> events = {{{m_Stop.Get(), POLLIN, 0}, {m_Listener.Get(), POLLIN, 0}}};
  while (poll(events.data(), events.size(), -1) < 0) continue;  // EINTR, or out of memory
  return events[0].revents == 0;
}

// Returns false if no client can be accepted now.
bool Acceptor::AcceptOne() {
  sockaddr_storage address = {};
  socklen_t size = sizeof address;
  auto* const client = reinterpret_cast<sockaddr*>(&address);
  const int socket = accept4(m_Listener.Get(), client, &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (socket < 0) return errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
  m_Take(socket, client, size);
  return true;
}

}  // namespace Http
