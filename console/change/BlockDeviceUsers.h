// Users of the block devices of a card, as far as the system reports them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Console {

// Reads sysfs and the system's mount and swap tables on each call. A card without a block device,
// or a system without these files, has no users.
class BlockDeviceUsers {
 public:
  // The root of a sysfs, and two files in the form of /proc/self/mountinfo and /proc/swaps.
  BlockDeviceUsers(std::filesystem::path sysfs, std::filesystem::path mounts,
                   std::filesystem::path swaps);

  // The running system; sysfs is the one that the PCI lookup uses.
  static BlockDeviceUsers OfThisSystem();

  // What uses a block device of the PCI device, one of its partitions, or a device built on them,
  // such as "fioa1 is mounted at /data". `pciAddress` is "0000:3b:00.0"; without a segment it means
  // segment 0. Sorted, each one once.
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
