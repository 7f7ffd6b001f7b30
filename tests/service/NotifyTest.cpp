// Notifications to the service manager, through a socket like that of the manager.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/Descriptor.h"
#include "service/systemd/Notify.h"
#include "tests/support/Temporary.h"

namespace {

using std::chrono::microseconds;

class Manager {
 public:
  Manager() : m_Socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    Path().copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, bind(m_Socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
  }

  std::string Path() const { return m_Directory.Path() / "notify"; }
  // The next message; empty if there is none.
  std::string Receive() const {
    char text[4096];
    const ssize_t size = recv(m_Socket.Get(), text, sizeof text, 0);
    return size < 0 ? std::string() : std::string(text, static_cast<std::size_t>(size));
  }

 private:
  const TemporaryDirectory m_Directory;
  const Base::Descriptor m_Socket;
};

TEST(Notify, SendsToTheSocketOfTheManager) {
  const Manager manager;
  const ScopedVariable variable("NOTIFY_SOCKET", manager.Path());
  Systemd::Notify("READY=1\nSTATUS=3 cards");
  EXPECT_EQ("READY=1\nSTATUS=3 cards", manager.Receive());
  Systemd::Notify("STOPPING=1");
  EXPECT_EQ("STOPPING=1", manager.Receive());
}

TEST(Notify, DoesNothingWithoutAManager) {
  const Manager manager;
  const ScopedVariable variable("NOTIFY_SOCKET", std::nullopt);
  Systemd::Notify("READY=1");
  EXPECT_EQ("", manager.Receive());
}

TEST(Notify, SendsTheTimeOfAReload) {
  const Manager manager;
  const ScopedVariable variable("NOTIFY_SOCKET", manager.Path());
  timespec before = {};
  clock_gettime(CLOCK_MONOTONIC, &before);
  Systemd::NotifyReloading();
  timespec after = {};
  clock_gettime(CLOCK_MONOTONIC, &after);
  const std::string message = manager.Receive();
  const std::string start = "RELOADING=1\nMONOTONIC_USEC=";
  ASSERT_EQ(start, message.substr(0, start.size()));
  const long long time = std::stoll(message.substr(start.size()));
  EXPECT_GE(time, before.tv_sec * 1'000'000LL + before.tv_nsec / 1000);
  EXPECT_LE(time, after.tv_sec * 1'000'000LL + after.tv_nsec / 1000);
}

TEST(WatchdogTimeout, IsSetByTheManager) {
  const ScopedVariable pid("WATCHDOG_PID", std::to_string(getpid()));
  const ScopedVariable time("WATCHDOG_USEC", "30000000");
  EXPECT_EQ(microseconds(30'000'000), Systemd::WatchdogTimeout());
}

TEST(WatchdogTimeout, IsEmptyForAnotherProcess) {
  const ScopedVariable pid("WATCHDOG_PID", std::to_string(getpid() + 1));
  const ScopedVariable time("WATCHDOG_USEC", "30000000");
  EXPECT_EQ(std::nullopt, Systemd::WatchdogTimeout());
}

TEST(WatchdogTimeout, IsEmptyWithoutAWatchdog) {
  const ScopedVariable time("WATCHDOG_USEC", std::nullopt);
  EXPECT_EQ(std::nullopt, Systemd::WatchdogTimeout());
}

}  // namespace
