#include "cardsim/Jobs.h"

#include <atomic>
#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>

#include "cardsim/Format.h"

namespace CardSim {
namespace {

std::uint32_t StateOf(const Card& card) {
  const auto& state = At(card.values, Attribute::iom_state);
  if (!state) throw Refusal{kNotSupported, "the card tells no state"};
  return ValueAs<std::uint32_t>(*state);
}

[[noreturn]] void RefuseIn(std::uint32_t state) {
  constexpr const char* kNames[] = {"detached", "attaching",       "attached", "detaching",
                                    "busy",     "in minimal mode", "failed",   "stopped"};
  constexpr std::uint32_t kLast = VSL_STATE_STOPPED;
  const char* name = state <= kLast ? kNames[state] : kNames[VSL_STATE_FAILED];
  throw Refusal{kWrongState, std::string("not possible: the card is ") + name};
}

void CheckDetached(const Card& card, const JobPlan&) {
  const std::uint32_t state = StateOf(card);
  if (state != VSL_STATE_DETACHED) RefuseIn(state);
}

// Force takes every card that is at rest and not yet detached, in use or not.
void CheckDetachable(const Card& card, const JobPlan& plan) {
  const std::uint32_t state = StateOf(card);
  const bool resting = state == VSL_STATE_ATTACHED || state > VSL_STATE_BUSY;
  if (!resting || (!plan.force && state != VSL_STATE_ATTACHED)) RefuseIn(state);
  if (!plan.force && Read(card.values, Attribute::in_use, false)) {
    throw Refusal{kInUse, "the card is in use"};
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
  throw Refusal{kBadHandle, "no job"};
}

void SetState(Card& card, std::uint64_t state) {
  At(card.values, Attribute::iom_state) = state;
}

bool Holds(const Card& card, const JobMark& mark) {
  return card.job && card.job->owner == mark.owner && card.job->number == mark.number;
}

JobMark NewMark(const JobRow& row, std::uint32_t previousState) {
  static std::atomic<std::uint64_t> number{0};
  return {row.name, ThisProcess(), ++number, previousState};
}

// Gives the job up when its wait is left in another way than by its end: a cancelled thread unwinds
// through here.
class GiveUp {
 public:
  GiveUp(const FileStore& store, std::uint64_t cardId, const JobMark& mark)
      : m_Store(store), m_CardId(cardId), m_Mark(mark) {}
  ~GiveUp() {
    if (!m_Dismissed) AbandonJob(m_Store, m_CardId, m_Mark);
  }
  GiveUp(const GiveUp&) = delete;
  GiveUp& operator=(const GiveUp&) = delete;
  void Dismiss() { m_Dismissed = true; }

 private:
  const FileStore m_Store;
  const std::uint64_t m_CardId;
  const JobMark m_Mark;
  bool m_Dismissed = false;
};

}  // namespace

void StartJob(Session& session, Handle& handle) {
  const JobRow& row = RowOf(handle.kind);
  JobPlan plan = handle.plan;
  if (plan.phase != JobPhase::Prepared) throw Refusal{kWrongState, "the job was started before"};
  // Taken before the lock is let go, so that only one thread starts it.
  handle.plan.phase = JobPhase::Ended;
  session.EditCard(handle.cardId, [&](Card& card) {
    row.check(card, plan);
    plan.mark = NewMark(row, StateOf(card));
    plan.milliseconds = Read<std::uint32_t>(card.values, row.duration, 0);
    SetState(card, row.during);
    card.job = plan.mark;
    return true;
  });
  plan.phase = JobPhase::Started;
  handle.plan = plan;
}

void WaitForJob(Session& session, Handle& handle) {
  const JobRow& row = RowOf(handle.kind);
  if (handle.plan.phase != JobPhase::Started) throw Refusal{kWrongState, "no job is under way"};
  handle.plan.phase = JobPhase::Ended;
  const JobPlan plan = handle.plan;
  session.Unlock();
  GiveUp giveUp(session.Store(), handle.cardId, plan.mark);
  if (plan.milliseconds > 0) {
    boost::this_thread::sleep_for(boost::chrono::milliseconds(plan.milliseconds));
  }
  session.EditCard(handle.cardId, [&](Card& card) {
    if (!Holds(card, plan.mark)) throw Refusal{kWrongState, "the card left the job"};
    card.job.reset();
    SetState(card, row.after);
    row.apply(card, plan);
    return true;
  });
  giveUp.Dismiss();
}

void AbandonJob(const FileStore& store, std::uint64_t cardId, const JobMark& mark) {
  try {
    store.Edit([&](State& state) {
      Card* card = state.FindById(cardId);
      if (card == nullptr || !Holds(*card, mark)) return false;
      card->job.reset();
      SetState(*card, mark.previousState);
      return true;
    });
  } catch (const std::exception&) {
    // The file is gone or damaged: then there is no card to put back.
  }
}

void AbandonUnlessWaited(void* job) {
  Library& library = TheLibrary();
  std::shared_ptr<Handle> handle;
  std::optional<FileStore> store;
  {
    const std::lock_guard<std::mutex> lock(library.mutex);
    handle = library.ledger.Find(job);
    store = library.store;
    if (handle == nullptr || handle->plan.phase != JobPhase::Started) return;
    handle->plan.phase = JobPhase::Ended;
  }
  AbandonJob(*store, handle->cardId, handle->plan.mark);
}

}  // namespace CardSim
