#include "console/Call.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <thread>
#include <utility>

#include "console/Bell.h"
#include "console/Stop.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// What is slow and not stuck comes back in good order.
constexpr milliseconds kGrace = std::chrono::seconds(2);

std::atomic<bool> g_HasAbandoned{false};

struct Running {
  explicit Running(std::function<std::uint32_t()> call) : m_Task(std::move(call)) {}

  std::packaged_task<std::uint32_t()> m_Task;
  Bell m_Ended;
};

bool IsOver(const Deadline& deadline) {
  return deadline && steady_clock::now() >= *deadline;
}

void AwaitEnd(const Running& running, const Deadline& deadline) {
  constexpr milliseconds kOneWait = std::chrono::hours(1);
  while (!StopAsked() && !IsOver(deadline)) {
    milliseconds span = kOneWait;
    if (deadline) {
      const auto left = std::chrono::duration_cast<milliseconds>(*deadline - steady_clock::now());
      span = std::min(span, std::max(left, milliseconds(0)) + milliseconds(1));
    }
    if (running.m_Ended.Wait(span, Interest())) return;
  }
}

}  // namespace

std::optional<std::uint32_t> CallPatiently(std::function<std::uint32_t()> call,
                                           const Deadline& deadline) {
  const auto running = std::make_shared<Running>(std::move(call));
  std::future<std::uint32_t> result = running->m_Task.get_future();
  std::thread thread([running] {
    running->m_Task();
    running->m_Ended.Ring();
  });
  AwaitEnd(*running, deadline);
  if (result.wait_for(kGrace) != std::future_status::ready) {
    g_HasAbandoned = true;
    thread.detach();
    return std::nullopt;
  }
  thread.join();
  return result.get();
}

void EndProgram(int code) {
  std::fflush(nullptr);
  if (g_HasAbandoned) std::_Exit(code);
  std::exit(code);
}

}  // namespace Console
