#include <map>

#include "tests/cardsim/Fixture.h"

namespace {

class Sysfs : public SimulatedCards {
 protected:
  std::filesystem::path Tree() const { return m_Directory / "sys"; }
  std::filesystem::path Devices() const { return Tree() / "bus/pci/devices"; }

  // Returns the address, vendor and device of each PCI device.
  std::string Listing() const {
    std::map<std::string, std::string> lines;
    for (const auto& entry : std::filesystem::directory_iterator(Devices())) {
      lines[entry.path().filename()] =
          Slurp(entry.path() / "vendor") + Slurp(entry.path() / "device");
    }
    std::string text;
    for (const auto& [address, line] : lines) text += address + "\n" + line;
    return text;
  }
};

TEST_F(Sysfs, HasADeviceForEachCard) {
  File().AddCard(0x1003);
  File().AddCard(0x3001);
  File().Set("card1", "pci_domain", "1");
  File().Set("card1", "pci_device", "31");
  File().Set("card1", "pci_function", "7");
  File().WriteSysfs(Tree());
  EXPECT_EQ(
      "0000:03:00.0\n0x1aed\n0x1003\n"
      "0001:04:1f.7\n0x1aed\n0x3001\n",
      Listing());
}

// A PCI domain has 253 free buses.
TEST_F(Sysfs, ContinuesInAnotherDomain) {
  File().AddCards("0x1003", 254);
  File().WriteSysfs(Tree());
  EXPECT_TRUE(std::filesystem::exists(Devices() / "0000:ff:00.0"));
  EXPECT_TRUE(std::filesystem::exists(Devices() / "0001:03:00.0"));
}

TEST_F(Sysfs, ReplacesItsOwnEarlierTree) {
  File().AddCard(0x1003);
  File().WriteSysfs(Tree());
  File().RemoveCard("card0");
  File().WriteSysfs(Tree());
  EXPECT_EQ("", Listing());
}

TEST_F(Sysfs, DoesNotReplaceATreeOfAnotherProgram) {
  std::filesystem::create_directories(Devices() / "0000:00:00.0");
  EXPECT_EQ(Devices().string() + ": not created by cardsim; will not be replaced",
            ErrorOf([this] { File().WriteSysfs(Tree()); }));
  EXPECT_TRUE(std::filesystem::exists(Devices() / "0000:00:00.0"));
}

TEST_F(Sysfs, RejectsTwoCardsAtOneAddress) {
  File().AddCard(0x1003);
  File().AddCard(0x1003);
  File().Set("card1", "pci_bus", "3");
  EXPECT_EQ("card1: PCI address 0000:03:00.0 is already used by another card",
            ErrorOf([this] { File().WriteSysfs(Tree()); }));
}

TEST_F(Sysfs, ReportsATreePathThatIsAFile) {
  std::ofstream(Tree()) << "a file";
  EXPECT_EQ(0U, ErrorOf([this] { File().WriteSysfs(Tree()); }).find(Tree().string()));
}

}  // namespace
