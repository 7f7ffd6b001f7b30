#include "console/plugin/CardError.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "base/Mutex.h"

namespace Console {
namespace {

thread_local CardErrorScope* t_pScope = nullptr;

// The calls of an attach or detach that fail after the plug-in has replied to the host.
constexpr const char* kJobCalls[] = {"vsl_iom_attach_create", "vsl_iom_detach_create",
                                     "vsl_iom_detach_set_force", "vsl_op_start",
                                     "vsl_op_wait_for_result"};

bool IsJobCall(const char* function) {
  return std::any_of(std::begin(kJobCalls), std::end(kJobCalls),
                     [&](const char* each) { return std::strcmp(each, function) == 0; });
}

struct JobError {
  Base::Mutex m_Lock;
  std::optional<CardError> m_Last HOST_GUARDED_BY(m_Lock);
};

// Never destroyed: a job may still be running while the process exits.
JobError& LastJob() {
  static auto* job = new JobError;
  return *job;
}

}  // namespace

void RecordCardError(const char* function, std::uint64_t code, const char* text) {
  CardError error = {function, code, text == nullptr ? "" : text};
  if (t_pScope != nullptr) {
    t_pScope->m_Last = std::move(error);
  } else if (IsJobCall(function)) {
    JobError& job = LastJob();
    const Base::MutexLock lock(job.m_Lock);
    job.m_Last = std::move(error);
  }
}

std::optional<CardError> LastJobError() {
  JobError& job = LastJob();
  const Base::MutexLock lock(job.m_Lock);
  return job.m_Last;
}

void ForgetJobError() {
  JobError& job = LastJob();
  const Base::MutexLock lock(job.m_Lock);
  job.m_Last.reset();
}

CardErrorScope::CardErrorScope() : m_pOuter(t_pScope) {
  t_pScope = this;
}

CardErrorScope::~CardErrorScope() {
  t_pScope = m_pOuter;
}

}  // namespace Console
