// The users of a card's block devices, in trees created by the test.
#include <gtest/gtest.h>

#include <fstream>

#include "console/change/BlockDeviceUsers.h"
#include "tests/support/Temporary.h"

namespace {

namespace fs = std::filesystem;
using Users = std::vector<std::string>;

constexpr const char* kCard = "0000:3b:00.0";

// A machine with one card, whose block device is fioa with the partition fioa1.
class BlockDeviceUsers : public testing::Test {
 protected:
  BlockDeviceUsers() {
    fs::create_directories(m_Root / "block");
    AddDisk(std::string("devices/pci0000:3a/0000:3a:00.0/") + kCard, "fioa", "252:0");
    AddPartition("fioa", "fioa1", "252:1");
    Write("mounts", "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n");
    Write("swaps", "Filename Type Size Used Priority\n/dev/sda2 partition 1024 0 -2\n");
  }

  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(m_Root / name) << text;
  }

  void Mount(const std::string& line) const {
    std::ofstream(m_Root / "mounts", std::ios::app) << line << "\n";
  }

  // Adds a disk as in sysfs: a directory below the device, and a link in the list of all block
  // devices.
  void AddDisk(const std::string& device, const std::string& name,
               const std::string& number) const {
    const fs::path directory = m_Root / device / "block" / name;
    fs::create_directories(directory / "holders");
    std::ofstream(directory / "dev") << number << "\n";
    fs::create_directory_symlink(directory, m_Root / "block" / name);
  }

  void AddPartition(const std::string& disk, const std::string& name,
                    const std::string& number) const {
    const fs::path directory = m_Root / "block" / disk / name;
    fs::create_directories(directory / "holders");
    std::ofstream(directory / "dev") << number << "\n";
    std::ofstream(directory / "partition") << "1\n";
  }

  void AddHolder(const std::string& device, const std::string& holder) const {
    fs::create_directory_symlink(m_Root / "block" / holder,
                                 m_Root / "block" / device / "holders" / holder);
  }

  Users UsersOf(const std::string& address) const {
    return Console::BlockDeviceUsers(m_Root, m_Root / "mounts", m_Root / "swaps").UsersOf(address);
  }

 private:
  TemporaryDirectory m_Directory;
  const fs::path m_Root = m_Directory.Path();
};

TEST_F(BlockDeviceUsers, ReportsNoneForAnUnusedCard) {
  EXPECT_EQ(UsersOf(kCard), Users{});
}

TEST_F(BlockDeviceUsers, ReportsAMountedDiskWithItsMountPoint) {
  Mount("40 22 252:0 / /data rw - ext4 /dev/fioa rw");
  EXPECT_EQ(UsersOf(kCard), Users{"fioa is mounted at /data"});
}

TEST_F(BlockDeviceUsers, ReportsAMountedPartition) {
  Mount("40 22 252:1 / /data rw shared:7 master:2 - ext4 /dev/fioa1 rw");
  EXPECT_EQ(UsersOf(kCard), Users{"fioa1 is mounted at /data"});
}

TEST_F(BlockDeviceUsers, DecodesAnEscapedSpaceInAMountPoint) {
  Mount("40 22 252:1 / /my\\040data rw - ext4 /dev/fioa1 rw");
  EXPECT_EQ(UsersOf(kCard), Users{"fioa1 is mounted at /my data"});
}

TEST_F(BlockDeviceUsers, FindsAFileSystemWithAnAnonymousDeviceNumberByItsSource) {
  Mount("40 22 0:45 / /pool rw - btrfs /dev/fioa1 rw,space_cache");
  EXPECT_EQ(UsersOf(kCard), Users{"fioa1 is mounted at /pool"});
}

TEST_F(BlockDeviceUsers, IgnoresASourceThatIsNotADevice) {
  Mount("40 22 0:46 / /net rw - nfs server:/fioa1 rw");
  EXPECT_EQ(UsersOf(kCard), Users{});
}

TEST_F(BlockDeviceUsers, ReportsSwap) {
  Write("swaps", "Filename Type Size Used Priority\n/dev/fioa1   partition\t1024\t0\t-2\n");
  EXPECT_EQ(UsersOf(kCard), Users{"fioa1 is used as swap"});
}

TEST_F(BlockDeviceUsers, ReportsAHolderWithItsUsers) {
  AddDisk("devices/virtual", "dm-0", "253:0");
  AddHolder("fioa/fioa1", "dm-0");
  Mount("40 22 253:0 / /srv rw - xfs /dev/mapper/vg-srv rw");
  EXPECT_EQ(UsersOf(kCard), (Users{"dm-0 is mounted at /srv", "fioa1 is held by dm-0"}));
}

TEST_F(BlockDeviceUsers, StopsAtAHolderThatHoldsItself) {
  AddDisk("devices/virtual", "dm-0", "253:0");
  AddHolder("fioa", "dm-0");
  AddHolder("dm-0", "dm-0");
  EXPECT_EQ(UsersOf(kCard), (Users{"dm-0 is held by dm-0", "fioa is held by dm-0"}));
}

TEST_F(BlockDeviceUsers, IgnoresTheDiskOfAnotherCard) {
  AddDisk("devices/pci0000:5d/0000:5e:00.0", "fiob", "252:16");
  Mount("40 22 252:16 / /data rw - ext4 /dev/fiob rw");
  EXPECT_EQ(UsersOf(kCard), Users{});
  EXPECT_EQ(UsersOf("0000:5e:00.0"), Users{"fiob is mounted at /data"});
}

TEST_F(BlockDeviceUsers, AcceptsAnAddressInUppercaseOrWithoutSegment) {
  Mount("40 22 252:0 / /data rw - ext4 /dev/fioa rw");
  EXPECT_EQ(UsersOf("3b:00.0"), Users{"fioa is mounted at /data"});
  EXPECT_EQ(UsersOf("0000:3B:00.0"), Users{"fioa is mounted at /data"});
}

TEST_F(BlockDeviceUsers, ReportsNoneForACardWithoutAnAddress) {
  Mount("40 22 252:0 / /data rw - ext4 /dev/fioa rw");
  EXPECT_EQ(UsersOf(""), Users{});
}

TEST_F(BlockDeviceUsers, IgnoresMalformedLinesAndMissingTables) {
  Write("mounts", "\n40\n252:0 252:0 252:0 252:0\n");
  Write("swaps", "\n\n");
  EXPECT_EQ(UsersOf(kCard), Users{});
  const Console::BlockDeviceUsers nowhere("/none", "/none", "/none");
  EXPECT_EQ(nowhere.UsersOf(kCard), Users{});
}

}  // namespace
