// What all calls into the library share: its one state, and the frame around every call.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "cardsim/api/Calls.h"
#include "cardsim/api/Ledger.h"
#include "cardsim/api/Refusal.h"
#include "cardsim/store/FileStore.h"

namespace CardSim {

// A call, for log and hook.
struct CallInfo {
  const char* function;
  std::optional<void*> handle = std::nullopt;
  std::optional<std::uint64_t> number = std::nullopt;
  const char* text = nullptr;
};

using StorePtr = std::shared_ptr<const FileStore>;

// Guarded by `mutex`, which is held for moments only: never across a hook, an edit of the file or
// a sleep.
struct Library {
  std::mutex mutex;
  bool isStarted = false;
  unsigned int life = 0;  // how often it was started
  StorePtr store;
  LoadedPtr loaded;
  Ledger ledger;
  StorePtr untidy;  // a file in which the card of an abandoned job could not be put back
};

// Lives until the process is gone: threads may still call while it ends.
Library& TheLibrary();

enum class Freshness { AsLoaded, Reloaded };

// One call at work, under the library's lock. The constructor throws the `Refusal` of a library
// that is not started, of a state file that cannot be read, or of a standing failure.
class Session {
 public:
  explicit Session(const char* function, Freshness freshness = Freshness::AsLoaded);

  // The handle, which must be alive and of one of these kinds; else notes misuse and throws.
  std::shared_ptr<Handle> Expect(void* handle, Kinds kinds);
  // Notes misuse of the handle and throws.
  [[noreturn]] void Misused(void* handle, vsl_code code, const std::string& why);
  void NoteMisuse(void* handle, const std::string& why);

  // Reads the file again if it has changed.
  void Refresh();
  const State& Current() const { return *m_Library.loaded->state; }
  // The card now in the file; throws when it is gone.
  std::shared_ptr<const Card> CurrentCard(std::uint64_t id) const;

  // Makes a handle for a card and hands it out.
  std::shared_ptr<Handle> Make(HandleKind kind, std::shared_ptr<const Card> card, void** out);
  Ledger& Handles() { return m_Library.ledger; }

  // Edits the file, and works with the outcome from then on. The lock is not held meanwhile.
  void Edit(const std::function<bool(State&)>& change);
  // The same for the card of that id; throws when it is gone.
  void EditCard(std::uint64_t id, const std::function<bool(Card&)>& change);

  // Lets the lock go, until an edit that succeeds takes it again.
  void Unlock() { m_Lock.unlock(); }
  void Lock() {
    if (!m_Lock.owns_lock()) m_Lock.lock();
  }
  const StorePtr& Store() const { return m_Store; }

 private:
  const char* m_Function;
  Library& m_Library;
  std::unique_lock<std::mutex> m_Lock;
  StorePtr m_Store;
};

struct Announcement {
  Call call;
  Hook hook;
};

// What every call begins with: a text that its handle gave out ends, a missing error record is
// noted, and the call is logged if anyone watches.
Announcement Begin(const CallInfo& call, const vsl_error_record* err);
// Runs the hook, with no lock held.
void RunHook(const Announcement& announcement);
// Throws the `Refusal` that was ordered for this call, if any.
void OrderedFailure(const CallInfo& call);

// Writes the text into the record, cut to its room and always ended.
void Explain(vsl_error_record* err, std::string_view text) noexcept;

// Runs `body`, and on failure fills the record and gives the code. Only exceptions of ours and the
// standard's are caught, so that the unwinding of a canceled thread passes.
template <typename Body>
std::optional<vsl_code> Caught(vsl_error_record* err, Body body) {
  try {
    body();
    return std::nullopt;
  } catch (const Refusal& refusal) {
    Explain(err, refusal.text);
    return refusal.code;
  } catch (const std::bad_alloc&) {
    Explain(err, "out of memory");
    return kNoMemory;
  } catch (const std::exception& error) {
    Explain(err, error.what());
    return kStateUnusable;
  }
}

// Runs one call. What the hook throws is the test's own, and passes.
template <typename Body>
std::optional<vsl_code> Failure(const CallInfo& call, vsl_error_record* err, Body body) {
  Announcement announcement;
  const auto failed = Caught(err, [&] { announcement = Begin(call, err); });
  if (failed) return failed;
  RunHook(announcement);
  return Caught(err, [&] {
    OrderedFailure(call);
    body();
  });
}

// A call whose result is a code.
template <typename Body>
vsl_code Act(const CallInfo& call, vsl_error_record* err, Body body) {
  return Failure(call, err, body).value_or(0);
}

// A call whose result is a value, and `fallback` after a failure.
template <typename T, typename Body>
T Ask(const CallInfo& call, vsl_error_record* err, T fallback, Body body) {
  T result = fallback;
  const auto failed = Failure(call, err, [&] { result = body(); });
  return failed ? fallback : result;
}

}  // namespace CardSim
