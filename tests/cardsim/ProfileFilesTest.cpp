// Profiles that users add as files.
#include <sys/stat.h>

#include "tests/cardsim/ProgramFixture.h"

namespace {

namespace fs = std::filesystem;

class ProfileFiles : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    fs::create_directory(Directory());
    setenv("CARDSIM_PROFILES", Directory().c_str(), 1);
  }

  void TearDown() override {
    unsetenv("CARDSIM_PROFILES");
    Program::TearDown();
  }

  fs::path Directory() const { return m_Directory / "profiles"; }
  fs::path PathOf(const std::string& name) const { return Directory() / (name + ".json"); }
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(PathOf(name)) << text;
  }
};

constexpr const char* kLarge = R"({
  "pci_device_id": "0x3003",
  "board_name": "Flash Adapter 6.4TB",
  "iom_state": 2,
  "temp_internal_deg_c": 46.3,
  "volumes": [{"state": 0, "settable": false}]
})";

TEST_F(ProfileFiles, AreAddedByName) {
  Write("flash-6400g", kLarge);
  EXPECT_EQ("added card0: Flash Adapter 6.4TB, /dev/fct0\n[0]", Run("add flash-6400g"));
  EXPECT_EQ("12291", File().Get("card0", "pci_device_id"));
  EXPECT_EQ("46.3", File().Get("card0", "temp_internal_deg_c"));
  EXPECT_EQ(R"([{"state":0,"settable":false}])", File().Get("card0", "volumes"));
  EXPECT_EQ("\"FA00000001\"", File().Get("card0", "serial_number"));
}

TEST_F(ProfileFiles, LeaveOtherAttributesAbsent) {
  Write("flash-6400g", kLarge);
  File().AddCard(std::string("flash-6400g"));
  EXPECT_EQ("absent", File().Get("card0", "beacon_state"));
}

TEST_F(ProfileFiles, AreAddedByDeviceId) {
  Write("a-first-one", R"({"pci_device_id": "0x3004"})");
  Write("flash-6400g", kLarge);
  EXPECT_EQ("added card0: Flash Adapter 6.4TB, /dev/fct0\n[0]", Run("add 3003"));
  EXPECT_EQ("card1", File().AddCard(std::uint16_t{0x3003}));
  EXPECT_EQ("\"Flash Adapter 6.4TB\"", File().Get("card1", "board_name"));
}

TEST_F(ProfileFiles, MayBeNamedLikeADeviceId) {
  Write("cafe", kLarge);
  EXPECT_EQ("added card0: Flash Adapter 6.4TB, /dev/fct0\n[0]", Run("add cafe"));
}

TEST_F(ProfileFiles, HaveOneVolumeByDefault) {
  Write("plain", R"({"pci_device_id": 1})");
  File().AddCard(std::string("plain"));
  EXPECT_EQ(R"([{"state":1,"settable":true}])", File().Get("card0", "volumes"));
}

TEST_F(ProfileFiles, AreListedByHelp) {
  Write("my-test-card", kLarge);
  EXPECT_NE(std::string::npos, Run("add --help").find("my-test-card"));
  EXPECT_EQ("my-test-card", CardSim::StateFile::Profiles().back());
}

TEST_F(ProfileFiles, AreUsableInScenarios) {
  Write("flash-6400g", kLarge);
  std::ofstream(m_Directory / "scenario.json")
      << R"({"title": "T", "steps": [{"do": "add", "what": "flash-6400g"}]})";
  EXPECT_EQ("T\n   0.0 s  added card0, flash-6400g\n[0]",
            Run("play " + (m_Directory / "scenario.json").string()));
}

TEST_F(ProfileFiles, DoNotReplaceBuiltInKinds) {
  Write("flash-785g", "{broken");
  EXPECT_EQ("added card0: Flash Adapter 785GB, /dev/fct0\n[0]", Run("add flash-785g"));
  EXPECT_EQ("added card1: Flash Adapter 785GB, /dev/fct1\n[0]", Run("add 0x1003"));
}

TEST_F(ProfileFiles, AreSuggestedForAWrongName) {
  Write("my-test-card", kLarge);
  EXPECT_EQ("cardsim: unknown kind of card my-tes-card; did you mean my-test-card?\n[3]",
            Run("add my-tes-card"));
}

TEST_F(ProfileFiles, AreNotUsedFromOtherDirectories) {
  std::ofstream(m_Directory / "outside.json") << kLarge;
  EXPECT_EQ("cardsim: unknown kind of card ../outside\n[3]", Run("add ../outside"));
}

TEST_F(ProfileFiles, AMissingDirectoryIsReported) {
  fs::remove_all(Directory());
  EXPECT_EQ("cardsim: " + Directory().string() + ": No such file or directory\n[1]",
            Run("add my-test-card"));
}

