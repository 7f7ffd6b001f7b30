#include "cardsim/store/Attributes.h"

namespace CardSim {
namespace {

template <typename T>
constexpr AttributeInfo Row(std::string_view name) {
  if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
    return {name, ValueKindOf<T>(), static_cast<std::int64_t>(std::numeric_limits<T>::min()),
            static_cast<std::uint64_t>(std::numeric_limits<T>::max())};
  } else {
    return {name, ValueKindOf<T>(), 0, 0};
  }
}

#define CARDSIM_ROW(type, name) Row<type>(#name),
#define CARDSIM_FORMAT_ROW(type, name) Row<type>("iom_format_" #name),
constexpr std::array<AttributeInfo, kAttributeCount> kRows = {VSL_CARD_ATTRIBUTES(
    CARDSIM_ROW) VSL_FORMAT_ATTRIBUTES(CARDSIM_FORMAT_ROW) CARDSIM_SETTINGS(CARDSIM_ROW)};
#undef CARDSIM_FORMAT_ROW
#undef CARDSIM_ROW

}  // namespace

const AttributeInfo& InfoOf(Attribute attribute) {
  return kRows[static_cast<std::size_t>(attribute)];
}

std::optional<Attribute> FindAttribute(std::string_view name) {
  for (std::size_t i = 0; i < kAttributeCount; ++i) {
    if (kRows[i].name == name) return static_cast<Attribute>(i);
  }
  return std::nullopt;
}

}  // namespace CardSim
