#include "cardsim/store/Profiles.h"

#include <charconv>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "cardsim/cardsim.h"
#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

struct Profile {
  std::uint16_t deviceId;
  const char* name;
  const char* board;
  const char* product;
  std::uint64_t gigabytes;  // of 10^9 bytes
  std::uint32_t minSector;
  std::uint32_t maxSector;
  std::uint32_t sector;
  std::uint32_t endurance;   // of 2^40 bytes
  float remaining;           // percent of the rated writes
  float reserve;             // percent
  float temperature;         // degrees Celsius
  float power;               // watts at the slot
  std::uint32_t external;    // power requirement: 0 none, 1 optional, 2 required
  std::uint64_t originTs;    // seconds since the epoch
  std::uint64_t firstUseTs;  // seconds since the epoch
  bool overformat;
};

// The first seven are of the older driver family, the last two of the newer one.
constexpr Profile kProfiles[] = {
    // As the members of `Profile`, sizes and wear first, then power, age and over-formatting.
    {0x1000, "flash-365g", "Flash Adapter 365GB", "Flash Adapter G1", 365, 512, 4096, 512, 4000,
     61.5F, 97.2F, 48.2F, 11.4F, 0, 1331035200, 1334145600, true},
    {0x1003, "flash-785g", "Flash Adapter 785GB", "Flash Adapter G2", 785, 512, 4096, 512, 8200,
     74.0F, 98.9F, 51.7F, 14.8F, 1, 1352937600, 1355270400, true},
    {0x1005, "flash-825g", "Flash Adapter 825GB", "Flash Adapter G2", 825, 512, 4096, 4096, 9000,
     88.3F, 100.0F, 46.8F, 13.9F, 0, 1378857600, 1380672000, true},
    {0x1006, "flash-1300g", "Flash Adapter 1.3TB", "Flash Adapter G3", 1300, 512, 8192, 512, 16000,
     92.4F, 100.0F, 49.4F, 16.3F, 1, 1397692800, 1400198400, true},
    {0x1007, "flash-1650g", "Flash Adapter 1.65TB", "Flash Adapter G3", 1650, 512, 8192, 4096,
     20300, 90.1F, 99.6F, 53.1F, 17.5F, 1, 1403049600, 1405987200, false},
    {0x1008, "flash-3200g", "Flash Adapter 3.2TB", "Flash Adapter G3", 3200, 512, 8192, 4096, 37000,
     95.7F, 100.0F, 55.6F, 21.2F, 2, 1417651200, 1421280000, false},
    {0x2001, "flash-2400g", "Flash Adapter 2.4TB", "Flash Duo Adapter", 2400, 512, 4096, 512, 28400,
     83.6F, 99.1F, 57.9F, 23.7F, 2, 1363046400, 1366070400, true},
    {0x3001, "flash-2600g", "Flash Adapter 2.6TB", "Flash Adapter G4", 2600, 512, 4096, 4096, 32000,
     97.8F, 100.0F, 44.5F, 18.6F, 1, 1443571200, 1446508800, false},
    {0x3002, "flash-5200g", "Flash Adapter 5.2TB", "Flash Adapter G4", 5200, 512, 4096, 4096, 64000,
     99.2F, 100.0F, 45.9F, 22.4F, 1, 1452556800, 1456790400, false},
};

constexpr std::uint16_t kFirstIdOfNewerFamily = 0x3000;
// Buses 0 to 2 belong to the machine itself.
constexpr std::uint64_t kFirstBus = 3;
constexpr std::uint64_t kLastBus = 255;

const Profile& ProfileOf(std::uint16_t deviceId) {
  for (const Profile& profile : kProfiles) {
    if (profile.deviceId == deviceId) return profile;
  }
  return kProfiles[0];
}

class Filler {
 public:
  explicit Filler(Values& values) : m_Values(values) {}
  void Text(Attribute attribute, std::string text) { At(m_Values, attribute) = std::move(text); }
  void Flag(Attribute attribute, bool flag) { At(m_Values, attribute) = flag; }
  void Whole(Attribute attribute, std::uint64_t number) { At(m_Values, attribute) = number; }
  void Signed(Attribute attribute, std::int64_t number) { At(m_Values, attribute) = number; }
  void Float(Attribute attribute, float number) { At(m_Values, attribute) = number; }

 private:
  Values& m_Values;
};

void FillIdentity(Filler& fill, const Profile& profile, std::uint16_t deviceId) {
  const bool newer = deviceId >= kFirstIdOfNewerFamily;
  fill.Text(Attribute::board_name, profile.board);
  fill.Text(Attribute::product_name, profile.product);
  fill.Text(Attribute::driver_version, newer ? "4.1.6 build 2203" : "3.4.9 build 1187");
  fill.Text(Attribute::fw_current_version, newer ? "v9.2.4" : "v6.3.11");
  fill.Signed(Attribute::fw_current_major_ver, newer ? 9 : 6);
  fill.Signed(Attribute::fw_current_minor_ver, newer ? 2 : 3);
  fill.Signed(Attribute::fw_current_micro_ver, newer ? 4 : 11);
  fill.Signed(Attribute::fw_current_revision, newer ? 20418 : 10957);
  fill.Whole(Attribute::pci_device_id, deviceId);
  fill.Whole(Attribute::origin_ts, profile.originTs);
  fill.Whole(Attribute::first_use_ts, profile.firstUseTs);
}

