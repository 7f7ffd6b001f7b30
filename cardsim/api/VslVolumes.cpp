// The locate LED and the volumes (storage units) of a card.
#include "cardsim/api/Library.h"
#include "host/vsl_abstraction.h"

using namespace CardSim;

namespace {

void CheckOnOrOff(std::uint32_t state) {
  if (state > 1) throw CallFailure{kBadValue, "the state must be 0 or 1"};
}

bool IsLocateLedOn(const Card& card) {
  const auto& led = At(card.values, Attribute::beacon_state);
  if (!led) throw CallFailure{kNotSupported, "the card has no locate LED"};
  return ValueAs<bool>(*led);
}

bool SetLocateLed(Card& card, bool on) {
  if (IsLocateLedOn(card) == on) return false;
  At(card.values, Attribute::beacon_state) = on;
  return true;
}

bool SetVolumeState(Card& card, std::size_t position, std::uint32_t state) {
  if (position >= card.volumes.size()) {
    throw CallFailure{kNoSuchCard, "the volume has been removed"};
  }
  Volume& volume = card.volumes[position];
  if (!volume.settable) throw CallFailure{kNotSupported, "the volume's state cannot be set"};
  if (volume.refuses) throw CallFailure{kWrongState, "the volume rejected the new state"};
  if (volume.state == state) return false;
  volume.state = state;
  return true;
}

bool NextVolume(Session& session, void* iom, void** vsu) HOST_REQUIRES(g_LibraryLock) {
  const auto card = session.Expect(iom, KindBit(HandleKind::Card));
  std::size_t position = 0;
  if (*vsu != nullptr) {
    const auto volume = session.Expect(*vsu, KindBit(HandleKind::Volume));
    if (volume->parent != iom)
      session.RejectMisuse(*vsu, kBadHandle, "a volume of another card's handle");
    position = volume->position + 1;
  }
  if (position >= card->card->volumes.size()) {
    *vsu = nullptr;
    return false;
  }
  card->volumes.reserve(card->volumes.size() + 1);
  const auto volume = session.Make(HandleKind::Volume, card->card, vsu);
  volume->position = position;
  volume->parent = iom;
  card->volumes.push_back(*vsu);
  return true;
}

// Returns the volume as of its iteration or the last change of its state through this handle.
const Volume& VolumeOf(const Handle& handle) HOST_REQUIRES(g_LibraryLock) {
  if (handle.position >= handle.card->volumes.size())
    throw CallFailure{kNoSuchCard, "the volume has been removed"};
  return handle.card->volumes[handle.position];
}

}  // namespace

vsl_code vsl_set_beacon_state(void* iom, uint32_t state, vsl_error_record* err) {
  return RunForCode({"vsl_set_beacon_state", iom, state}, err, [&] {
    Session session("vsl_set_beacon_state");
    const auto handle = session.Expect(iom, KindBit(HandleKind::Card));
    CheckOnOrOff(state);
    session.Refresh();
    // Callers turn off the LED of every card at their start. An edit would lock and read the file.
    if (IsLocateLedOn(*session.CurrentCard(handle->cardId)) != (state == 1)) {
      session.EditCard(handle->cardId, [&](Card& card) { return SetLocateLed(card, state == 1); });
    }
    handle->card = session.CurrentCard(handle->cardId);
  });
}

bool vsl_vsu_iterate(void* iom, void** vsu, uint32_t which, vsl_error_record* err) {
  return RunForValue({"vsl_vsu_iterate", iom}, err, false, [&] {
    Session session("vsl_vsu_iterate");
    if (vsu == nullptr) session.RejectMisuse(nullptr, kBadHandle, "null handle variable");
    if (which != 1) throw CallFailure{kBadValue, "which must be 1"};
    return NextVolume(session, iom, vsu);
  });
}

uint32_t vsl_vsu_state(void* vsu, vsl_error_record* err) {
  return RunForValue({"vsl_vsu_state", vsu}, err, uint32_t{0}, [&] {
    Session session("vsl_vsu_state");
    return VolumeOf(*session.Expect(vsu, KindBit(HandleKind::Volume))).state;
  });
}

bool vsl_has_vsu_state(void* vsu, vsl_error_record* err) {
  return RunForValue({"vsl_has_vsu_state", vsu}, err, false, [&] {
    Session session("vsl_has_vsu_state");
    if (vsu == nullptr) return false;
    return VolumeOf(*session.Expect(vsu, KindBit(HandleKind::Volume))).settable;
  });
}

vsl_code vsl_set_vsu_state(void* vsu, uint32_t state, vsl_error_record* err) {
  return RunForCode({"vsl_set_vsu_state", vsu, state}, err, [&] {
    Session session("vsl_set_vsu_state");
    const auto handle = session.Expect(vsu, KindBit(HandleKind::Volume));
    CheckOnOrOff(state);
    session.EditCard(handle->cardId,
                     [&](Card& card) { return SetVolumeState(card, handle->position, state); });
    handle->card = session.CurrentCard(handle->cardId);
  });
}
