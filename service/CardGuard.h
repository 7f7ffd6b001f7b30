// Keeps a card that does not respond from blocking the plug-in's access to the other cards.
//
// The plug-in reads all cards one after another under one lock. In the plug-in process, its calls
// to the card library therefore go through this guard, which limits their time. While a card does
// not respond, or cannot be opened, its attributes keep the values last read, so that the plug-in
// neither waits nor reports changes, and commands for the card fail. The plug-in does not get a
// card that was never read.
#pragma once

#include <any>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "console/plugin/UnresponsiveCard.h"
#include "host/vsl_abstraction.h"
#include "service/CallRunner.h"

namespace Service {

// The result of a command for a card that does not respond.
constexpr vsl_code kNotResponding = 0xffff;

enum class CallKind {
  Reading,
  Change,  // may take longer than a reading
};

// Returns the time limit of a call while this number of cards does not respond.
std::chrono::milliseconds CallLimit(CallKind kind, int stuckCards);

// A card, identified by the path of its control device. Thread-safe.
class GuardedCard {
 public:
  // Neither reference is owned.
  GuardedCard(CallRunner& runner, std::atomic<int>& stuckCards, std::string path = "")
      : m_Runner(runner), m_StuckCards(stuckCards), m_Path(std::move(path)) {}

  // Runs a call to the card library for this card. Returns false if it has not returned in time, or
  // without running it if an earlier call has still not returned.
  bool Run(std::function<void()> call, CallKind kind = CallKind::Reading);
  // Runs a call that releases a handle. If the card is stuck, the call runs once it responds.
  void RunWhenResponding(std::function<void()> call);

  // Records why the values are those last read; empty: the card responds.
  void SetProblem(const std::string& problem);
  std::string Problem() const;

  // Empty: unknown.
  void SetSerialNumber(const std::string& serial);
  // Whether the card was listed or read, and has not been removed since.
  bool IsKnown() const;
  // Whether all values have been read at least once.
  bool WasRead() const;
  void SetRead();
  // Forgets everything that was read, because the card does not exist.
  void SetMissing();
  bool IsStuck() const;
  // A card that was never read and cannot be read is omitted until the plug-in is restarted,
  // because the plug-in would report it as added. `isReadable`: whether it can be read now.
  void SetOmitted(bool isReadable);
  bool IsOmitted() const;
  // Whether the card is omitted although it can be read.
  bool HasReturned() const;
  // Returns empty if the plug-in shows the current values of the card, or no card exists.
  std::optional<Console::UnresponsiveCard> Report() const;
  void Remember(const std::string& name, std::any value);
  // Returns an empty value if none was read.
  std::any Recall(const std::string& name) const;

 private:
  bool RunNow(std::function<void()> call, CallKind kind);
  void OnGivingUp();
  void OnLateReturn();
  bool TakeWaiting(std::vector<std::function<void()>>& waiting);

  CallRunner& m_Runner;
  std::atomic<int>& m_StuckCards;
  const std::string m_Path;
  mutable Base::Mutex m_Lock;
  std::map<std::string, std::any> m_Values HOST_GUARDED_BY(m_Lock);
  std::string m_SerialNumber HOST_GUARDED_BY(m_Lock);
  bool m_WasRead HOST_GUARDED_BY(m_Lock) = false;
  bool m_IsOmitted HOST_GUARDED_BY(m_Lock) = false;
  bool m_HasReturned HOST_GUARDED_BY(m_Lock) = false;
  std::string m_Problem HOST_GUARDED_BY(m_Lock);
  int m_StuckCalls HOST_GUARDED_BY(m_Lock) = 0;
  std::vector<std::function<void()>> m_Waiting HOST_GUARDED_BY(m_Lock);
};

// A handle as the plug-in sees it. Used by one thread at a time, apart from the atomic members.
struct GuardedHandle {
  std::shared_ptr<GuardedCard> m_pCard;
  std::string m_Prefix;                // of the names under which the card keeps its values
  std::atomic<void*> m_Real{nullptr};  // null: the library has not created it
  std::atomic<bool> m_IsOpen{false};   // in the library
  // Whether the card did not respond, or could not be opened. From then on, this handle is used for
  // no call to the library except to release it.
  bool m_IsDetached = false;
  int m_Position = 0;            // of a volume
  std::vector<void*> m_Volumes;  // of a card
  std::string m_Text;            // the string returned last
};

using GuardedHandlePtr = std::shared_ptr<GuardedHandle>;

struct ListedCard {
  std::string m_DevicePath;
  std::string m_SerialNumber;
};

// Passes each card to its argument. Returns the reason if it has not reached the end of the list,
// otherwise an empty string.
using ListFunction = std::function<std::string(const std::function<void(ListedCard)>&)>;

class CardList;

// The guard of this process. Thread-safe.
class CardGuard {
 public:
  static CardGuard& Instance();

  // From now on, calls are guarded. Call before the plug-in is initialized.
  void Enable() { m_IsEnabled = true; }
  bool IsEnabled() const { return m_IsEnabled; }
  // Whether a call has still not returned, so that the card library must stay loaded.
  bool HasStuckCards() const { return m_StuckCards > 0; }
  // Returns the cards that the plug-in omits, and those whose values are the values last read.
  std::vector<Console::UnresponsiveCard> UnresponsiveCards() const;

  // Whether an omitted card can be read, so that the plug-in must be restarted to show it.
  bool HasReturnedCard() const;

  std::shared_ptr<GuardedCard> Card(const std::string& path);

  // Sets the cards that were present before this process was started. They are used if the library
  // cannot list the cards.
  void SetKnownCards(std::vector<ListedCard> cards);
  // Lists the cards with `list`. If it fails or does not return in time, adds the known cards; some
  // of them may no longer exist. If no card is known either, waits for `list` without a time limit.
  std::vector<ListedCard> ListCards(const ListFunction& list);
  // Whether `list` contains the card. Also returns true if it fails or does not return in time.
  bool IsListed(const std::string& path, const ListFunction& list);
  // Adds the handle and returns the pointer by which the plug-in knows it.
  void* Add(const GuardedHandlePtr& handle);
  // Returns null for a handle that is not guarded.
  GuardedHandlePtr Find(void* handle) const;
  // Removes the handle and those of its volumes.
  void Remove(void* handle);

 private:
  CardGuard() = default;
  std::shared_ptr<CardList> StartList(const ListFunction& list, std::function<void()> onLateReturn);
  void AddKnownCards(std::vector<ListedCard>& listed) const;

  std::atomic<bool> m_IsEnabled{false};
  CallRunner m_Runner;
  std::atomic<int> m_StuckCards{0};
  // Whether a list of cards was incomplete, but the library has returned since.
  std::atomic<bool> m_HasLateList{false};
  mutable Base::Mutex m_Lock;
  std::map<std::string, std::shared_ptr<GuardedCard>> m_Cards HOST_GUARDED_BY(m_Lock);
  std::vector<ListedCard> m_KnownCards HOST_GUARDED_BY(m_Lock);
  std::string m_ListProblem HOST_GUARDED_BY(m_Lock);  // why cards may be unknown; empty: none
  std::unordered_map<void*, GuardedHandlePtr> m_Handles HOST_GUARDED_BY(m_Lock);
};

}  // namespace Service
