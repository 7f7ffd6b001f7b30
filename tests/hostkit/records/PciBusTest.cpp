// The lookup of devices on the PCI bus, in test trees and on this machine.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/Toolkit.h"
#include "tests/support/Temporary.h"

namespace {

namespace fs = std::filesystem;
using Ids = std::vector<std::string>;

// Returns "segment/bus/device/function" in decimal, or "none" if no device was found and the
// outputs are unchanged.
std::string Find(const Ids& ids, unsigned long count) {
  int segment = -7, bus = -7, device = -7, function = -7;
  const bool found = MBXX::CConfigManager::GetLocation(ids, count, segment, bus, device, function);
  std::ostringstream text;
  text << segment << '/' << bus << '/' << device << '/' << function;
  if (!found) return text.str() == "-7/-7/-7/-7" ? "none" : "touched " + text.str();
  return text.str();
}

class PciBus : public testing::Test {
 protected:
  PciBus() { fs::create_directories(Devices()); }

  fs::path Devices() const { return m_Directory.Path() / "bus/pci/devices"; }

  void Add(const std::string& name, const std::string& vendor, const std::string& device) const {
    fs::create_directory(Devices() / name);
    WriteText(Devices() / name / "vendor", vendor);
    WriteText(Devices() / name / "device", device);
  }

  void AddCard(const std::string& name) const { Add(name, "0x1aed\n", "0x1005\n"); }

