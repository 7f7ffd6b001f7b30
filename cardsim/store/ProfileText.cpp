#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "cardsim/store/JsonReading.h"
#include "cardsim/store/Profiles.h"
#include "cardsim/store/StateText.h"
#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

// Attributes that `AddCard` sets, because they belong to a card and its slot, not to a kind of
// card.
constexpr Attribute kSetBySlot[] = {
    Attribute::device_path, Attribute::serial_number, Attribute::pci_domain,  Attribute::pci_bus,
    Attribute::pci_device,  Attribute::pci_function,  Attribute::pci_slot_num};

bool IsSetBySlot(Attribute attribute) {
  return std::find(std::begin(kSetBySlot), std::end(kSetBySlot), attribute) != std::end(kSetBySlot);
}

void ReadMember(Profile& profile, const std::string& name, const Json& json,
                const std::string& location) {
  if (name == "volumes") {
    profile.volumes = VolumesFromJson(json, location);
    return;
  }
  const auto attribute = FindAttribute(name);
  if (!attribute) Reject(location, "unknown attribute" + DidYouMean(name, AttributeNames()));
  if (IsSetBySlot(*attribute)) Reject(location, "is set by the slot, not by the profile");
  const AttributeInfo& info = InfoOf(*attribute);
  const bool mayBeHex = info.kind == ValueKind::Unsigned;
  At(profile.values, *attribute) =
      ValueFromJson(info, mayBeHex ? ParseHexNumber(json) : json, location);
}

}  // namespace

Profile ParseProfile(const std::string& text, const std::string& location) {
  const auto parse = [&] {
    try {
      return ParseJson(text);
    } catch (const std::runtime_error& error) {
      Reject(location, error.what());
    }
  };
  const Json json = parse();
  const auto* members = json.As<Json::Members>();
  if (members == nullptr) Reject(location, "must be an object");
  Profile profile;
  profile.volumes = {Volume()};
  for (const auto& [name, value] : *members) {
    ReadMember(profile, name, value, location + ": " + name);
  }
  const auto& id = At(profile.values, Attribute::pci_device_id);
  if (!id) Reject(location, "has no \"pci_device_id\"");
  profile.deviceId = ValueAs<std::uint16_t>(*id);
  return profile;
}

}  // namespace CardSim
