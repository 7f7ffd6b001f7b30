#include "cardsim/api/Library.h"

#include <algorithm>
#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>
#include <cstring>

#include "cardsim/api/Calls.h"
#include "cardsim/api/Jobs.h"

namespace CardSim {

Library& TheLibrary() {
  static auto* library = new Library;
  return *library;
}

Session::Session(const char* function, Freshness freshness)
    : m_Function(function), m_Library(TheLibrary()), m_Lock(g_LibraryLock) {
  if (!m_Library.isStarted) {
    const char* when =
        m_Library.startCount == 0 ? "called before vsl_init" : "called after vsl_fini";
    m_Library.ledger.RecordMisuse(std::string(function) + ": " + when);
    throw CallFailure{kNotStarted, std::string("the library is not started: ") + when};
  }
  m_Store = m_Library.store;
  if (freshness == Freshness::Reloaded) Refresh();
  const auto& failures = Current().failures;
  if (failures.empty()) return;
  const auto failure = failures.find(function);
  if (failure != failures.end()) throw CallFailure{failure->second.code, failure->second.text};
}

void Session::RecordMisuse(void* handle, const std::string& why) {
  m_Library.ledger.RecordMisuse(std::string(m_Function) + " " + m_Library.ledger.Describe(handle) +
                                ": " + why);
}

void Session::RejectMisuse(void* handle, vsl_code code, const std::string& why) {
  RecordMisuse(handle, why);
  throw CallFailure{code, why};
}

std::shared_ptr<Handle> Session::Expect(void* handle, Kinds kinds) {
  if (handle == nullptr) RejectMisuse(handle, kBadHandle, "null handle");
  auto found = m_Library.ledger.Find(handle);
  if (!found) {
    const bool created = m_Library.ledger.WasCreated(handle);
    const bool again = std::strcmp(m_Function, "vsl_destroy") == 0;
    const char* misuse = again ? "destroyed twice" : "used after being destroyed";
    RejectMisuse(handle, kBadHandle, created ? misuse : "not a handle of this library");
  }
  if ((KindBit(found->kind) & kinds) == 0) RejectMisuse(handle, kBadHandle, "wrong kind of handle");
  if (found->startCount != m_Library.startCount) RecordMisuse(handle, "created before vsl_fini");
  ApplyHangsAndFailures(found->cardId);
  return found;
}

std::optional<std::uint64_t> Session::HangMs(std::uint64_t id) const {
  const Card* card = Current().FindById(id);
  if (card == nullptr) return std::nullopt;
  const auto hang = card->hangs.find(m_Function);
  if (hang == card->hangs.end()) return std::nullopt;
  return hang->second;
}

// Adds up the sleeps, so that virtual time works. Ends when the file no longer has the hang.
void Session::Hang(std::uint64_t id) {
  constexpr std::uint64_t kSliceMs = 20;
  std::uint64_t waitedMs = 0;
  while (const auto hangMs = HangMs(id)) {
    if (*hangMs != 0 && waitedMs >= *hangMs) return;
    const std::uint64_t sliceMs = *hangMs == 0 ? kSliceMs : std::min(kSliceMs, *hangMs - waitedMs);
    Unlock();
    boost::this_thread::sleep_for(boost::chrono::milliseconds(sliceMs));
    Lock();
    waitedMs += sliceMs;
    if (!m_Library.isStarted || m_Library.store != m_Store) return;
    Refresh();
  }
}

void Session::ApplyHangsAndFailures(std::uint64_t id) {
  Hang(id);
  const Card* card = Current().FindById(id);
  if (card == nullptr) return;
  const auto failure = card->failures.find(m_Function);
  if (failure != card->failures.end())
    throw CallFailure{failure->second.code, failure->second.text};
}

void Session::Refresh() {
  if (m_Store->IsCurrent(*m_Library.loadedVersion)) return;
  m_Library.loadedVersion = m_Store->Load();
}

std::shared_ptr<const Card> Session::CurrentCard(std::uint64_t id) const {
  const Card* card = Current().FindById(id);
  if (card == nullptr) throw CallFailure{kNoSuchCard, "the card has been removed"};
  return {m_Library.loadedVersion->state, card};
}

std::shared_ptr<Handle> Session::Make(HandleKind kind, std::shared_ptr<const Card> card,
                                      void** out) {
  auto handle = m_Library.ledger.Make(kind, std::move(card), m_Library.startCount);
  *out = handle->self;
  return handle;
}

void Session::EditCard(std::uint64_t id, const std::function<bool(Card&)>& change) {
  Unlock();
  EditCardThenLock(id, change);
}

void Session::EditCardThenLock(std::uint64_t id, const std::function<bool(Card&)>& change) {
  FileVersionPtr edited = m_Store->Edit([&](State& state) {
    Card* card = state.FindById(id);
    if (card == nullptr) throw CallFailure{kNoSuchCard, "the card has been removed"};
    return change(*card);
  });
  Lock();
  // Another thread may have called vsl_fini, or vsl_init with another file.
  if (m_Library.isStarted && m_Library.store->Path() == m_Store->Path())
    m_Library.loadedVersion = edited;
}

namespace {

// vsl_destroy accepts a call without an error record, and vsl_fini has no such parameter.
bool MayOmitErrorRecord(const char* function) {
  return std::strcmp(function, "vsl_destroy") == 0 || std::strcmp(function, "vsl_fini") == 0;
}

std::string DescribeHandle(const Library& library, const CallInfo& call)
    HOST_REQUIRES(g_LibraryLock) {
  return call.handle ? library.ledger.Describe(*call.handle) : std::string();
}

void RecordMissingErrorRecord(Library& library, const CallInfo& call) HOST_REQUIRES(g_LibraryLock) {
  const std::string handle = DescribeHandle(library, call);
  library.ledger.RecordMisuse(std::string(call.function) + (handle.empty() ? "" : " ") + handle +
                              ": no error record");
}

}  // namespace

CallNotice BeginCall(const CallInfo& call, const vsl_error_record* err) {
  Library& library = TheLibrary();
  CallNotice notice;
  StorePtr storeToClean;
  {
    const Base::MutexLock lock(g_LibraryLock);
    storeToClean = std::move(library.storeToClean);
    if (call.handle) library.ledger.ExpireString(*call.handle);
    if (err == nullptr && !MayOmitErrorRecord(call.function))
      RecordMissingErrorRecord(library, call);
    if (MayBeIntercepted()) notice.call.handle = DescribeHandle(library, call);
  }
  if (storeToClean != nullptr) RestoreAbandonedCards(storeToClean);
  if (!MayBeIntercepted()) return notice;
  notice.call.function = call.function;
  if (call.number) notice.call.argument = std::to_string(*call.number);
  if (call.text != nullptr) notice.call.argument = call.text;
  notice.hook = LogCall(notice.call);
  return notice;
}

void RunHook(const CallNotice& notice) {
  if (notice.hook) (*notice.hook)(notice.call);
}

void ThrowInjectedFailure(const CallInfo& call) {
  if (MayBeIntercepted()) ThrowIfCallMustFail(call.function);
}

void SetErrorText(vsl_error_record* err, std::string_view text) noexcept {
  if (err == nullptr) return;
  const std::size_t length = std::min(text.size(), sizeof err->text - 1);
  std::memcpy(err->text, text.data(), length);
  err->text[length] = '\0';
}

void Reset() {
  ResetCalls();
  Library& library = TheLibrary();
  std::vector<std::uint64_t> running;
  StorePtr store;
  {
    const Base::MutexLock lock(g_LibraryLock);
    running = library.ledger.Reset();
    store = library.store;
  }
  for (const std::uint64_t job : running) AbandonJob(store, job);
}

std::vector<std::string> OpenHandles() {
  Library& library = TheLibrary();
  const Base::MutexLock lock(g_LibraryLock);
  return library.ledger.OpenHandles();
}

std::vector<std::string> Misuse() {
  Library& library = TheLibrary();
  const Base::MutexLock lock(g_LibraryLock);
  return library.ledger.Misuse();
}

}  // namespace CardSim
