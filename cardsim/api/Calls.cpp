#include "cardsim/api/Calls.h"

#include <atomic>
#include <memory>
#include <stdexcept>
#include <utility>

#include "base/Mutex.h"
#include "cardsim/api/CallFailure.h"
#include "cardsim/store/FunctionNames.h"

namespace CardSim {
namespace {

struct InjectedFailure {
  std::string function;
  unsigned int skipped;  // calls to leave alone first
  unsigned int failing;  // calls that fail after those
  CallFailure failure;
};

struct CallWatch {
  std::atomic<bool> active{false};
  Base::Mutex mutex;
  bool logging HOST_GUARDED_BY(mutex) = false;
  std::vector<Call> log HOST_GUARDED_BY(mutex);
  Hook hook HOST_GUARDED_BY(mutex);
  std::vector<InjectedFailure> failures HOST_GUARDED_BY(mutex);
};

CallWatch& TheCallWatch() {
  // Never destroyed: threads may still call while the process exits.
  static auto* watch = new CallWatch;
  return *watch;
}

// Counts this call and returns whether it must fail.
bool CountAndCheckFailure(InjectedFailure& request) {
  if (request.skipped > 0) {
    --request.skipped;
    return false;
  }
  if (request.failing == 0) return false;
  --request.failing;
  return true;
}

}  // namespace

std::string Call::text() const {
  std::string line = function;
  if (!handle.empty()) line += " " + handle;
  if (!argument.empty()) line += " " + argument;
  return line;
}

bool MayBeIntercepted() {
  return TheCallWatch().active.load(std::memory_order_acquire);
}

Hook LogCall(const Call& call) {
  CallWatch& watch = TheCallWatch();
  const Base::MutexLock lock(watch.mutex);
  if (watch.logging) watch.log.push_back(call);
  return watch.hook;
}

void ThrowIfCallMustFail(const std::string& function) {
  CallWatch& watch = TheCallWatch();
  const Base::MutexLock lock(watch.mutex);
  const CallFailure* hit = nullptr;
  // Every request for the function counts the call, even if another request makes it fail.
  for (InjectedFailure& request : watch.failures) {
    if (request.function == function && CountAndCheckFailure(request) && hit == nullptr)
      hit = &request.failure;
  }
  if (hit != nullptr) throw CallFailure(*hit);
}

void ResetCalls() {
  CallWatch& watch = TheCallWatch();
  const Base::MutexLock lock(watch.mutex);
  watch.logging = true;
  watch.log.clear();
  watch.hook.reset();
  watch.failures.clear();
  watch.active.store(true, std::memory_order_release);
}

std::vector<Call> CallLog() {
  CallWatch& watch = TheCallWatch();
  const Base::MutexLock lock(watch.mutex);
  return watch.log;
}

std::vector<std::string> CallTexts() {
  std::vector<std::string> texts;
  for (const Call& call : CallLog()) texts.push_back(call.text());
  return texts;
}

void FailCall(const std::string& function, unsigned int nth, std::uint64_t code,
              const std::string& text, unsigned int times) {
  CheckFunction(function);
  if (nth == 0) throw std::runtime_error("calls are numbered from 1");
  if (code == 0) throw std::runtime_error("the code must not be 0, which means success");
  CallWatch& watch = TheCallWatch();
  const Base::MutexLock lock(watch.mutex);
  watch.failures.push_back({function, nth - 1, times, {code, text}});
  watch.active.store(true, std::memory_order_release);
}

void SetHook(std::function<void(const Call&)> hook) {
  CallWatch& watch = TheCallWatch();
  const Base::MutexLock lock(watch.mutex);
  watch.hook.reset();
  if (hook) watch.hook = std::make_shared<std::function<void(const Call&)>>(std::move(hook));
  watch.active.store(true, std::memory_order_release);
}

}  // namespace CardSim
