#include "service/CallThreads.h"

#include <system_error>
#include <thread>
#include <utility>

#include "base/ThreadName.h"

namespace Service {

CallThreads::~CallThreads() {
  Base::MutexLock lock(m_Lock);
  while (m_Running > 0) m_Ended.Wait(lock);
}

bool CallThreads::Run(std::function<void()> call) {
  constexpr int kMaxCalls = 32;
  const Base::MutexLock lock(m_Lock);
  if (m_Running == kMaxCalls) return false;
  const auto run = [this, call = std::move(call)] {
    Base::NameThread("plugin-call");
    call();
    const Base::MutexLock ended(m_Lock);
    --m_Running;
    m_Ended.NotifyAll();
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
