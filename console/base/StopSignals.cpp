#include "console/base/StopSignals.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "console/base/Failure.h"

namespace Console {
namespace {

// Set by the signal handler and read by all threads.
std::atomic<int> g_Stop{0};
static_assert(std::atomic<int>::is_always_lock_free);
volatile sig_atomic_t g_SecondKills = 1;
int g_StopFd = -1;

void SetHandler(void (*handler)(int)) {
  struct sigaction action = {};
  sigemptyset(&action.sa_mask);
  action.sa_handler = handler;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
}

// Written by a second signal. Set by any thread, and read by the signal handler.
constexpr const char* kTerminated = "corvane-host: terminated by a second signal\n";
std::atomic<const char*> g_SecondText{kTerminated};
static_assert(std::atomic<const char*>::is_always_lock_free);

// Prints the text, then terminates the program as the signal does by default.
void OnSecondSignal(int number) {
  const char* const text = g_SecondText;
  if (write(STDERR_FILENO, text, std::strlen(text)) < 0) {
    // A signal handler cannot report the error, and the program ends anyway.
  }
  signal(number, SIG_DFL);
  raise(number);
}

// If `g_SecondKills` is set, any second signal terminates the program.
void OnSignal(int) {
  const int savedErrno = errno;
  g_Stop = 1;
  if (g_SecondKills != 0) SetHandler(OnSecondSignal);
  const std::uint64_t one = 1;
  if (write(g_StopFd, &one, sizeof one) < 0) {
    // A signal handler cannot report the error, and the flag is already set.
  }
  errno = savedErrno;
}

}  // namespace

void InstallStopHandlers(bool secondKills) {
  g_StopFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (g_StopFd < 0) {
    throw Failure(ExitCode::Failed, "NO_DESCRIPTOR", "cannot handle signals", std::strerror(errno));
  }
  g_SecondKills = secondKills ? 1 : 0;
  SetHandler(OnSignal);
  // Writes to a closed pipe, or beyond the file size limit, then return an error.
  for (const int number : {SIGPIPE, SIGXFSZ}) signal(number, SIG_IGN);
  // If the parent process ignores SIGCHLD, so would this one, and exit statuses would be lost.
  signal(SIGCHLD, SIG_DFL);
}

void SetSecondSignalText(const char* text) {
  g_SecondText = text == nullptr ? kTerminated : text;
}

void ThrowIfStopped() {
  if (g_Stop != 0) throw Stopped();
}

void ClearStopRequest() {
  eventfd_t ignored = 0;
  if (eventfd_read(g_StopFd, &ignored) == 0) g_Stop = 0;
}

bool IsStopRequested() {
  return g_Stop != 0;
}

int StopDescriptor() {
  return g_StopFd;
}

bool WaitForStop(std::chrono::milliseconds timeout) {
  pollfd wait = {g_StopFd, POLLIN, 0};
  poll(&wait, 1, static_cast<int>(timeout.count()));
  return IsStopRequested();
}

// If the reader closes the output, poll() reports an error even if no events are requested.
bool WaitReadable(int fd, std::chrono::milliseconds timeout, const WaitSet& extra) {
  std::array<pollfd, 4> waits = {pollfd{fd, POLLIN, 0}, pollfd{g_StopFd, POLLIN, 0},
                                 pollfd{extra.m_Readable, POLLIN, 0}, pollfd{extra.m_Reader, 0, 0}};
  const int count = poll(waits.data(), waits.size(), static_cast<int>(timeout.count()));
  return count > 0 && (waits[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0 && g_Stop == 0;
}

bool HasLostReader(int fd) {
  pollfd request = {fd, 0, 0};
  return poll(&request, 1, 0) > 0 && (request.revents & (POLLERR | POLLHUP)) != 0;
}

}  // namespace Console
