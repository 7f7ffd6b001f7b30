#include "tests/service/state/Cards.h"

#include <utility>

namespace StateTest {
namespace {

namespace P = PI::Property;

constexpr std::uint64_t kPluginId = 0x0130000000000000UL;

template <class Number>
void AddNumber(PI::CObject& object, PI::_PROPERTY_ID id, const std::optional<Number>& number,
               std::optional<PI::_UNITS> units) {
  if (!number) return;
  PI::CProperty property(id, false);
  property.SetValue(*number);
  if (units) property.m_Units = *units;
  object.m_Properties.push_back(property);
}

void AddText(PI::CObject& object, PI::_PROPERTY_ID id, const std::string& text) {
  PI::CProperty property(id, false);
  property.SetValue(text);
  object.m_Properties.push_back(property);
}

PI::CObject MakeAdapter(const Card& card, std::size_t number) {
  PI::CObject object;
  object.m_ID = kPluginId + 2 * number + 1;
  object.m_ObjectType = PI::OBJECT_ADAPTER;
  AddText(object, P::NAME, "Card " + card.m_Serial);
  AddText(object, P::SERIAL_NUMBER, card.m_Serial);
  PI::CProperty reasons(P::ADDITIONAL_STATUS, false);
  std::vector<int> values = card.m_Reasons, allowed = card.m_Reasons;
  reasons.SetValue(values, allowed);
  object.m_Properties.push_back(reasons);
  AddNumber(object, P::CHIP_TEMPERATURE, card.m_Celsius, PI::UNITS_DEGREES_CELSIUS);
  AddNumber(object, P::REMAINING_RESERVE_SPACE, card.m_ReservePercent, PI::UNITS_PERCENT);
  AddNumber(object, P::RATED_ENDURANCE_PERCENT, card.m_EndurancePercent, PI::UNITS_PERCENT);
  AddNumber(object, P::BYTES_WRITTEN, card.m_BytesWritten, PI::UNITS_BYTES);
  AddNumber(object, P::BYTES_READ, card.m_BytesRead, PI::UNITS_BYTES);
  AddNumber(object, P::SLOT_POWER, card.m_Watts, PI::UNITS_WATTS);
  AddNumber(object, P::PCI_SLOT, card.m_Slot, std::nullopt);
  return object;
}

PI::CObject MakeDrive(const Card& card, const PI::CObject& adapter) {
  PI::CObject object;
  object.m_ID = adapter.m_ID + 1;
  object.m_ObjectType = PI::OBJECT_PHYSICAL_DRIVE;
  object.m_Parents = {adapter.m_ID};
  AddText(object, P::NAME, "Drive " + card.m_Serial);
  AddNumber(object, P::FORMATTED_SIZE, std::optional(card.m_SizeMiB), PI::UNITS_MEGABYTES);
  AddNumber(object, P::BLOCK_SIZE, std::optional(card.m_SectorSize), PI::UNITS_BYTES);
  return object;
}

}  // namespace

std::vector<PI::CObject> Objects(const std::vector<Card>& cards) {
  PI::CObject plugin;
  plugin.m_ID = kPluginId;
  plugin.m_ObjectType = PI::OBJECT_PLUGIN;
  std::vector<PI::CObject> objects = {plugin};
  for (std::size_t i = 0; i < cards.size(); ++i) objects.push_back(MakeAdapter(cards[i], i));
  for (std::size_t i = 0; i < cards.size(); ++i) {
    objects.push_back(MakeDrive(cards[i], objects[i + 1]));
  }
  return objects;
}

Service::Observation Observe(std::uint64_t timeMs, const std::vector<Card>& cards,
                             std::int64_t logPosition, bool isFirst) {
  auto objects = std::make_shared<const std::vector<PI::CObject>>(Objects(cards));
  return {timeMs, isFirst, logPosition, std::move(objects)};
}

}  // namespace StateTest
