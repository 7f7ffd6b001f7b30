#include "service/CardGuard.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Service {
namespace {

using std::chrono::milliseconds;

// Time limits of a call. The short limit applies while another card is stuck, so that the plug-in
// process is not killed because several cards hang at the same time.
constexpr milliseconds kCallLimit(5000);
constexpr milliseconds kShortCallLimit(1000);
// Less than the service's time limit for a call, after which it replaces the plug-in process.
constexpr milliseconds kChangeLimit(25000);
constexpr milliseconds kUnlimited = std::chrono::hours(24 * 365);

constexpr const char* kNoResponse = "the card is not responding";

}  // namespace

bool GuardedCard::Run(std::function<void()> call, CallKind kind) {
  return !IsStuck() && RunNow(std::move(call), kind);
}

bool GuardedCard::RunNow(std::function<void()> call, CallKind kind) {
  return m_Runner.Run({std::move(call), [this] { OnGivingUp(); }, [this] { OnLateReturn(); }},
                      Limit(kind));
}

milliseconds GuardedCard::Limit(CallKind kind) const {
  if (kind == CallKind::Change) return kChangeLimit;
  if (kind == CallKind::Reading && !WasRead()) return kUnlimited;
  return m_StuckCards > 0 ? kShortCallLimit : kCallLimit;
}

void GuardedCard::RunWhenResponding(std::function<void()> call) {
  {
    const Base::MutexLock lock(m_Lock);
    if (m_StuckCalls > 0) {
      m_Waiting.push_back(std::move(call));
      return;
    }
  }
  RunNow(std::move(call), CallKind::Probe);  // also if the card has become stuck since
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
  m_Problem.clear();
}

void GuardedCard::SetOmitted(bool responds) {
  const Base::MutexLock lock(m_Lock);
  m_IsOmitted = true;
  m_HasReturned = responds;
}

bool GuardedCard::IsOmitted() const {
  const Base::MutexLock lock(m_Lock);
  return m_IsOmitted;
}

bool GuardedCard::HasReturned() const {
  const Base::MutexLock lock(m_Lock);
  return m_HasReturned;
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
    const std::string problem = card->Problem();
    if (problem.empty() || !card->WasRead()) continue;
    const std::any serial = card->Recall("serial_number");
    if (const auto* text = std::any_cast<std::string>(&serial)) cards.push_back({*text, problem});
  }
  return cards;
}

bool CardGuard::HasReturnedCard() const {
  const Base::MutexLock lock(m_Lock);
  return std::any_of(m_Cards.begin(), m_Cards.end(),
                     [](const auto& each) { return each.second->HasReturned(); });
}

std::shared_ptr<GuardedCard> CardGuard::Card(const std::string& path) {
  const Base::MutexLock lock(m_Lock);
  auto& card = m_Cards[path];
  if (!card) card = std::make_shared<GuardedCard>(m_Runner, m_StuckCards);
  return card;
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
