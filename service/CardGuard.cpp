#include "service/CardGuard.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Service {
namespace {

using std::chrono::milliseconds;

// Less than the service's time limit for a call, after which it replaces the plug-in process.
constexpr milliseconds kChangeLimit(25000);

// Time limits of readings while at most this number of cards is stuck. The sum of the limits for
// 100 hung cards is below the time limit of the service.
struct ReadingLimit {
  int m_StuckCards;
  milliseconds m_Limit;
};
constexpr ReadingLimit kReadingLimits[] = {
    {0, milliseconds(5000)},
    {5, milliseconds(1000)},
};
constexpr milliseconds kShortestLimit(100);

constexpr const char* kNoResponse = "the card is not responding";
constexpr const char* kNoList = "the card library is not responding";
constexpr const char* kHasReturned = "the card is responding again and will be read";

}  // namespace

// A list of cards that may still grow after the caller has given up.
class CardList {
 public:
  void Add(ListedCard card) {
    const Base::MutexLock lock(m_Lock);
    m_Cards.push_back(std::move(card));
  }
  void End(const std::string& problem) {
    const Base::MutexLock lock(m_Lock);
    m_Problem = problem;
    m_HasEnded = true;
    m_Ended.NotifyAll();
  }
  void AwaitEnd() {
    Base::MutexLock lock(m_Lock);
    while (!m_HasEnded) m_Ended.Wait(lock);
  }
  std::vector<ListedCard> Cards() const {
    const Base::MutexLock lock(m_Lock);
    return m_Cards;
  }
  bool IsComplete() const {
    const Base::MutexLock lock(m_Lock);
    return m_HasEnded && m_Problem.empty();
  }
  std::string Problem() const {
    const Base::MutexLock lock(m_Lock);
    return m_Problem;
  }

 private:
  mutable Base::Mutex m_Lock;
  Base::ConditionVariable m_Ended;
  std::vector<ListedCard> m_Cards HOST_GUARDED_BY(m_Lock);
  std::string m_Problem HOST_GUARDED_BY(m_Lock);
  bool m_HasEnded HOST_GUARDED_BY(m_Lock) = false;
};

milliseconds CallLimit(CallKind kind, int stuckCards) {
  if (kind == CallKind::Change) return kChangeLimit;
  for (const ReadingLimit& each : kReadingLimits) {
    if (stuckCards <= each.m_StuckCards) return each.m_Limit;
  }
  return kShortestLimit;
}

bool GuardedCard::Run(std::function<void()> call, CallKind kind) {
  return !IsStuck() && RunNow(std::move(call), kind);
}

bool GuardedCard::RunNow(std::function<void()> call, CallKind kind) {
  return m_Runner.Run({std::move(call), [this] { OnGivingUp(); }, [this] { OnLateReturn(); }},
                      CallLimit(kind, m_StuckCards));
}

void GuardedCard::RunWhenResponding(std::function<void()> call) {
  {
    const Base::MutexLock lock(m_Lock);
    if (m_StuckCalls > 0) {
      m_Waiting.push_back(std::move(call));
      return;
    }
  }
  RunNow(std::move(call), CallKind::Reading);  // also if the card has become stuck since
}

void GuardedCard::OnGivingUp() {
  const Base::MutexLock lock(m_Lock);
  if (m_StuckCalls++ == 0) ++m_StuckCards;
  m_Problem = kNoResponse;
}

// The card is stuck until the waiting calls have returned, including those that are added
// meanwhile.
void GuardedCard::OnLateReturn() {
  std::vector<std::function<void()>> waiting;
  while (TakeWaiting(waiting)) {
    for (const auto& call : waiting) call();
  }
}

// Returns false if another call is stuck or no call is waiting; this call is then no longer stuck.
bool GuardedCard::TakeWaiting(std::vector<std::function<void()>>& waiting) {
  waiting.clear();
  const Base::MutexLock lock(m_Lock);
  if (m_StuckCalls == 1) waiting.swap(m_Waiting);
  if (!waiting.empty()) return true;
  if (--m_StuckCalls == 0) --m_StuckCards;
  return false;
}

void GuardedCard::SetProblem(const std::string& problem) {
  const Base::MutexLock lock(m_Lock);
  m_Problem = problem;
}

std::string GuardedCard::Problem() const {
  const Base::MutexLock lock(m_Lock);
  return m_Problem;
}

void GuardedCard::SetSerialNumber(const std::string& serial) {
  const Base::MutexLock lock(m_Lock);
  m_SerialNumber = serial;
}

bool GuardedCard::IsKnown() const {
  const Base::MutexLock lock(m_Lock);
  return m_WasRead || m_IsOmitted || !m_SerialNumber.empty();
}

bool GuardedCard::WasRead() const {
  const Base::MutexLock lock(m_Lock);
  return m_WasRead;
}

void GuardedCard::SetRead() {
  const Base::MutexLock lock(m_Lock);
  m_WasRead = true;
}

void GuardedCard::SetMissing() {
  const Base::MutexLock lock(m_Lock);
  m_WasRead = false;
  m_IsOmitted = false;
  m_HasReturned = false;
  m_Values.clear();
  m_SerialNumber.clear();
  m_Problem.clear();
}

void GuardedCard::SetOmitted(bool isReadable) {
  const Base::MutexLock lock(m_Lock);
  m_IsOmitted = true;
  m_HasReturned = isReadable;
}

bool GuardedCard::IsOmitted() const {
  const Base::MutexLock lock(m_Lock);
  return m_IsOmitted;
}

bool GuardedCard::HasReturned() const {
  const Base::MutexLock lock(m_Lock);
  return m_HasReturned;
}

