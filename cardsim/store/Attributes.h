// The attributes of a simulated card: one table for the C functions, the names in the state file
// and the values that `set` accepts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "cardsim/store/VariantGuard.h"
#include "host/vsl_abstraction.h"

// Values that the library returns without a `vsl_has_` function, and settings of the simulator.
// clang-format off
#define CARDSIM_SETTINGS(X) \
  X(std::uint16_t, pci_device_id) \
  X(std::uint32_t, reserve_status)         /* 0 healthy, 1 warning, 2 depleted */ \
  X(bool, iom_format_size_mode)            /* whether a format has size modes */ \
  X(std::uint64_t, overformat_size_bytes)  /* the largest size in size mode 11 */ \
  X(std::uint32_t, attach_ms)              /* duration of the jobs */ \
  X(std::uint32_t, detach_ms) \
  X(std::uint32_t, format_ms) \
  X(bool, in_use)                          /* a detach without force fails */
// clang-format on

namespace CardSim {

enum class Attribute : std::size_t {
#define CARDSIM_ENUMERATE(type, name) name,
#define CARDSIM_ENUMERATE_FORMAT(type, name) iom_format_##name,
  VSL_CARD_ATTRIBUTES(CARDSIM_ENUMERATE) VSL_FORMAT_ATTRIBUTES(CARDSIM_ENUMERATE_FORMAT)
      CARDSIM_SETTINGS(CARDSIM_ENUMERATE)
#undef CARDSIM_ENUMERATE_FORMAT
#undef CARDSIM_ENUMERATE
          Count
};

constexpr std::size_t kAttributeCount = static_cast<std::size_t>(Attribute::Count);

// Integers are kept at full width; `AttributeInfo` has the range of the C type.
using Value = std::variant<std::string, bool, std::uint64_t, std::int64_t, float, VariantGuard>;
using Values = std::array<std::optional<Value>, kAttributeCount>;

enum class ValueKind { Text, Bool, Unsigned, Signed, Float };

struct AttributeInfo {
  std::string_view name;
  ValueKind kind;
  std::int64_t min;   // for integers
  std::uint64_t max;  // for integers
};

// Returns the row of an attribute, which is static.
const AttributeInfo& InfoOf(Attribute attribute);
// Returns the attribute with that name, or std::nullopt if the name is unknown.
std::optional<Attribute> FindAttribute(std::string_view name);

// Returns the kind that stores the C type `T`.
template <typename T>
constexpr ValueKind ValueKindOf() {
  if (std::is_same_v<T, const char*>) return ValueKind::Text;
  if (std::is_same_v<T, bool>) return ValueKind::Bool;
  if (std::is_same_v<T, float>) return ValueKind::Float;
  return std::is_signed_v<T> ? ValueKind::Signed : ValueKind::Unsigned;
}

// Returns the value as its C type, which must be that of the attribute's row. A string points into
// `value`.
template <typename T>
T ValueAs(const Value& value) {
  if constexpr (std::is_same_v<T, const char*>) {
    return std::get<std::string>(value).c_str();
  } else if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, float>) {
    return std::get<T>(value);
  } else if constexpr (std::is_signed_v<T>) {
    return static_cast<T>(std::get<std::int64_t>(value));
  } else {
    return static_cast<T>(std::get<std::uint64_t>(value));
  }
}

// Returns the attribute as its C type, or `fallback` if it is absent. A string points into
// `values`.
template <typename T>
T Read(const Values& values, Attribute attribute, T fallback) {
  const auto& value = values[static_cast<std::size_t>(attribute)];
  return value ? ValueAs<T>(*value) : fallback;
}

inline const std::optional<Value>& At(const Values& values, Attribute attribute) {
  return values[static_cast<std::size_t>(attribute)];
}

inline std::optional<Value>& At(Values& values, Attribute attribute) {
  return values[static_cast<std::size_t>(attribute)];
}

}  // namespace CardSim
