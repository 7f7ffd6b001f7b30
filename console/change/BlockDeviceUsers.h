// Users of a card's block devices: mounts, swap and stacked devices.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Reads sysfs and the system's mount and swap tables on each call. A card without a block device,
// or a system without these files, has no users.
class BlockDeviceUsers {
 public:
  // `sysfs` is the root of a sysfs; `mounts` and `swaps` are files in the format of
  // /proc/self/mountinfo and /proc/swaps.
  BlockDeviceUsers(std::filesystem::path sysfs, std::filesystem::path mounts,
                   std::filesystem::path swaps);

  // Reads the tables of the running system, and the sysfs that the PCI lookup uses.
  static BlockDeviceUsers ForThisSystem();

  // Returns the users of the PCI device's block devices, of their partitions, and of the devices
  // built on them, such as "fioa1 is mounted at /data"; sorted, without duplicates. `pciAddress` is
  // like "0000:3b:00.0"; the segment may be omitted if it is 0.
  std::vector<std::string> UsersOf(const std::string& pciAddress) const;

 private:
  struct Tables;
  void AddUsers(const std::filesystem::path& device, const Tables& tables, int depth,
                std::vector<std::string>& users) const;

  const std::filesystem::path m_Sysfs;
  const std::filesystem::path m_Mounts;
  const std::filesystem::path m_Swaps;
};

}  // namespace Console