std::optional<Console::UnresponsiveCard> GuardedCard::Report() const {
  const Base::MutexLock lock(m_Lock);
  const bool isShown = m_WasRead && !m_IsOmitted;
  if (!m_IsOmitted && (!isShown || m_Problem.empty())) return std::nullopt;
  std::string serial = m_SerialNumber;
  if (const auto read = m_Values.find("serial_number"); read != m_Values.end()) {
    if (const auto* text = std::any_cast<std::string>(&read->second)) serial = *text;
  }
  return Console::UnresponsiveCard{serial, m_Path, m_Problem.empty() ? kHasReturned : m_Problem,
                                   m_IsOmitted};
}

bool GuardedCard::IsStuck() const {
  const Base::MutexLock lock(m_Lock);
  return m_StuckCalls > 0;
}

void GuardedCard::Remember(const std::string& name, std::any value) {
  const Base::MutexLock lock(m_Lock);
  m_Values[name] = std::move(value);
}

std::any GuardedCard::Recall(const std::string& name) const {
  const Base::MutexLock lock(m_Lock);
  const auto found = m_Values.find(name);
  return found == m_Values.end() ? std::any() : found->second;
}

// Never destroyed: a call may still be running while the process exits.
CardGuard& CardGuard::Instance() {
  static auto* guard = new CardGuard;
  return *guard;
}

std::vector<Console::UnresponsiveCard> CardGuard::UnresponsiveCards() const {
  std::vector<Console::UnresponsiveCard> cards;
  const Base::MutexLock lock(m_Lock);
  for (const auto& [path, card] : m_Cards) {
    if (auto report = card->Report()) cards.push_back(std::move(*report));
  }
  if (!m_ListProblem.empty()) cards.push_back({"", "", m_ListProblem, true});
  return cards;
}

bool CardGuard::HasReturnedCard() const {
  const Base::MutexLock lock(m_Lock);
  return m_HasLateList || std::any_of(m_Cards.begin(), m_Cards.end(),
                                      [](const auto& each) { return each.second->HasReturned(); });
}

std::shared_ptr<GuardedCard> CardGuard::Card(const std::string& path) {
  const Base::MutexLock lock(m_Lock);
  auto& card = m_Cards[path];
  if (!card) card = std::make_shared<GuardedCard>(m_Runner, m_StuckCards, path);
  return card;
}

void CardGuard::SetKnownCards(std::vector<ListedCard> cards) {
  const Base::MutexLock lock(m_Lock);
  m_KnownCards = std::move(cards);
}

// Waits for the list, but not longer than for a reading.
std::shared_ptr<CardList> CardGuard::StartList(const ListFunction& list,
                                               std::function<void()> onLateReturn) {
  const auto found = std::make_shared<CardList>();
  const auto work = [list, found] {
    found->End(list([&](ListedCard card) { found->Add(std::move(card)); }));
  };
  const auto onReturn = [this, onLateReturn = std::move(onLateReturn)] {
    onLateReturn();
    --m_StuckCards;
  };
  m_Runner.Run({work, [this] { ++m_StuckCards; }, onReturn},
               CallLimit(CallKind::Reading, m_StuckCards));
  return found;
}

bool CardGuard::IsListed(const std::string& path, const ListFunction& list) {
  const auto found = StartList(list, [] {});
  const std::vector<ListedCard> cards = found->Cards();
  return !found->IsComplete() ||
         std::any_of(cards.begin(), cards.end(),
                     [&](const ListedCard& each) { return each.m_DevicePath == path; });
}

std::vector<ListedCard> CardGuard::ListCards(const ListFunction& list) {
  const auto found = StartList(list, [this] { m_HasLateList = true; });
  bool isComplete = found->IsComplete();
  std::vector<ListedCard> listed = found->Cards();
  if (!isComplete) AddKnownCards(listed);
  if (listed.empty()) {
    found->AwaitEnd();
    listed = found->Cards();
    isComplete = found->IsComplete();
  }
  for (const ListedCard& each : listed) {
    Card(each.m_DevicePath)->SetSerialNumber(each.m_SerialNumber);
  }
  const Base::MutexLock lock(m_Lock);
  const bool isUnknown = !isComplete && (listed.empty() || m_KnownCards.empty());
  m_ListProblem = isUnknown ? found->Problem() : "";
  if (isUnknown && m_ListProblem.empty()) m_ListProblem = kNoList;
  return listed;
}

// Adds the known cards that were not listed.
void CardGuard::AddKnownCards(std::vector<ListedCard>& listed) const {
  const Base::MutexLock lock(m_Lock);
  for (const ListedCard& known : m_KnownCards) {
    const auto isKnown = [&](const ListedCard& each) {
      return each.m_DevicePath == known.m_DevicePath;
    };
    if (std::none_of(listed.begin(), listed.end(), isKnown)) listed.push_back(known);
  }
}

void* CardGuard::Add(const GuardedHandlePtr& handle) {
  const Base::MutexLock lock(m_Lock);
  m_Handles[handle.get()] = handle;
  return handle.get();
}

GuardedHandlePtr CardGuard::Find(void* handle) const {
  const Base::MutexLock lock(m_Lock);
  const auto found = m_Handles.find(handle);
  return found == m_Handles.end() ? nullptr : found->second;
}

void CardGuard::Remove(void* handle) {
  const Base::MutexLock lock(m_Lock);
  const auto found = m_Handles.find(handle);
  if (found == m_Handles.end()) return;
  const GuardedHandlePtr removed = found->second;
  for (void* volume : removed->m_Volumes) m_Handles.erase(volume);
  m_Handles.erase(handle);
}

}  // namespace Service
