// The functions that read attributes, one pair per row of the attribute lists.
#include "cardsim/api/Library.h"
#include "host/vsl_abstraction.h"

using namespace CardSim;

namespace {

// Readable on a card handle that is not open.
constexpr Attribute kReadableUnopened[] = {
    Attribute::device_path,
    Attribute::beacon_state,
    Attribute::rated_endurance_tbytes,
    Attribute::rated_writes_remaining_percent,
    Attribute::total_physical_bytes_read,
    Attribute::total_physical_bytes_written,
    Attribute::reserve_space_pct,
};

bool IsReadable(const Handle& handle, Attribute attribute) HOST_REQUIRES(g_LibraryLock) {
  if (handle.isOpen || handle.kind == HandleKind::Adapter || handle.kind == HandleKind::Format) {
    return true;
  }
  // Callers identify an iterated card by its serial number.
  if (handle.kind == HandleKind::Iterated && attribute == Attribute::serial_number) return true;
  for (const Attribute readable : kReadableUnopened) {
    if (attribute == readable) return true;
  }
  return false;
}

bool IsFormat(Attribute attribute) {
  return attribute == Attribute::iom_format_size_mode ||
         (attribute > Attribute::beacon_state && attribute <= Attribute::iom_format_size_pct);
}

Kinds KindsOf(Attribute attribute) {
  if (attribute == Attribute::power_limit_watts) return KindBit(HandleKind::Adapter);
  if (IsFormat(attribute)) return KindBit(HandleKind::Format);
  return KindBit(HandleKind::Card) | KindBit(HandleKind::Iterated);
}

bool IsStatusMask(Attribute attribute) {
  return attribute == Attribute::current_errors || attribute == Attribute::current_warnings ||
         attribute == Attribute::current_info;
}

// Returns the card to read from: the current one for status masks, and the card as of its opening
// for all other attributes.
std::shared_ptr<const Card> CardToRead(Session& session, const Handle& handle, Attribute attribute)
    HOST_REQUIRES(g_LibraryLock) {
  if (!IsStatusMask(attribute)) return handle.card;
  // If the file cannot be read, the last known mask is better than 0, which would mean that all
  // bits were cleared.
  try {
    session.Refresh();
    return session.CurrentCard(handle.cardId);
  } catch (const CallFailure&) {
    return handle.card;
  } catch (const std::exception&) {
    return handle.card;
  }
}

std::optional<Value> FindValue(Session& session, void* pointer, Attribute attribute)
    HOST_REQUIRES(g_LibraryLock) {
  const auto handle = session.Expect(pointer, KindsOf(attribute));
  if (!IsReadable(*handle, attribute))
    session.RejectMisuse(pointer, kNotOpen, "the card is not open");
  return At(CardToRead(session, *handle, attribute)->values, attribute);
}

bool Has(const char* function, void* handle, Attribute attribute, vsl_error_record* err) {
  return RunForValue({function, handle}, err, false, [&] {
    Session session(function);
    return handle != nullptr && FindValue(session, handle, attribute).has_value();
  });
}

template <typename T>
T EmptyValue() {
  if constexpr (std::is_same_v<T, const char*>) return "";
  return T();
}

template <typename T>
T ReadValue(Session& session, void* pointer, Attribute attribute) HOST_REQUIRES(g_LibraryLock) {
  const auto handle = session.Expect(pointer, KindsOf(attribute));
  if (!IsReadable(*handle, attribute))
    session.RejectMisuse(pointer, kNotOpen, "the card is not open");
  const auto card = CardToRead(session, *handle, attribute);
  if (!At(card->values, attribute)) {
    session.RejectMisuse(pointer, kNotSupported, "the attribute is absent");
  }
  const T value = Read<T>(card->values, attribute, EmptyValue<T>());
  if constexpr (std::is_same_v<T, const char*>) {
    return session.Handles().CopyString(*handle, value);
  } else {
    return value;
  }
}

template <typename T>
T Get(const char* function, void* handle, Attribute attribute, vsl_error_record* err) {
  return RunForValue({function, handle}, err, EmptyValue<T>(), [&] {
    Session session(function);
    return ReadValue<T>(session, handle, attribute);
  });
}

}  // namespace

#define CARDSIM_PAIR(type, name)                                  \
  bool vsl_has_##name(void* handle, vsl_error_record* err) {      \
    return Has("vsl_has_" #name, handle, Attribute::name, err);   \
  }                                                               \
  type vsl_##name(void* handle, vsl_error_record* err) {          \
    return Get<type>("vsl_" #name, handle, Attribute::name, err); \
  }
VSL_CARD_ATTRIBUTES(CARDSIM_PAIR)
#undef CARDSIM_PAIR

#define CARDSIM_PAIR(type, name)                                                          \
  bool vsl_iom_format_has_##name(void* format, vsl_error_record* err) {                   \
    return Has("vsl_iom_format_has_" #name, format, Attribute::iom_format_##name, err);   \
  }                                                                                       \
  type vsl_iom_format_##name(void* format, vsl_error_record* err) {                       \
    return Get<type>("vsl_iom_format_" #name, format, Attribute::iom_format_##name, err); \
  }
VSL_FORMAT_ATTRIBUTES(CARDSIM_PAIR)
#undef CARDSIM_PAIR

bool vsl_iom_format_has_size_mode(void* format, vsl_error_record* err) {
  return RunForValue({"vsl_iom_format_has_size_mode", format}, err, false, [&] {
    Session session("vsl_iom_format_has_size_mode");
    if (format == nullptr) return false;
    const auto value = FindValue(session, format, Attribute::iom_format_size_mode);
    return value && ValueAs<bool>(*value);
  });
}

uint16_t vsl_pci_device_id(void* iom, vsl_error_record* err) {
  return RunForValue({"vsl_pci_device_id", iom}, err, uint16_t{0}, [&] {
    Session session("vsl_pci_device_id");
    const auto value = FindValue(session, iom, Attribute::pci_device_id);
    return value ? ValueAs<uint16_t>(*value) : uint16_t{0};
  });
}

uint32_t vsl_reserve_status(void* iom, vsl_error_record* err) {
  return RunForValue({"vsl_reserve_status", iom}, err, uint32_t{0}, [&] {
    Session session("vsl_reserve_status");
    const auto value = FindValue(session, iom, Attribute::reserve_status);
    if (!FindValue(session, iom, Attribute::reserve_space_pct)) {
      session.RejectMisuse(iom, kNotSupported, "the attribute is absent");
    }
    return value ? ValueAs<uint32_t>(*value) : uint32_t{0};
  });
}
