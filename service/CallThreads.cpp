#include "service/CallThreads.h"

#include <system_error>
#include <thread>
#include <utility>

namespace Service {

CallThreads::~CallThreads() {
  std::unique_lock<std::mutex> lock(m_Lock);
  m_Ended.wait(lock, [this] { return m_Running == 0; });
}

bool CallThreads::Run(std::function<void()> call) {
  constexpr int kMaxCalls = 32;
  const std::lock_guard<std::mutex> lock(m_Lock);
  if (m_Running == kMaxCalls) return false;
  const auto run = [this, call = std::move(call)] {
    call();
    const std::lock_guard<std::mutex> ended(m_Lock);
    --m_Running;
    m_Ended.notify_all();
  };
  try {
    std::thread(run).detach();
  } catch (const std::system_error&) {
    return false;
  }
  ++m_Running;
  return true;
}

}  // namespace Service