 private:
  TemporaryDirectory m_Directory;
  ScopedVariable m_Sysfs{"CORVANE_SYSFS", m_Directory.Path().string()};
};

TEST_F(PciBus, ReturnsTheAddressOfADevice) {
  AddCard("0001:3b:1f.7");
  EXPECT_EQ(Find({"1AED1005"}, 1), "1/59/31/7");
}

TEST_F(PciBus, FindsNothingOnAnEmptyOrMissingBus) {
  EXPECT_EQ(Find({"1AED1005"}, 1), "none");
  fs::remove_all(Devices());
  EXPECT_EQ(Find({"1AED1005"}, 1), "none");
}

TEST_F(PciBus, CountsMatchesInAddressOrder) {
  for (const char* name : {"0001:02:00.0", "0000:80:00.0", "0000:0a:1f.0", "0000:0a:02.1",
                           "0000:0a:02.0", "0000:09:1f.7"}) {
    AddCard(name);
  }
  const char* const order[] = {"0/9/31/7",  "0/10/2/0",  "0/10/2/1",
                               "0/10/31/0", "0/128/0/0", "1/2/0/0"};
  for (unsigned long count = 1; count <= 6; ++count) {
    EXPECT_EQ(Find({"1AED1005"}, count), order[count - 1]);
  }
  EXPECT_EQ(Find({"1AED1005"}, 0), "none");
  EXPECT_EQ(Find({"1AED1005"}, 7), "none");
  EXPECT_EQ(Find({"1AED1005"}, ~0UL), "none");
}

TEST_F(PciBus, AcceptsSegmentsOfMoreThanFourDigits) {
  AddCard("10000:e1:00.0");
  AddCard("2000:01:00.0");
  EXPECT_EQ(Find({"1AED1005"}, 1), "8192/1/0/0");
  EXPECT_EQ(Find({"1AED1005"}, 2), "65536/225/0/0");
}

TEST_F(PciBus, ComparesIdentitiesAsNumbers) {
  Add("0000:01:00.0", "0x1AED\n", "0x300a");
  EXPECT_EQ(Find({"1aed300A"}, 1), "0/1/0/0");
  EXPECT_EQ(Find({"8086300A"}, 1), "none");
  EXPECT_EQ(Find({"1AED300B"}, 1), "none");
}

TEST_F(PciBus, CountsTheMatchesOfAllIdentitiesTogether) {
  Add("0000:03:00.0", "0x1aed", "0x3001");
  Add("0000:02:00.0", "0x8086", "0x3001");
  Add("0000:01:00.0", "0x1aed", "0x3002");
  const Ids family = {"1AED3001", "1AED3002"};
  EXPECT_EQ(Find(family, 1), "0/1/0/0");
  EXPECT_EQ(Find(family, 2), "0/3/0/0");
  EXPECT_EQ(Find(family, 3), "none");
  EXPECT_EQ(Find({"1AED3001"}, 1), "0/3/0/0");
  EXPECT_EQ(Find({}, 1), "none");
}

TEST_F(PciBus, IgnoresInvalidIdentities) {
  AddCard("0000:01:00.0");
  EXPECT_EQ(Find({"", "1AED", "0x1AED1005", "1AED1005 ", "01AED1005", "vendor!!"}, 1), "none");
  EXPECT_EQ(Find({"", "1AED1005"}, 1), "0/1/0/0");
}

TEST_F(PciBus, FollowsLinksAsInARealTree) {
  const fs::path real = Devices() / "../../../devices/pci0000:3a/0000:3a:00.0/0000:3b:00.0";
  fs::create_directories(real);
  WriteText(real / "vendor", "0x1aed\n");
  WriteText(real / "device", "0x1005\n");
  fs::create_directory_symlink("../../../devices/pci0000:3a/0000:3a:00.0/0000:3b:00.0",
                               Devices() / "0000:3b:00.0");
  EXPECT_EQ(Find({"1AED1005"}, 1), "0/59/0/0");
}

TEST_F(PciBus, SkipsNamesThatAreNotAddresses) {
  for (const char* name :
       {"card", "3b:00.0", "000:3b:00.0", "0000:3b:00", "0000:3b:00.00", "0000:3b:00.8",
        "0000:3b:20.0", "0000:3g:00.0", "0000-3b-00-0", "0000:3b:00.0~", "-001:3b:00.0",
        "fffffffff:3b:00.0", "80000000:3b:00.0", "0x00:3b:00.0", ":3b:00.0", "0000:+b:00.0"}) {
    AddCard(name);
  }
  EXPECT_EQ(Find({"1AED1005"}, 1), "none");
}

TEST_F(PciBus, SkipsDevicesThatCannotBeRead) {
  WriteText(Devices() / "0000:01:00.0", "a file");
  fs::create_symlink("nowhere", Devices() / "0000:02:00.0");
  fs::create_symlink("0000:03:00.0", Devices() / "0000:03:00.0");
  fs::create_directory(Devices() / "0000:04:00.0");
  fs::create_directories(Devices() / "0000:05:00.0/vendor");
  WriteText(Devices() / "0000:05:00.0/device", "0x1005");
  Add("0000:06:00.0", "0x1aed", "0x1005");
  fs::remove(Devices() / "0000:06:00.0/device");
  Add("0000:07:00.0", "0x1aed", "0x1005");
  fs::remove(Devices() / "0000:07:00.0/vendor");
  ASSERT_EQ(mkfifo((Devices() / "0000:07:00.0/vendor").c_str(), 0600), 0);
  AddCard("0000:08:00.0");
  EXPECT_EQ(Find({"1AED1005"}, 1), "0/8/0/0");
  EXPECT_EQ(Find({"1AED1005"}, 2), "none");
}

TEST_F(PciBus, SkipsIdentityFilesWithInvalidContent) {
  const char* const bad[] = {"", "\n", "0x", "1aed", "0x11aed", "0x1aeg", "-0x1aed", "0x 1aed"};
  int bus = 0;
  for (const char* vendor : bad) Add("0000:1" + std::to_string(bus++) + ":00.0", vendor, "0x1005");
  Add("0000:20:00.0", std::string(100000, '0'), "0x1005");
  Add("0000:21:00.0", std::string("0x1aed\0", 7), "0x1005");
  EXPECT_EQ(Find({"1AED1005"}, 1), "none");
}

std::string FirstWord(const fs::path& file) {
  std::string word;
  std::ifstream(file) >> word;
  return word;
}

// Several devices may have the same identity, so the test checks only the identity of the device
// that is found.
TEST(RealPciBus, EveryDeviceIsFoundByItsIdentity) {
  const ScopedVariable sysfs("CORVANE_SYSFS", {});
  EXPECT_EQ(Find({"FFFFFFFF"}, 1), "none");
  const fs::path directory = "/sys/bus/pci/devices";
  if (!fs::exists(directory)) GTEST_SKIP() << "this machine has no PCI bus";
  for (const auto& entry : fs::directory_iterator(directory)) {
    const std::string vendor = FirstWord(entry.path() / "vendor");
    const std::string device = FirstWord(entry.path() / "device");
    int found[4];
    ASSERT_TRUE(MBXX::CConfigManager::GetLocation({vendor.substr(2) + device.substr(2)}, 1,
                                                  found[0], found[1], found[2], found[3]));
    char name[32];
    std::snprintf(name, sizeof name, "%04x:%02x:%02x.%x", found[0], found[1], found[2], found[3]);
    EXPECT_EQ(FirstWord(directory / name / "vendor"), vendor) << name;
    EXPECT_EQ(FirstWord(directory / name / "device"), device) << name;
  }
}

}  // namespace
