#include "console/base/CallWithTimeout.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include "base/ThreadName.h"
#include "console/base/Failure.h"
#include "console/base/Notifier.h"
#include "console/base/StopSignals.h"

namespace Console {
namespace {

std::atomic<bool> g_HasAbandoned{false};

struct Running {
  explicit Running(std::function<std::uint32_t()> call) : m_Task(std::move(call)) {}

  std::packaged_task<std::uint32_t()> m_Task;
  Notifier m_Ended;
};

// A stop signal ends the notifier's wait immediately, so `OnStop::Continue` does not use the
// notifier.
bool AwaitEnd(Running& running, std::future<std::uint32_t>& result, const Deadline& deadline,
              OnStop onStop) {
  while (!deadline.HasPassed()) {
    if (onStop == OnStop::Continue) {
      if (result.wait_for(deadline.Remaining()) == std::future_status::ready) return true;
    } else if (IsStopRequested() || running.m_Ended.Wait(deadline.Remaining(), WaitSet())) {
      break;
    }
  }
  return result.wait_for(kGrace) == std::future_status::ready;
}

std::thread StartThread(const std::shared_ptr<Running>& running) {
  try {
    return std::thread([running] {
      Base::NameThread("plugin-call");
      running->m_Task();
      running->m_Ended.Notify();
    });
  } catch (const std::system_error& e) {
    throw Failure(ExitCode::Failed, "NO_THREAD", "cannot start a thread", e.code().message(),
                  {"Allow this user more processes and threads (ulimit -u), or free memory."});
  }
}

}  // namespace

std::optional<std::uint32_t> CallWithTimeout(std::function<std::uint32_t()> call,
                                             const Deadline& deadline, OnStop onStop) {
  const auto running = std::make_shared<Running>(std::move(call));
  std::future<std::uint32_t> result = running->m_Task.get_future();
  std::thread thread = StartThread(running);
  if (!AwaitEnd(*running, result, deadline, onStop)) {
    g_HasAbandoned = true;
    thread.detach();
    return std::nullopt;
  }
  thread.join();
  return result.get();
}

void AbandonThreads() {
  g_HasAbandoned = true;
}

void ExitProgram(int code) {
  std::fflush(nullptr);
  if (g_HasAbandoned) std::_Exit(code);
  std::exit(code);
}

}  // namespace Console
