#include "cardsim/api/Jobs.h"

#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>

#include "cardsim/api/FormatPlan.h"
#include "cardsim/cardsim.h"
#include "cardsim/store/RunningJobs.h"

namespace CardSim {
namespace {

std::uint32_t StateOf(const Card& card) {
  const auto& state = At(card.values, Attribute::iom_state);
  if (!state) throw CallFailure{kNotSupported, "the card reports no state"};
  return ValueAs<std::uint32_t>(*state);
}

[[noreturn]] void ThrowWrongState(std::uint32_t state) {
  throw CallFailure{kWrongState, std::string("not possible in state ") + CardStateName(state)};
}

void CheckDetached(const Card& card, const JobPlan&) {
  const std::uint32_t state = StateOf(card);
  if (state != VSL_STATE_DETACHED) ThrowWrongState(state);
}

// With force, accepts every card that is not detached and has no running job, even if it is in use.
void CheckDetachable(const Card& card, const JobPlan& plan) {
  const std::uint32_t state = StateOf(card);
  const bool isIdle = state == VSL_STATE_ATTACHED || state > VSL_STATE_BUSY;
  if (!isIdle || (!plan.force && state != VSL_STATE_ATTACHED)) ThrowWrongState(state);
  if (!plan.force && Read(card.values, Attribute::in_use, false)) {
    throw CallFailure{kInUse, "the card is in use"};
  }
}

void ApplyNothing(Card&, const JobPlan&) {}

struct JobRow {
  HandleKind kind;
  const char* name;
  std::uint32_t during;
  std::uint32_t after;
  Attribute duration;
  void (*check)(const Card&, const JobPlan&);
  void (*apply)(Card&, const JobPlan&);
};

constexpr JobRow kJobRows[] = {
    {HandleKind::Attach, "attach", VSL_STATE_ATTACHING, VSL_STATE_ATTACHED, Attribute::attach_ms,
     CheckDetached, ApplyNothing},
    {HandleKind::Detach, "detach", VSL_STATE_DETACHING, VSL_STATE_DETACHED, Attribute::detach_ms,
     CheckDetachable, ApplyNothing},
    {HandleKind::Format, "format", VSL_STATE_BUSY, VSL_STATE_DETACHED, Attribute::format_ms,
     CheckDetached, ApplyFormat},
};

const JobRow& RowOf(HandleKind kind) {
  for (const JobRow& row : kJobRows) {
    if (row.kind == kind) return row;
  }
  throw CallFailure{kBadHandle, "not a job handle"};
}

void SetState(Card& card, std::uint64_t state) {
  At(card.values, Attribute::iom_state) = state;
}

bool HasJob(const Card& card, const JobRecord& record) {
  return card.job && card.job->owner == record.owner && card.job->number == record.number;
}

// Ends the job when the wait for it ends, including when cancellation unwinds the stack. Restores
// the card's previous state unless the job completed.
class WaitedJob {
 public:
  WaitedJob(StorePtr store, std::uint64_t job) : m_Store(std::move(store)), m_Job(job) {}
  ~WaitedJob() {
    if (m_IsCompleted) {
      EndJob(m_Job);
    } else {
      AbandonJob(m_Store, m_Job);
    }
  }
  WaitedJob(const WaitedJob&) = delete;
  WaitedJob& operator=(const WaitedJob&) = delete;
  void SetCompleted() { m_IsCompleted = true; }

 private:
  const StorePtr m_Store;
  const std::uint64_t m_Job;
  bool m_IsCompleted = false;
};

}  // namespace

void StartJob(Session& session, Handle& handle) {
  const JobRow& row = RowOf(handle.kind);
  JobPlan plan = handle.plan;
  if (plan.phase != JobPhase::Prepared)
    throw CallFailure{kWrongState, "the job has already been started"};
  RunningJob running;
  plan.record = {row.name, ThisProcess(), running.Number(), 0};
  // Set before the lock is released, so that only one thread starts the job.
  handle.plan.phase = JobPhase::Ended;
  try {
    session.EditCard(handle.cardId, [&](Card& card) {
      row.check(card, plan);
      plan.record.previousState = StateOf(card);
      plan.milliseconds = Read<std::uint32_t>(card.values, row.duration, 0);
      SetState(card, row.during);
      card.job = plan.record;
      return true;
    });
  } catch (...) {
    session.Lock();
    handle.plan.phase = JobPhase::Prepared;
    throw;
  }
  running.Keep();
  plan.phase = JobPhase::Started;
  handle.plan = std::move(plan);
}

void WaitForJob(Session& session, Handle& handle) {
  const JobRow& row = RowOf(handle.kind);
  const JobPlan plan = handle.plan;
  if (plan.phase != JobPhase::Started) throw CallFailure{kWrongState, "no job is running"};
  WaitedJob waited(session.Store(), plan.record.number);
  // Prevents another call from waiting for the job.
  handle.plan.phase = JobPhase::Ended;
  session.Unlock();
  if (plan.milliseconds > 0) {
    boost::this_thread::sleep_for(boost::chrono::milliseconds(plan.milliseconds));
  }
  session.EditCardThenLock(handle.cardId, [&](Card& card) {
    if (!HasJob(card, plan.record))
      throw CallFailure{kWrongState, "the card's state was changed while the job ran"};
    card.job.reset();
    SetState(card, row.after);
    row.apply(card, plan);
    return true;
  });
  waited.SetCompleted();
}

void AbandonJob(const StorePtr& store, std::uint64_t job) noexcept {
  EndJob(job);
  RestoreAbandonedCards(store);
}

void RestoreAbandonedCards(const StorePtr& store) noexcept {
  try {
    store->Edit([](State&) { return false; });
  } catch (const std::exception&) {
    // Out of memory, descriptors or disk space, for example. The next call tries again.
    Library& library = TheLibrary();
    const Base::MutexLock lock(g_LibraryLock);
    library.storeToClean = store;
  }
}

void AbandonIfStarted(void* job) noexcept {
  Library& library = TheLibrary();
  StorePtr store;
  std::uint64_t number = 0;
  {
    const Base::MutexLock lock(g_LibraryLock);
    const auto handle = library.ledger.Find(job);
    if (handle == nullptr || handle->plan.phase != JobPhase::Started) return;
    handle->plan.phase = JobPhase::Ended;
    number = handle->plan.record.number;
    store = library.store;
  }
  AbandonJob(store, number);
}

}  // namespace CardSim
