#include "cardsim/store/RunningJobs.h"

#include <set>

#include "base/Mutex.h"

namespace CardSim {
namespace {

struct Numbers {
  Base::Mutex mutex;
  std::uint64_t last HOST_GUARDED_BY(mutex) = 0;
  std::set<std::uint64_t> running HOST_GUARDED_BY(mutex);
};

Numbers& TheNumbers() {
  // Never destroyed: threads may still call while the process exits.
  static auto* numbers = new Numbers;
  return *numbers;
}

std::uint64_t BeginJob() {
  Numbers& numbers = TheNumbers();
  const Base::MutexLock lock(numbers.mutex);
  return *numbers.running.insert(++numbers.last).first;
}

}  // namespace

RunningJob::RunningJob() : m_Number(BeginJob()) {}

RunningJob::~RunningJob() {
  if (!m_IsKept) EndJob(m_Number);
}

void EndJob(std::uint64_t number) noexcept {
  Numbers& numbers = TheNumbers();
  const Base::MutexLock lock(numbers.mutex);
  numbers.running.erase(number);
}

bool IsRunning(const JobRecord& record) {
  if (!(record.owner == ThisProcess())) return IsAlive(record.owner);
  Numbers& numbers = TheNumbers();
  const Base::MutexLock lock(numbers.mutex);
  return numbers.running.count(record.number) != 0;
}

}  // namespace CardSim
