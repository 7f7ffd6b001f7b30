#include "service/CallThreads.h"

#include <thread>
#include <utility>

namespace Service {

CallThreads::~CallThreads() {
  std::unique_lock<std::mutex> lock(m_Lock);
  m_Ended.wait(lock, [this] { return m_Running == 0; });
}

void CallThreads::Run(std::function<void()> call) {
  const std::lock_guard<std::mutex> lock(m_Lock);
  std::thread([this, call = std::move(call)] {
    call();
    const std::lock_guard<std::mutex> ended(m_Lock);
    --m_Running;
    m_Ended.notify_all();
  }).detach();
  ++m_Running;
}

}  // namespace Service
