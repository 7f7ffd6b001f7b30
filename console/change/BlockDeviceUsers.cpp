#include "console/change/BlockDeviceUsers.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <fstream>
#include <system_error>
#include <utility>

#include "hostkit/Paths.h"

namespace Console {
namespace {

namespace fs = std::filesystem;
using Fields = std::vector<std::string>;

// The maximum depth of a stack of devices. Real stacks are shallower; the limit also ends a cycle.
constexpr int kMaxDepth = 8;

std::vector<Fields> ReadLines(const fs::path& path) {
  std::vector<Fields> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    Fields fields;
    boost::split(fields, line, boost::is_any_of(" \t"), boost::token_compress_on);
    lines.push_back(fields);
  }
  return lines;
}

std::string FirstLine(const fs::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

std::vector<fs::path> EntriesOf(const fs::path& directory) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator i(directory, error), end; !error && i != end; i.increment(error)) {
    entries.push_back(i->path());
  }
  return entries;
}

// In both tables, the kernel writes white space and backslashes as a backslash and three octal
// digits.
std::string Unescape(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string digits = text.substr(i + 1, 3);
    const bool escaped = text[i] == '\\' && digits.size() == 3 &&
                         digits.find_first_not_of("01234567") == std::string::npos;
    plain += escaped ? static_cast<char>(std::stoi(digits, nullptr, 8)) : text[i];
    if (escaped) i += 3;
  }
  return plain;
}

std::string DeviceName(const std::string& path) {
  return fs::path(Unescape(path)).filename().string();
}

// Whether the entry, a link in sysfs, resolves to a path below the PCI device.
bool BelongsTo(const fs::path& entry, const std::string& address) {
  std::error_code error;
  const fs::path real = fs::canonical(entry, error);
  return !error && std::find(real.begin(), real.end(), fs::path(address)) != real.end();
}

}  // namespace

struct BlockDeviceUsers::Tables {
  std::vector<Fields> m_Mounts;
  std::vector<Fields> m_Swaps;
};

BlockDeviceUsers::BlockDeviceUsers(fs::path sysfs, fs::path mounts, fs::path swaps)
    : m_Sysfs(std::move(sysfs)), m_Mounts(std::move(mounts)), m_Swaps(std::move(swaps)) {}

BlockDeviceUsers BlockDeviceUsers::ForThisSystem() {
  return BlockDeviceUsers(HostKit::SysfsRoot().string(), "/proc/self/mountinfo", "/proc/swaps");
}

std::vector<std::string> BlockDeviceUsers::UsersOf(const std::string& pciAddress) const {
  if (pciAddress.empty()) return {};
  const bool hasSegment = std::count(pciAddress.begin(), pciAddress.end(), ':') == 2;
  const std::string address = boost::to_lower_copy((hasSegment ? "" : "0000:") + pciAddress);
  const Tables tables = {ReadLines(m_Mounts), ReadLines(m_Swaps)};
  std::vector<std::string> users;
  for (const fs::path& entry : EntriesOf(m_Sysfs / "block")) {
    if (BelongsTo(entry, address)) AddUsers(entry, tables, 0, users);
  }
  std::sort(users.begin(), users.end());
  users.erase(std::unique(users.begin(), users.end()), users.end());
  return users;
}

// A file system on several devices has a separate device number in the mount table, so the mount
// source is also compared.
void BlockDeviceUsers::AddUsers(const fs::path& device, const Tables& tables, int depth,
                                std::vector<std::string>& users) const {
  constexpr std::size_t kDeviceNumber = 2;
  constexpr std::size_t kMountPoint = 4;
  const std::string name = device.filename().string();
  const std::string number = FirstLine(device / "dev");
  for (const Fields& line : tables.m_Mounts) {
    if (line.size() <= kMountPoint) continue;
    const auto dash = std::find(line.begin() + kMountPoint, line.end(), "-");
    const bool bySource =
        line.end() - dash > 2 && dash[2].rfind("/dev/", 0) == 0 && DeviceName(dash[2]) == name;
    if ((number.empty() || line[kDeviceNumber] != number) && !bySource) continue;
    users.push_back(fmt::format("{} is mounted at {}", name, Unescape(line[kMountPoint])));
  }
  for (const Fields& line : tables.m_Swaps) {
    if (DeviceName(line.front()) == name) users.push_back(name + " is used as swap");
  }
  if (depth == kMaxDepth) return;
  for (const fs::path& holder : EntriesOf(device / "holders")) {
    const std::string holderName = holder.filename().string();
    users.push_back(fmt::format("{} is held by {}", name, holderName));
    AddUsers(m_Sysfs / "block" / holderName, tables, depth + 1, users);
  }
  for (const fs::path& part : EntriesOf(device)) {
    if (fs::exists(part / "partition")) AddUsers(part, tables, depth + 1, users);
  }
}

}  // namespace Console
