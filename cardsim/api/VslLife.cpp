// Init and fini, and the handles of cards and adapters.
#include <cstring>
#include <memory>
#include <utility>

#include "cardsim/api/Jobs.h"
#include "cardsim/api/Library.h"
#include "cardsim/cardsim.h"
#include "host/vsl_abstraction.h"

using namespace CardSim;

namespace {

void Start(std::uint64_t flags) {
  if (flags != 0) throw CallFailure{kBadValue, "vsl_init accepts no flags"};
  StorePtr store = std::make_shared<const FileStore>(StateFile::DefaultPath());
  FileVersionPtr loaded = store->Load();
  const auto failure = loaded->state->failures.find("vsl_init");
  if (failure != loaded->state->failures.end()) {
    throw CallFailure{failure->second.code, failure->second.text};
  }
  Library& library = TheLibrary();
  const Base::MutexLock lock(g_LibraryLock);
  if (!library.isStarted) ++library.startCount;
  library.isStarted = true;
  library.store = std::move(store);
  library.loadedVersion = std::move(loaded);
}

void CheckVariable(Session& session, const void* variable) HOST_REQUIRES(g_LibraryLock) {
  if (variable == nullptr) session.RejectMisuse(nullptr, kBadHandle, "null handle variable");
}

void CheckWhich(std::uint32_t which) {
  if (which != 1) throw CallFailure{kBadValue, "which must be 1"};
}

// Where the iteration continues: after the iterated card, or at its position if that card was
// removed.
std::size_t NextPosition(Session& session, const Handle& iterated) HOST_REQUIRES(g_LibraryLock) {
  const auto& cards = session.Current().cards;
  for (std::size_t i = 0; i < cards.size(); ++i) {
    if (cards[i].id == iterated.cardId) return i + 1;
  }
  return iterated.position;
}

bool Iterate(void** iom) {
  Session session("vsl_iom_iterate", Freshness::Reloaded);
  CheckVariable(session, iom);
  std::size_t position = 0;
  std::shared_ptr<Handle> iterated;
  if (*iom != nullptr) {
    iterated = session.Expect(*iom, KindBit(HandleKind::Iterated));
    position = NextPosition(session, *iterated);
  }
  void* next = nullptr;
  if (position < session.Current().cards.size()) {
    const auto card = session.CurrentCard(session.Current().cards[position].id);
    session.Make(HandleKind::Iterated, card, &next)->position = position;
  }
  // Done last, so that an iteration that ran out of memory can continue at the same card.
  if (iterated != nullptr) session.Handles().Remove(*iterated);
  *iom = next;
  return next != nullptr;
}

std::uint64_t FindCardId(const State& state, const char* path) {
  for (const Card& card : state.cards) {
    const auto* known = Read<const char*>(card.values, Attribute::device_path, nullptr);
    if (known != nullptr && std::strcmp(known, path) == 0) return card.id;
  }
  throw CallFailure{kNoSuchCard, std::string(path) + ": no such card"};
}

void Destroy(void** variable) {
  Session session("vsl_destroy");
  CheckVariable(session, variable);
  // A caller whose create failed may destroy the null handle.
  if (*variable == nullptr) return;
  const auto handle = session.Expect(*variable, kAnyKind);
  if (handle->kind == HandleKind::Volume) {
    session.RejectMisuse(*variable, kBadHandle, "a volume is destroyed with its card's handle");
  }
  if (handle->isOpen) session.RecordMisuse(*variable, "destroyed while open");
  session.Handles().Remove(*handle);
  if (handle->plan.phase != JobPhase::Started) return;
  const std::uint64_t job = handle->plan.record.number;
  session.Unlock();
  AbandonJob(session.Store(), job);
}

}  // namespace

vsl_code vsl_init(uint64_t flags, vsl_error_record* err) {
  return RunForCode({"vsl_init"}, err, [&] { Start(flags); });
}

void vsl_fini(void) {
  // Cannot fail.
  RunCall({"vsl_fini"}, nullptr, [] {});
  Library& library = TheLibrary();
  const Base::MutexLock lock(g_LibraryLock);
  library.isStarted = false;
  library.ledger.ExpireStrings();
}

bool vsl_iom_iterate(void** iom, uint32_t which, vsl_error_record* err) {
  void* iterated = iom == nullptr ? nullptr : *iom;
  return RunForValue({"vsl_iom_iterate", iterated}, err, false, [&] {
    CheckWhich(which);
    return Iterate(iom);
  });
}

vsl_code vsl_iom_create_by_name(const char* path, void** iom, vsl_error_record* err) {
  return RunForCode({"vsl_iom_create_by_name", std::nullopt, std::nullopt, path}, err, [&] {
    Session session("vsl_iom_create_by_name", Freshness::Reloaded);
    CheckVariable(session, iom);
    if (path == nullptr) throw CallFailure{kBadValue, "null path"};
    const std::uint64_t id = FindCardId(session.Current(), path);
    session.ApplyHangsAndFailures(id);
    session.Make(HandleKind::Card, session.CurrentCard(id), iom);
  });
}

vsl_code vsl_open(void* iom, vsl_error_record* err) {
  return RunForCode({"vsl_open", iom}, err, [&] {
    Session session("vsl_open", Freshness::Reloaded);
    const auto handle = session.Expect(iom, KindBit(HandleKind::Card));
    if (handle->isOpen) session.RejectMisuse(iom, kBadHandle, "opened twice");
    handle->card = session.CurrentCard(handle->cardId);
    handle->isOpen = true;
  });
}

vsl_code vsl_close(void* iom, vsl_error_record* err) {
  return RunForCode({"vsl_close", iom}, err, [&] {
    Session session("vsl_close");
    const auto handle = session.Expect(iom, KindBit(HandleKind::Card));
    if (!handle->isOpen) session.RejectMisuse(iom, kNotOpen, "closed but not open");
    handle->isOpen = false;
  });
}

vsl_code vsl_destroy(void** handle, vsl_error_record* err) {
  void* value = handle == nullptr ? nullptr : *handle;
  return RunForCode({"vsl_destroy", value}, err, [&] { Destroy(handle); });
}

vsl_code vsl_adapter_create(void* iom, void** adapter, vsl_error_record* err) {
  return RunForCode({"vsl_adapter_create", iom}, err, [&] {
    Session session("vsl_adapter_create");
    CheckVariable(session, adapter);
    const auto handle = session.Expect(iom, KindBit(HandleKind::Card));
    if (!handle->isOpen) session.RejectMisuse(iom, kNotOpen, "the card is not open");
    session.Make(HandleKind::Adapter, handle->card, adapter);
  });
}
