#include <sys/stat.h>

#include "tests/cardsim/Fixture.h"

extern "C" int UseFromC(void);

namespace {

using CardLibrary = SimulatedCards;

TEST_F(CardLibrary, IsUsableFromC) {
  StartWithCard();
  EXPECT_EQ(1, UseFromC());
}

TEST_F(CardLibrary, IteratesCardsInOrder) {
  for (int i = 0; i < 3; ++i) File().AddCard(0x1003);
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  std::vector<std::string> paths;
  void* iom = nullptr;
  while (vsl_iom_iterate(&iom, 1, &m_Error)) {
    ASSERT_TRUE(vsl_has_serial_number(iom, &m_Error));
    ASSERT_TRUE(vsl_has_device_path(iom, &m_Error));
    paths.push_back(vsl_device_path(iom, &m_Error));
  }
  EXPECT_EQ("/dev/fct0\n/dev/fct1\n/dev/fct2", Joined(paths));
  EXPECT_EQ(nullptr, iom);
  EXPECT_EQ("", Joined(CardSim::Misuse()) + Joined(CardSim::OpenHandles()));
}

TEST_F(CardLibrary, IterationContinuesAfterARemovedCard) {
  for (int i = 0; i < 3; ++i) File().AddCard(0x1003);
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  void* iom = nullptr;
  ASSERT_TRUE(vsl_iom_iterate(&iom, 1, &m_Error));
  File().RemoveCard("card0");
  ASSERT_TRUE(vsl_iom_iterate(&iom, 1, &m_Error));
  EXPECT_STREQ("/dev/fct1", vsl_device_path(iom, &m_Error));
}

TEST_F(CardLibrary, CreateByNameFailsForAMissingCard) {
  StartWithCard();
  void* iom = nullptr;
  EXPECT_EQ(3U, vsl_iom_create_by_name("/dev/fct7", &iom, &m_Error));
  EXPECT_STREQ("/dev/fct7: no such card", m_Error.text);
  EXPECT_EQ(nullptr, iom);
  EXPECT_NE(0U, vsl_iom_create_by_name(nullptr, &iom, &m_Error));
}

TEST_F(CardLibrary, CreateByNameFailsForACardWithoutAPath) {
  StartWithCard();
  File().MakeAbsent("card0", "device_path");
  void* iom = nullptr;
  EXPECT_EQ(3U, vsl_iom_create_by_name("/dev/fct0", &iom, &m_Error));
}

TEST_F(CardLibrary, ErrorTextIsTruncatedAndTerminated) {
  StartWithCard();
  const std::string path(3000, 'x');
  void* iom = nullptr;
  std::fill(std::begin(m_Error.text), std::end(m_Error.text), '#');
  EXPECT_EQ(3U, vsl_iom_create_by_name(path.c_str(), &iom, &m_Error));
  EXPECT_EQ(std::string(1039, 'x'), m_Error.text);
}

TEST_F(CardLibrary, SuccessLeavesTheErrorRecordUnchanged) {
  StartWithCard();
  std::fill(std::begin(m_Error.text), std::end(m_Error.text), '#');
  void* card = OpenCard();
  vsl_has_board_name(card, &m_Error);
  vsl_has_board_name(nullptr, &m_Error);
  vsl_close(card, &m_Error);
  vsl_destroy(&card, &m_Error);
  EXPECT_EQ(std::string(1040, '#'), std::string(m_Error.text, 1040));
}

TEST_F(CardLibrary, DestroyDoesNotNeedAnErrorRecord) {
  StartWithCard();
  void* card = CreateCard();
  EXPECT_EQ(0U, vsl_destroy(&card, nullptr));
  EXPECT_NE(0U, vsl_destroy(&card, nullptr));
}

TEST_F(CardLibrary, TheLibraryCanBeRestarted) {
  StartWithCard();
  vsl_fini();
  EXPECT_EQ(0U, vsl_init(0, &m_Error));
  EXPECT_NE(nullptr, CreateCard());
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

TEST_F(CardLibrary, SettingTheLocateLedChangesTheFile) {
  StartWithCard();
  void* card = CreateCard();
  EXPECT_FALSE(vsl_beacon_state(card, &m_Error));
  EXPECT_EQ(0U, vsl_set_beacon_state(card, 1, &m_Error));
  EXPECT_TRUE(vsl_beacon_state(card, &m_Error));
  EXPECT_EQ("true", File().Get("card0", "beacon_state"));
  EXPECT_NE(0U, vsl_set_beacon_state(card, 2, &m_Error));
}

TEST_F(CardLibrary, SettingTheLocateLedToItsCurrentStateDoesNotWrite) {
  StartWithCard();
  void* card = CreateCard();
  struct stat before = {}, after = {};
  ASSERT_EQ(0, stat(Path().c_str(), &before));
  EXPECT_EQ(0U, vsl_set_beacon_state(card, 0, &m_Error));
  ASSERT_EQ(0, stat(Path().c_str(), &after));
  // Each write creates a new file. The library keeps the old one open, so its inode is not reused.
  EXPECT_EQ(before.st_ino, after.st_ino);
}

// Callers turn off the LEDs of all cards at their start, and locking and reading the file for each
// card would take long.
TEST_F(CardLibrary, SettingTheLocateLedToItsCurrentStateDoesNotLockTheFile) {
  StartWithCard();
  void* card = CreateCard();
  const std::string lock = Path().string() + ".lock";
  std::filesystem::remove(lock);
  EXPECT_EQ(0U, vsl_set_beacon_state(card, 0, &m_Error));
  EXPECT_FALSE(std::filesystem::exists(lock));
  EXPECT_EQ(0U, vsl_set_beacon_state(card, 1, &m_Error));
  EXPECT_TRUE(std::filesystem::exists(lock));
}

TEST_F(CardLibrary, TurnsOffALocateLedThatAnotherProcessHasTurnedOn) {
  StartWithCard();
  void* card = CreateCard();
  File().Set("card0", "beacon_state", "true");
  EXPECT_EQ(0U, vsl_set_beacon_state(card, 0, &m_Error));
  EXPECT_EQ("false", File().Get("card0", "beacon_state"));
}

TEST_F(CardLibrary, ACardWithoutALocateLedRejectsSettingIt) {
  StartWithCard();
  File().MakeAbsent("card0", "beacon_state");
  EXPECT_EQ(9U, vsl_set_beacon_state(CreateCard(), 1, &m_Error));
  EXPECT_STREQ("the card has no locate LED", m_Error.text);
}

}  // namespace
