#include "cardsim/api/Calls.h"

#include <atomic>
#include <memory>
#include <stdexcept>
#include <utility>

#include "base/Mutex.h"
#include "cardsim/api/Refusal.h"
#include "cardsim/store/FunctionNames.h"

namespace CardSim {
namespace {

struct InjectedFailure {
  std::string function;
  unsigned int passing;  // calls that will still succeed
  unsigned int failing;  // calls that will fail after that
  Refusal refusal;
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
  if (request.passing > 0) {
    --request.passing;
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
  const Refusal* hit = nullptr;
  // Every request counts every call, so that requests do not affect each other.
  for (InjectedFailure& request : watch.failures) {
    if (request.function == function && CountAndCheckFailure(request) && hit == nullptr)
      hit = &request.refusal;
  }
  if (hit != nullptr) throw Refusal(*hit);
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
