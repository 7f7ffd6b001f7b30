// Jobs: create, set options, start, wait.
#include "cardsim/api/FormatPlan.h"
#include "cardsim/api/Jobs.h"
#include "host/vsl_abstraction.h"

using namespace CardSim;

namespace {

std::shared_ptr<Handle> MakeJob(Session& session, HandleKind kind, void* iom, void** out)
    HOST_REQUIRES(g_LibraryLock) {
  if (out == nullptr) session.RejectMisuse(nullptr, kBadHandle, "null handle variable");
  const auto card = session.Expect(iom, KindBit(HandleKind::Card));
  return session.Make(kind, card->card, out);
}

vsl_code CreateJob(const char* function, HandleKind kind, void* iom, void** out,
                   vsl_error_record* err) {
  return RunForCode({function, iom}, err, [&] {
    Session session(function);
    const auto job = MakeJob(session, kind, iom, out);
    if (kind == HandleKind::Format) PrepareFormat(*job);
  });
}

// Sets one option of a job that has not been started.
template <typename Option>
vsl_code SetOption(const CallInfo& call, HandleKind kind, vsl_error_record* err, Option option) {
  return RunForCode(call, err, [&] {
    Session session(call.function);
    const auto job = session.Expect(*call.handle, KindBit(kind));
    if (job->plan.phase != JobPhase::Prepared) {
      throw CallFailure{kWrongState, "the job has already been started"};
    }
    option(*job);
  });
}

}  // namespace

vsl_code vsl_iom_attach_create(void* iom, void** job, vsl_error_record* err) {
  return CreateJob("vsl_iom_attach_create", HandleKind::Attach, iom, job, err);
}

vsl_code vsl_iom_detach_create(void* iom, void** job, vsl_error_record* err) {
  return CreateJob("vsl_iom_detach_create", HandleKind::Detach, iom, job, err);
}

vsl_code vsl_iom_format_create(void* iom, void** format, vsl_error_record* err) {
  return CreateJob("vsl_iom_format_create", HandleKind::Format, iom, format, err);
}

vsl_code vsl_iom_detach_set_force(void* job, uint32_t force, vsl_error_record* err) {
  return SetOption({"vsl_iom_detach_set_force", job, force}, HandleKind::Detach, err,
                   [&](Handle& handle)
                       HOST_REQUIRES(g_LibraryLock) { handle.plan.force = force != 0; });
}

vsl_code vsl_iom_format_set_size_mode(void* format, uint32_t mode, vsl_error_record* err) {
  return SetOption({"vsl_iom_format_set_size_mode", format, mode}, HandleKind::Format, err,
                   [&](Handle& handle)
                       HOST_REQUIRES(g_LibraryLock) { RequestSizeMode(handle, mode); });
}

vsl_code vsl_iom_format_set_size_bytes(void* format, uint64_t bytes, vsl_error_record* err) {
  return SetOption({"vsl_iom_format_set_size_bytes", format, bytes}, HandleKind::Format, err,
                   [&](Handle& handle)
                       HOST_REQUIRES(g_LibraryLock) { RequestSizeBytes(handle, bytes); });
}

vsl_code vsl_iom_format_set_size_pct(void* format, uint32_t percent, vsl_error_record* err) {
  return SetOption({"vsl_iom_format_set_size_pct", format, percent}, HandleKind::Format, err,
                   [&](Handle& handle)
                       HOST_REQUIRES(g_LibraryLock) { RequestSizePercent(handle, percent); });
}

vsl_code vsl_iom_format_set_sector_size_bytes(void* format, uint32_t bytes, vsl_error_record* err) {
  return SetOption({"vsl_iom_format_set_sector_size_bytes", format, bytes}, HandleKind::Format, err,
                   [&](Handle& handle)
                       HOST_REQUIRES(g_LibraryLock) { RequestSectorSize(handle, bytes); });
}

vsl_code vsl_op_start(void* job, vsl_error_record* err) {
  return RunForCode({"vsl_op_start", job}, err, [&] {
    Session session("vsl_op_start");
    StartJob(session, *session.Expect(job, kJobs));
  });
}

vsl_code vsl_op_wait_for_result(void* job, vsl_error_record* err) {
  const vsl_code code = RunForCode({"vsl_op_wait_for_result", job}, err, [&] {
    Session session("vsl_op_wait_for_result");
    WaitForJob(session, *session.Expect(job, kJobs));
  });
  // A wait that fails before it starts must not leave the card in the transitional state.
  if (code != 0) AbandonIfStarted(job);
  return code;
}
