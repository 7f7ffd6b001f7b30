#include "console/Call.h"

#include <atomic>
#include <chrono>
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

// What is slow and not stuck comes back in good order.
constexpr std::chrono::seconds kGrace(2);

std::atomic<bool> g_HasAbandoned{false};

struct Running {
  explicit Running(std::function<std::uint32_t()> call) : m_Task(std::move(call)) {}

  std::packaged_task<std::uint32_t()> m_Task;
  Bell m_Ended;
};

void AwaitEnd(const Running& running, const Deadline& deadline) {
  while (!StopAsked() && !deadline.IsOver()) {
    if (running.m_Ended.Wait(deadline.Left(), Interest())) return;
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
