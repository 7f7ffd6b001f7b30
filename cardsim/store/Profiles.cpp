#include "cardsim/store/Profiles.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>

#include "cardsim/cardsim.h"
#include "cardsim/store/BuiltInProfiles.h"
#include "cardsim/store/ProfileDirectory.h"
#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

// The profile of a card with an unknown device ID.
constexpr const char* kDefaultProfile = "flash-365g";

Profile BuiltIn(const BuiltInProfile& row) {
  return ParseProfile(row.text, row.name);
}

const BuiltInProfile* FindBuiltIn(const std::string& name) {
  for (const BuiltInProfile& row : BuiltInProfiles()) {
    if (name == row.name) return &row;
  }
  return nullptr;
}

std::optional<Profile> BuiltInForDevice(std::uint16_t deviceId) {
  for (const BuiltInProfile& row : BuiltInProfiles()) {
    if (row.deviceId == deviceId) return BuiltIn(row);
  }
  return std::nullopt;
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
  for (const BuiltInProfile& row : BuiltInProfiles()) names.emplace_back(row.name);
  for (std::string& name : ProfileDirectory().Names()) {
    if (FindBuiltIn(name) == nullptr) names.push_back(std::move(name));
  }
  return names;
}

Profile ProfileForDevice(std::uint16_t deviceId) {
  if (auto profile = BuiltInForDevice(deviceId)) return std::move(*profile);
  const ProfileDirectory directory;
  for (const std::string& name : directory.Names()) {
    Profile profile = directory.Read(name);
    if (profile.deviceId == deviceId) return profile;
  }
  Profile profile = BuiltIn(*FindBuiltIn(kDefaultProfile));
  profile.deviceId = deviceId;
  At(profile.values, Attribute::pci_device_id) = std::uint64_t{deviceId};
  return profile;
}

Profile FindProfile(const std::string& kind) {
  if (const BuiltInProfile* row = FindBuiltIn(kind)) return BuiltIn(*row);
  const ProfileDirectory directory;
  const auto names = directory.Names();
  if (std::find(names.begin(), names.end(), kind) != names.end()) return directory.Read(kind);
  if (const auto id = ReadDeviceId(kind)) return ProfileForDevice(*id);
  throw UnknownName("unknown kind of card " + kind + DidYouMean(kind, ProfileNames()));
}

}  // namespace CardSim
