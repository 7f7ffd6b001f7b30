// Finds devices on the PCI bus. sysfs has a directory per device, named after its address, with its
// identity in small text files.
#include "hostkit/PciBus.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <optional>
#include <sstream>
#include <string_view>
#include <tuple>

#include "host/Toolkit.h"
#include "hostkit/Paths.h"

namespace MBXX {

namespace {

// Segment, bus, device, function; compares in that order.
using Address = std::tuple<int, int, int, int>;

// Parses all of `text` as a hexadecimal number up to `largest`.
std::optional<std::uint32_t> ParseHex(std::string_view text, std::uint32_t largest) {
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number, 16);
  if (result.ec != std::errc() || result.ptr != end || number > largest) return std::nullopt;
  return number;
}

// Parses an address such as "0000:3b:00.0". The segment has four digits, or more on some machines.
std::optional<Address> ParseAddress(std::string_view name) {
  const std::size_t tail = sizeof ":bb:dd.f" - 1;
  if (name.size() < tail + 4) return std::nullopt;
  const std::string_view rest = name.substr(name.size() - tail);
  if (rest[0] != ':' || rest[3] != ':' || rest[6] != '.') return std::nullopt;
  const auto segment = ParseHex(name.substr(0, name.size() - tail), INT_MAX);
  const auto bus = ParseHex(rest.substr(1, 2), 0xFF);
  const auto device = ParseHex(rest.substr(4, 2), 0x1F);
  const auto function = ParseHex(rest.substr(7, 1), 7);
  if (!segment || !bus || !device || !function) return std::nullopt;
  return Address(*segment, *bus, *device, *function);
}

// Reads a file such as "vendor", which contains a line such as "0x1aed".
std::optional<std::uint32_t> ReadIdentity(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
  std::ifstream stream(file);
  std::string text;
  if (!(stream >> std::setw(16) >> text) || text.rfind("0x", 0) != 0) return std::nullopt;
  return ParseHex(std::string_view(text).substr(2), 0xFFFF);
}

std::vector<std::uint32_t> ParseIdentities(const std::vector<std::string>& texts) {
  std::vector<std::uint32_t> identities;
  for (const std::string& text : texts) {
    const auto identity = ParseHex(text, UINT32_MAX);
    if (identity && text.size() == 8) identities.push_back(*identity);
  }
  return identities;
}

bool IsOneOf(const std::filesystem::path& device, const std::vector<std::uint32_t>& identities) {
  const auto vendor = ReadIdentity(device / "vendor");
  const auto model = ReadIdentity(device / "device");
  return vendor && model &&
         std::find(identities.begin(), identities.end(), *vendor << 16 | *model) !=
             identities.end();
}

std::vector<Address> FindDevices(const std::vector<std::uint32_t>& identities) {
  const std::filesystem::path directory =
      (HostKit::SysfsRoot() / "bus" / "pci" / "devices").native();
  std::vector<Address> found;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    const auto address = ParseAddress(entry->path().filename().native());
    if (address && IsOneOf(entry->path(), identities)) found.push_back(*address);
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

bool CConfigManager::GetLocation(const std::vector<std::string>& ids, unsigned long count,
                                 int& segment, int& bus, int& device, int& function) {
  const std::vector<Address> found = FindDevices(ParseIdentities(ids));
  if (count == 0 || count > found.size()) return false;
  std::tie(segment, bus, device, function) = found[count - 1];
  return true;
}

}  // namespace MBXX

namespace HostKit {

std::vector<std::string> FindPciDevices(const std::vector<std::string>& identities) {
  std::vector<std::string> addresses;
  for (const auto& [segment, bus, device, function] :
       MBXX::FindDevices(MBXX::ParseIdentities(identities))) {
    std::ostringstream text;
    text << std::hex << std::setfill('0') << std::setw(4) << segment << ':' << std::setw(2) << bus
         << ':' << std::setw(2) << device << '.' << function;
    addresses.push_back(text.str());
  }
  return addresses;
}

}  // namespace HostKit
