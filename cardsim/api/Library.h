// The state shared by all functions of the library, and the handling of every call.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "cardsim/api/CallFailure.h"
#include "cardsim/api/Calls.h"
#include "cardsim/api/HandleLedger.h"
#include "cardsim/api/LibraryLock.h"
#include "cardsim/store/FileStore.h"

namespace CardSim {

// A call as passed to the log and the hook.
struct CallInfo {
  const char* function;
  std::optional<void*> handle = std::nullopt;
  std::optional<std::uint64_t> number = std::nullopt;
  const char* text = nullptr;
};

using StorePtr = std::shared_ptr<const FileStore>;

struct Library {
  bool isStarted HOST_GUARDED_BY(g_LibraryLock) = false;
  // Number of times the library has been started.
  unsigned int startCount HOST_GUARDED_BY(g_LibraryLock) = 0;
  StorePtr store HOST_GUARDED_BY(g_LibraryLock);
  FileVersionPtr loadedVersion HOST_GUARDED_BY(g_LibraryLock);
  HandleLedger ledger HOST_GUARDED_BY(g_LibraryLock);
  // A file in which the card of an abandoned job could not be reset. The next call tries again.
  StorePtr storeToClean HOST_GUARDED_BY(g_LibraryLock);
};

// Returns the library's state. Never destroyed: threads may still call while the process exits.
Library& TheLibrary();

enum class Freshness { AsLoaded, Reloaded };

// One call in progress, with the library's lock held. The constructor throws `CallFailure` if the
// library is not started or the state file makes the function fail, and `std::runtime_error` if
// that file cannot be read. Not thread-safe.
class HOST_SCOPED_CAPABILITY Session {
 public:
  explicit Session(const char* function, Freshness freshness = Freshness::AsLoaded)
      HOST_ACQUIRE(g_LibraryLock);
  ~Session() HOST_RELEASE() {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Returns the handle. If it does not exist or is not of one of these kinds, records misuse and
  // throws `CallFailure`. Records misuse, but returns the handle, if it is from before vsl_fini.
  // Like `ApplyHangsAndFailures` for its card.
  std::shared_ptr<Handle> Expect(void* handle, Kinds kinds) HOST_REQUIRES(g_LibraryLock);
  // Records misuse of the handle and throws `CallFailure`.
  [[noreturn]] void RejectMisuse(void* handle, vsl_code code, const std::string& why)
      HOST_REQUIRES(g_LibraryLock);
  void RecordMisuse(void* handle, const std::string& why) HOST_REQUIRES(g_LibraryLock);

  // If the state file makes the function hang for this card, waits without holding the lock. Throws
  // `CallFailure` if the file makes it fail.
  void ApplyHangsAndFailures(std::uint64_t id) HOST_REQUIRES(g_LibraryLock);

  // Reads the file again if it has changed; throws `std::runtime_error` if that fails.
  void Refresh() HOST_REQUIRES(g_LibraryLock);
  const State& Current() const HOST_REQUIRES(g_LibraryLock) {
    return *m_Library.loadedVersion->state;
  }
  // Returns the card as last read from the file. Throws `CallFailure` if the card has been removed.
  std::shared_ptr<const Card> CurrentCard(std::uint64_t id) const HOST_REQUIRES(g_LibraryLock);

  // Creates a handle for a card and stores its value in `*out`.
  std::shared_ptr<Handle> Make(HandleKind kind, std::shared_ptr<const Card> card, void** out)
      HOST_REQUIRES(g_LibraryLock);
  HandleLedger& Handles() HOST_REQUIRES(g_LibraryLock) { return m_Library.ledger; }

  // Edits the card with that id in the file, and uses the new version afterwards. Releases the lock
  // during the edit; after an exception, the lock is not held. Throws `CallFailure` if the card has
  // been removed.
  void EditCard(std::uint64_t id, const std::function<bool(Card&)>& change)
      HOST_REQUIRES(g_LibraryLock);
  // Like `EditCard`, but must be called without the lock. Acquires it after the edit, and returns
  // with it held.
  void EditCardThenLock(std::uint64_t id, const std::function<bool(Card&)>& change)
      HOST_ACQUIRE(g_LibraryLock);

  // For waiting without holding the lock. Excluded from the thread safety analysis, which does not
  // know that `m_Lock` holds `g_LibraryLock`.
  void Unlock() HOST_RELEASE(g_LibraryLock) HOST_NO_THREAD_SAFETY_ANALYSIS { m_Lock.Unlock(); }
  void Lock() HOST_ACQUIRE(g_LibraryLock) HOST_NO_THREAD_SAFETY_ANALYSIS { m_Lock.Lock(); }
  const StorePtr& Store() const { return m_Store; }

 private:
  std::optional<std::uint64_t> HangMs(std::uint64_t id) const HOST_REQUIRES(g_LibraryLock);
  void Hang(std::uint64_t id) HOST_REQUIRES(g_LibraryLock);

  const char* m_Function;
  Library& m_Library;
  Base::MutexLock m_Lock;
  StorePtr m_Store;
};

// A call as logged, and the hook to run for it.
struct CallNotice {
  Call call;
  Hook hook;
};

// Starts a call: invalidates the string that was last returned for the handle, records misuse if
// `err` is null but the function requires a record, retries `storeToClean`, and logs the call.
// Returns the hook to run.
CallNotice BeginCall(const CallInfo& call, const vsl_error_record* err);
// Runs the hook, without holding a lock.
void RunHook(const CallNotice& notice);
// Throws `CallFailure` if `FailCall` requested a failure of this call.
void ThrowInjectedFailure(const CallInfo& call);

// Writes the message into the record, truncated to its size and always terminated. Does nothing for
// a null record.
void SetErrorText(vsl_error_record* err, std::string_view text) noexcept;

// Runs `body`. On failure, fills the record and returns the code. Only `CallFailure` and standard
// exceptions are caught, so that the unwinding of a canceled thread continues.
template <typename Body>
std::optional<vsl_code> RunCatching(vsl_error_record* err, Body body) {
  try {
    body();
    return std::nullopt;
  } catch (const CallFailure& failure) {
    SetErrorText(err, failure.text);
    return failure.code;
  } catch (const std::bad_alloc&) {
    SetErrorText(err, "out of memory");
    return kNoMemory;
  } catch (const std::exception& error) {
    SetErrorText(err, error.what());
    return kStateUnusable;
  }
}

// Runs one call, and returns the code if it fails. An exception thrown by the hook propagates to
// the caller, a test.
template <typename Body>
std::optional<vsl_code> RunCall(const CallInfo& call, vsl_error_record* err, Body body) {
  CallNotice notice;
  const auto failed = RunCatching(err, [&] { notice = BeginCall(call, err); });
  if (failed) return failed;
  RunHook(notice);
  return RunCatching(err, [&] {
    ThrowInjectedFailure(call);
    body();
  });
}

// Runs a call whose result is a code.
template <typename Body>
vsl_code RunForCode(const CallInfo& call, vsl_error_record* err, Body body) {
  return RunCall(call, err, body).value_or(0);
}

// Runs a call whose result is a value. Returns `fallback` if the call fails.
template <typename T, typename Body>
T RunForValue(const CallInfo& call, vsl_error_record* err, T fallback, Body body) {
  T result = fallback;
  const auto failed = RunCall(call, err, [&] { result = body(); });
  return failed ? fallback : result;
}

}  // namespace CardSim
