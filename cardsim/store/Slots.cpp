// Selection of a new card's slot, and the attributes that the slot determines.
#include <cstdio>
#include <stdexcept>

#include "cardsim/store/Profiles.h"

namespace CardSim {
namespace {

// Buses 0 to 2 of each PCI domain belong to the machine itself.
constexpr std::uint64_t kFirstBus = 3;
constexpr std::uint64_t kBusesPerDomain = 253;
constexpr std::uint64_t kLastDomain = 0xFFFF;

std::uint64_t DomainOfSlot(std::uint64_t slot) {
  return slot / kBusesPerDomain;
}
std::uint64_t BusOfSlot(std::uint64_t slot) {
  return kFirstBus + slot % kBusesPerDomain;
}

std::string NameOfSlot(std::uint64_t slot) {
  return "card" + std::to_string(slot);
}
std::string PathOfSlot(std::uint64_t slot) {
  return "/dev/fct" + std::to_string(slot);
}

bool IsFree(const State& state, std::uint64_t slot) {
  for (const Card& card : state.cards) {
    const std::string path = Read<const char*>(card.values, Attribute::device_path, "");
    const auto domain = Read<std::uint16_t>(card.values, Attribute::pci_domain, 0);
    const auto bus = Read<std::uint8_t>(card.values, Attribute::pci_bus, 0);
    const bool usesBus = domain == DomainOfSlot(slot) && bus == BusOfSlot(slot);
    if (card.name == NameOfSlot(slot) || path == PathOfSlot(slot) || usesBus) return false;
  }
  return true;
}

void FillSlot(Card& card, std::uint64_t slot) {
  char serial[32];
  std::snprintf(serial, sizeof serial, "FA%08llu", static_cast<unsigned long long>(card.id));
  card.name = NameOfSlot(slot);
  At(card.values, Attribute::device_path) = PathOfSlot(slot);
  At(card.values, Attribute::serial_number) = std::string(serial);
  At(card.values, Attribute::pci_domain) = DomainOfSlot(slot);
  At(card.values, Attribute::pci_bus) = BusOfSlot(slot);
  At(card.values, Attribute::pci_device) = std::uint64_t{0};
  At(card.values, Attribute::pci_function) = std::uint64_t{0};
  At(card.values, Attribute::pci_slot_num) = slot % kBusesPerDomain + 1;
}

}  // namespace

const Card& AddCard(State& state, const Profile& profile) {
  std::uint64_t slot = 0;
  while (!IsFree(state, slot)) ++slot;
  if (DomainOfSlot(slot) > kLastDomain) throw std::runtime_error("no free slot for another card");
  Card card;
  card.id = state.nextId;
  card.values = profile.values;
  card.volumes = profile.volumes;
  FillSlot(card, slot);
  state.cards.push_back(std::move(card));
  ++state.nextId;
  return state.cards.back();
}

}  // namespace CardSim