void FillCapacity(Filler& fill, const Profile& profile) {
  // Real sizes are whole sectors of the largest size.
  const std::uint64_t bytes = profile.gigabytes * 1000000000 / 8192 * 8192;
  fill.Whole(Attribute::factory_size_bytes, bytes);
  fill.Whole(Attribute::size_bytes, bytes);
  fill.Whole(Attribute::sector_size_bytes, profile.sector);
  fill.Flag(Attribute::iom_format_disallow_overformat, !profile.overformat);
  fill.Whole(Attribute::iom_format_min_sector_size_bytes, profile.minSector);
  fill.Whole(Attribute::iom_format_max_sector_size_bytes, profile.maxSector);
  fill.Whole(Attribute::iom_format_sector_size_multiplier, 512);
  fill.Flag(Attribute::iom_format_power_of_two_sector_size, true);
  fill.Whole(Attribute::iom_format_size_bytes, bytes);
  fill.Whole(Attribute::iom_format_max_size_bytes, bytes);
  fill.Whole(Attribute::iom_format_size_pct, 100);
  fill.Flag(Attribute::iom_format_size_mode, profile.overformat);
  if (profile.overformat) {
    fill.Whole(Attribute::overformat_size_bytes, bytes / 8192 * 11 / 10 * 8192);
  }
}

void FillWear(Filler& fill, const Profile& profile) {
  const auto rated = static_cast<double>(std::uint64_t{profile.endurance} << 40);
  const double used = (100.0 - static_cast<double>(profile.remaining)) / 100.0;
  const auto written = static_cast<std::uint64_t>(rated * used);
  fill.Whole(Attribute::rated_endurance_tbytes, profile.endurance);
  fill.Float(Attribute::rated_writes_remaining_percent, profile.remaining);
  fill.Whole(Attribute::total_physical_bytes_written, written);
  fill.Whole(Attribute::total_physical_bytes_read, written * 3 / 2);
  fill.Float(Attribute::reserve_space_pct, profile.reserve);
  fill.Float(Attribute::reserve_warning_threshold_percent, 10.0F);
  fill.Whole(Attribute::reserve_status, 0);
}

void FillHealth(Filler& fill, const Profile& profile) {
  fill.Float(Attribute::temp_internal_deg_c, profile.temperature);
  fill.Float(Attribute::temp_internal_warn_deg_c, 78.0F);
  fill.Float(Attribute::temp_setpoint_high_deg_c, 85.0F);
  fill.Float(Attribute::pcie_slot_power_watts, profile.power);
  fill.Float(Attribute::power_limit_watts, 24.75F);
  fill.Whole(Attribute::external_power_requirement, profile.external);
  fill.Flag(Attribute::external_power_connected, profile.external == 2);
  fill.Whole(Attribute::iom_state, VSL_STATE_ATTACHED);
  fill.Whole(Attribute::minimal_mode_reason, 0);
  fill.Whole(Attribute::write_throttling_state, 0);
  fill.Whole(Attribute::write_throttling_reason, 0);
  fill.Whole(Attribute::current_errors, 0);
  fill.Whole(Attribute::current_warnings, 0);
  fill.Whole(Attribute::current_info, 0);
  fill.Flag(Attribute::beacon_state, false);
  fill.Whole(Attribute::attach_ms, 8000);
  fill.Whole(Attribute::detach_ms, 4000);
  fill.Whole(Attribute::format_ms, 20000);
  fill.Flag(Attribute::in_use, false);
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
    const auto bus = Read<std::uint8_t>(card.values, Attribute::pci_bus, 0);
    if (card.name == NameOfSlot(slot) || path == PathOfSlot(slot) || bus == kFirstBus + slot) {
      return false;
    }
  }
  return true;
}

void FillSlot(Card& card, std::uint64_t slot) {
  Filler fill(card.values);
  card.name = NameOfSlot(slot);
  fill.Text(Attribute::device_path, PathOfSlot(slot));
  fill.Whole(Attribute::pci_domain, 0);
  fill.Whole(Attribute::pci_bus, kFirstBus + slot);
  fill.Whole(Attribute::pci_device, 0);
  fill.Whole(Attribute::pci_function, 0);
  fill.Whole(Attribute::pci_slot_num, slot + 1);
  char serial[32];
  std::snprintf(serial, sizeof serial, "FA%08llu", static_cast<unsigned long long>(card.id));
  fill.Text(Attribute::serial_number, serial);
}

std::optional<std::uint16_t> ReadDeviceId(const std::string& text) {
  const bool prefixed = text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0;
  const char* begin = text.data() + (prefixed ? 2 : 0);
  const char* end = text.data() + text.size();
  std::uint16_t id = 0;
  const auto parsed = std::from_chars(begin, end, id, 16);
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  return id;
}

}  // namespace

std::vector<std::string> ProfileNames() {
  std::vector<std::string> names;
  for (const Profile& profile : kProfiles) names.emplace_back(profile.name);
  return names;
}

std::uint16_t DeviceIdOfKind(const std::string& kind) {
  for (const Profile& profile : kProfiles) {
    if (kind == profile.name) return profile.deviceId;
  }
  if (const auto id = ReadDeviceId(kind)) return *id;
  throw NoSuchThing("no kind of card " + kind + DidYouMean(kind, ProfileNames()));
}

const Card& AddCard(State& state, std::uint16_t deviceId) {
  std::uint64_t slot = 0;
  while (!IsFree(state, slot)) ++slot;
  if (kFirstBus + slot > kLastBus) throw std::runtime_error("no free slot for another card");
  const Profile& profile = ProfileOf(deviceId);
  Card card;
  card.id = state.nextId++;
  Filler fill(card.values);
  FillIdentity(fill, profile, deviceId);
  FillCapacity(fill, profile);
  FillWear(fill, profile);
  FillHealth(fill, profile);
  FillSlot(card, slot);
  card.volumes = {Volume()};
  state.cards.push_back(std::move(card));
  return state.cards.back();
}

}  // namespace CardSim