TEST_F(ProfileFiles, AreRejectedInASharedDirectoryIfHardLinked) {
  Write("linked", kLarge);
  fs::create_hard_link(PathOf("linked"), m_Directory / "second");
  ASSERT_EQ(0, chmod(Directory().c_str(), 01777));
  EXPECT_EQ("cardsim: " + PathOf("linked").string() +
                ": not trusted: the file has a second hard link\n[1]",
            Run("add linked"));
}

// The directory structure of an installation and of a build tree.
TEST_F(ProfileFiles, AreFoundFromTheLibrarysDirectory) {
  unsetenv("CARDSIM_PROFILES");
  const fs::path prefix = m_Directory / "prefix";
  for (const char* directory : {"bin", "lib/corvane/sim", "share/corvane/profiles"}) {
    fs::create_directories(prefix / directory);
  }
  fs::copy(CARDSIM_PROGRAM, prefix / "bin/cardsim");
  fs::copy(CARDSIM_LIBRARY, prefix / "lib/corvane/sim/libvsl_abstraction.so");
  std::ofstream(prefix / "share/corvane/profiles/flash-6400g.json") << kLarge;
  EXPECT_EQ("added card0: Flash Adapter 6.4TB, /dev/fct0\n[0]",
            RunProgram(prefix / "bin/cardsim", "add flash-6400g"));
}

struct BadFile {
  const char* name;
  const char* text;
  const char* error;
};

const BadFile kBadFiles[] = {
    {"Empty", "", ": line 1, column 1: invalid JSON"},
    {"Broken", "{broken", ": line 1, column 2: invalid JSON"},
    {"List", "[]", ": must be an object"},
    {"NoDeviceId", R"({"board_name": "b"})", ": has no \"pci_device_id\""},
    {"LargeDeviceId", R"({"pci_device_id": 65536})",
     ": pci_device_id: must be a whole number from 0 to 65535"},
    {"LargeHexDeviceId", R"({"pci_device_id": "0x10000"})",
     ": pci_device_id: must be a whole number from 0 to 65535"},
    {"InvalidHexDeviceId", R"({"pci_device_id": "0x10zz"})",
     ": pci_device_id: must be a whole number from 0 to 65535"},
    {"UnknownAttribute", R"({"pci_device_id": 1, "bord_name": "b"})",
     ": bord_name: unknown attribute; did you mean board_name?"},
    {"NumberForString", R"({"pci_device_id": 1, "board_name": 5})",
     ": board_name: must be a string"},
    {"StringForFlag", R"({"pci_device_id": 1, "in_use": "no"})", ": in_use: must be true or false"},
    {"StringForFloat", R"({"pci_device_id": 1, "power_limit_watts": "24"})",
     ": power_limit_watts: must be a number"},
    {"DevicePath", R"({"pci_device_id": 1, "device_path": "/dev/fct0"})",
     ": device_path: is set by the slot, not by the profile"},
    {"SerialNumber", R"({"pci_device_id": 1, "serial_number": "FA1"})",
     ": serial_number: is set by the slot, not by the profile"},
    {"PciBus", R"({"pci_device_id": 1, "pci_bus": 3})",
     ": pci_bus: is set by the slot, not by the profile"},
    {"BadVolume", R"({"pci_device_id": 1, "volumes": [{"state": 2}]})",
     ": volumes[0].state: must be a whole number from 0 to 1"},
};

class BadProfile : public ProfileFiles, public ::testing::WithParamInterface<BadFile> {};

TEST_P(BadProfile, IsReportedAndNothingChanges) {
  Write("bad", GetParam().text);
  const std::string before = Slurp();
  const std::string error = "cardsim: " + PathOf("bad").string() + GetParam().error + "\n[1]";
  EXPECT_EQ(error, Run("add bad"));
  // A search by device ID reads every file.
  EXPECT_EQ(error, Run("add 9999"));
  EXPECT_EQ(before, Slurp());
}

INSTANTIATE_TEST_SUITE_P(Table, BadProfile, ::testing::ValuesIn(kBadFiles),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ProfileFiles, AreReportedIfTooLarge) {
  Write("bad", std::string(1048577, ' '));
  EXPECT_EQ("cardsim: " + PathOf("bad").string() + ": is too large for a profile\n[1]",
            Run("add bad"));
}

TEST_F(ProfileFiles, AreReportedIfTheyAreDirectories) {
  fs::create_directory(PathOf("bad"));
  EXPECT_EQ("cardsim: " + PathOf("bad").string() + ": not a regular file\n[1]", Run("add bad"));
}

TEST_F(ProfileFiles, AreReportedIfTheyAreDanglingLinks) {
  fs::create_symlink("nothing.json", PathOf("bad"));
  EXPECT_EQ("cardsim: " + PathOf("bad").string() + ": no such file\n[1]", Run("add bad"));
}

}  // namespace
