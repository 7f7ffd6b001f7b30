// Reads attributes, which may be absent, from the card library.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "Corvane/Src/CardHandles.h"
#include "host/vsl_abstraction.h"

namespace NAMESPACE_Corvane {

// The two library functions of one attribute, for one kind of handle.
template <class Kind, class T>
struct Attribute {
  bool (*m_Has)(void*, ErrorRecordPointer);
  T (*m_Read)(void*, ErrorRecordPointer);
};

template <class Kind, class T>
constexpr Attribute<Kind, T> AttributeOf(bool (*has)(void*, ErrorRecordPointer),
                                         T (*read)(void*, ErrorRecordPointer)) {
  return {has, read};
}

// The kind of handle that has the attribute. The default is a card; the specializations are for
// attributes of other handles whose functions are named like those of a card.
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

// `VSL(name)` is the attribute that vsl_has_name() and vsl_name() read; `VSL_FORMAT(name)` is the
// attribute of a format that vsl_iom_format_has_name() and vsl_iom_format_name() read.
#define VSL(name)                                                                               \
  ::NAMESPACE_Corvane::AttributeOf<typename ::NAMESPACE_Corvane::KindOf<vsl_has_##name>::Type>( \
      vsl_has_##name, vsl_##name)
#define VSL_FORMAT(name)                                                     \
  ::NAMESPACE_Corvane::AttributeOf<::NAMESPACE_Corvane::HandleKind::Format>( \
      vsl_iom_format_has_##name, vsl_iom_format_##name)

// Attributes that the macros cannot name. The reserve status has no `has` function of its own: it
// exists if the reserve space does. The size mode can be set but not read.
constexpr auto kReserveStatus =
    AttributeOf<HandleKind::Card>(vsl_has_reserve_space_pct, vsl_reserve_status);
constexpr Attribute<HandleKind::Format, bool> kSizeMode = {vsl_iom_format_has_size_mode, nullptr};

// Reads attributes through a handle that it does not own.
template <class Kind>
class AttributeReader {
 public:
  AttributeReader(HandleRef<Kind> handle, ErrorRecord& error) : m_Handle(handle), m_Error(error) {}

  template <class T>
  bool Has(const Attribute<Kind, T>& attribute) const {
    return attribute.m_Has(m_Handle.Raw(), m_Error);
  }

  // Reads an attribute without checking that it exists.
  template <class T>
  T Get(const Attribute<Kind, T>& attribute) const {
    return attribute.m_Read(m_Handle.Raw(), m_Error);
  }

  // Reads an attribute if it exists.
  template <class T>
  std::optional<T> Read(const Attribute<Kind, T>& attribute) const {
    if (!Has(attribute)) return std::nullopt;
    return Get(attribute);
  }

  // Copies the string, because the library may overwrite it in the next call.
  std::optional<std::string> Read(const Attribute<Kind, const char*>& attribute) const {
    if (!Has(attribute)) return std::nullopt;
    const char* text = Get(attribute);
    return text == nullptr ? std::string() : std::string(text);
  }

  // Sets `field` if the attribute exists, and returns whether it does.
  template <class T, class Field>
  bool ReadInto(Field& field, const Attribute<Kind, T>& attribute) const {
    auto value = Read(attribute);
    if (!value) return false;
    field = *std::move(value);
    return true;
  }

 private:
  HandleRef<Kind> m_Handle;
  ErrorRecord& m_Error;
};

using CardReader = AttributeReader<HandleKind::Card>;

// Rounds toward zero. A value out of range becomes the nearest integer, and a NaN becomes 0.
inline std::int32_t Truncated(float value) {
  if (std::isnan(value)) return 0;
  constexpr float kLimit = 2147483648.0F;
  if (value >= kLimit) return std::numeric_limits<std::int32_t>::max();
  if (value < -kLimit) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value);
}

// Returns the whole MiB in a number of bytes.
constexpr std::uint64_t MiB(std::uint64_t bytes) {
  return bytes >> 20;
}

}  // namespace NAMESPACE_Corvane
