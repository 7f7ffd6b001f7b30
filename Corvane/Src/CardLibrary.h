// What the plug-in reads from the card library: attributes that may be absent.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "Corvane/Src/CardHandles.h"
#include "host/vsl_abstraction.h"

namespace NAMESPACE_Corvane {

// The two functions of one attribute of a handle of that kind.
template <class Kind, class T>
struct Attribute {
  bool (*m_Has)(void*, vsl_error_record*);
  T (*m_Read)(void*, vsl_error_record*);
};

template <class Kind, class T>
constexpr Attribute<Kind, T> AttributeOf(bool (*has)(void*, vsl_error_record*),
                                         T (*read)(void*, vsl_error_record*)) {
  return {has, read};
}

// The kind of handle that has the attribute. It is a card, except for the functions below, which
// are named like those of a card.
template <auto has>
struct KindOf {
  using Type = HandleKind::Card;
};
template <>
struct KindOf<vsl_has_power_limit_watts> {
  using Type = HandleKind::Adapter;
};
template <>
struct KindOf<vsl_has_vsu_state> {
  using Type = HandleKind::Unit;
};

#define VSL(name)                                                                               \
  ::NAMESPACE_Corvane::AttributeOf<typename ::NAMESPACE_Corvane::KindOf<vsl_has_##name>::Type>( \
      vsl_has_##name, vsl_##name)
#define VSL_FORMAT(name)                                                     \
  ::NAMESPACE_Corvane::AttributeOf<::NAMESPACE_Corvane::HandleKind::Format>( \
      vsl_iom_format_has_##name, vsl_iom_format_##name)

// Two attributes whose functions are not named in pairs: a status that is there when the space is,
// and a mode that has no value.
constexpr auto kReserveStatus =
    AttributeOf<HandleKind::Card>(vsl_has_reserve_space_pct, vsl_reserve_status);
constexpr Attribute<HandleKind::Format, bool> kSizeMode = {vsl_iom_format_has_size_mode, nullptr};

// Reads attributes of a handle that it does not own.
template <class Kind>
class AttributeReader {
 public:
  AttributeReader(HandleRef<Kind> handle, ErrorRecord& error) : m_Handle(handle), m_Error(error) {}

  template <class T>
  bool Has(const Attribute<Kind, T>& attribute) const {
    return attribute.m_Has(m_Handle.Raw(), m_Error);
  }

  // For an attribute that the card is known to have.
  template <class T>
  T Get(const Attribute<Kind, T>& attribute) const {
    return attribute.m_Read(m_Handle.Raw(), m_Error);
  }

  // No value when the card does not have the attribute.
  template <class T>
  std::optional<T> Read(const Attribute<Kind, T>& attribute) const {
    if (!Has(attribute)) return std::nullopt;
    return Get(attribute);
  }

  // A text is the library's until the next call, so it is copied here.
  std::optional<std::string> Read(const Attribute<Kind, const char*>& attribute) const {
    if (!Has(attribute)) return std::nullopt;
    const char* text = Get(attribute);
    return text == nullptr ? std::string() : std::string(text);
  }

  // Whether the card has the attribute; otherwise `field` stays as it is.
  template <class T, class Field>
  bool ReadInto(Field& field, const Attribute<Kind, T>& attribute) const {
    const auto value = Read(attribute);
    if (value) field = *value;
    return value.has_value();
  }

 private:
  HandleRef<Kind> m_Handle;
  ErrorRecord& m_Error;
};

using CardReader = AttributeReader<HandleKind::Card>;

// Truncates toward zero. A value out of range becomes the nearest integer, and a NaN becomes 0.
inline std::int32_t Truncated(float value) {
  if (std::isnan(value)) return 0;
  constexpr float kLimit = 2147483648.0F;
  if (value >= kLimit) return std::numeric_limits<std::int32_t>::max();
  if (value < -kLimit) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value);
}

constexpr std::uint64_t MiB(std::uint64_t bytes) {
  return bytes >> 20;
}

}  // namespace NAMESPACE_Corvane
