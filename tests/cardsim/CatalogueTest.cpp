#include <set>

#include "tests/cardsim/Fixture.h"

extern "C" int UseFromC(void);

namespace {

using Catalogue = SimulatedCards;

// Calls each function of the header once, with a handle that fits.
void CallAll(void* card, void* adapter, void* format, void* attach, void* detach, void* volume) {
  vsl_error_record err = {};
  void* none = nullptr;
#define CALL_PAIR(type, name)                                                       \
  vsl_has_##name(std::string(#name) == "power_limit_watts" ? adapter : card, &err); \
  vsl_##name(std::string(#name) == "power_limit_watts" ? adapter : card, &err);
  VSL_CARD_ATTRIBUTES(CALL_PAIR)
#define CALL_FORMAT_PAIR(type, name)       \
  vsl_iom_format_has_##name(format, &err); \
  vsl_iom_format_##name(format, &err);
  VSL_FORMAT_ATTRIBUTES(CALL_FORMAT_PAIR)
  vsl_pci_device_id(card, &err);
  vsl_reserve_status(card, &err);
  vsl_iom_format_has_size_mode(format, &err);
  vsl_set_beacon_state(card, 1, &err);
  vsl_vsu_state(volume, &err);
  vsl_has_vsu_state(volume, &err);
  vsl_set_vsu_state(volume, 0, &err);
  vsl_iom_detach_set_force(detach, 1, &err);
  vsl_iom_format_set_size_mode(format, 11, &err);
  vsl_iom_format_set_size_bytes(format, 4096, &err);
  vsl_iom_format_set_size_pct(format, 50, &err);
  vsl_iom_format_set_sector_size_bytes(format, 4096, &err);
  vsl_op_start(detach, &err);
  vsl_op_wait_for_result(detach, &err);
  vsl_close(card, &err);
  vsl_destroy(&attach, &err);
  vsl_iom_iterate(&none, 1, &err);
}

TEST_F(Catalogue, EveryFunctionIsReachedAndSucceeds) {
  File().AddCard(0x1003);
  File().Set("card0", "detach_ms", "0");
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  void* card = Opened();
  void *adapter = nullptr, *format = nullptr, *attach = nullptr, *detach = nullptr,
       *volume = nullptr;
  EXPECT_EQ(0U, vsl_adapter_create(card, &adapter, &m_Error));
  EXPECT_EQ(0U, vsl_iom_format_create(card, &format, &m_Error));
  EXPECT_EQ(0U, vsl_iom_attach_create(card, &attach, &m_Error));
  EXPECT_EQ(0U, vsl_iom_detach_create(card, &detach, &m_Error));
  EXPECT_TRUE(vsl_vsu_iterate(card, &volume, 1, &m_Error));
  CallAll(card, adapter, format, attach, detach, volume);
  vsl_fini();
  std::set<std::string> called;
  for (const auto& call : CardSim::CallLog()) called.insert(call.function);
  EXPECT_EQ(124U, called.size());
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

TEST_F(Catalogue, SpeaksC) {
  StartWithCard();
  EXPECT_EQ(1, UseFromC());
}

TEST_F(Catalogue, WalksTheCardsInTheirOrder) {
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

TEST_F(Catalogue, AWalkGoesOnBehindACardThatIsRemovedMeanwhile) {
  for (int i = 0; i < 3; ++i) File().AddCard(0x1003);
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  void* iom = nullptr;
  ASSERT_TRUE(vsl_iom_iterate(&iom, 1, &m_Error));
  File().RemoveCard("card0");
  ASSERT_TRUE(vsl_iom_iterate(&iom, 1, &m_Error));
  EXPECT_STREQ("/dev/fct1", vsl_device_path(iom, &m_Error));
}

TEST_F(Catalogue, ACardThatIsNotThereCannotBeNamed) {
  StartWithCard();
  void* iom = nullptr;
  EXPECT_EQ(3U, vsl_iom_create_by_name("/dev/fct7", &iom, &m_Error));
  EXPECT_STREQ("/dev/fct7: no such card", m_Error.text);
  EXPECT_EQ(nullptr, iom);
  EXPECT_NE(0U, vsl_iom_create_by_name(nullptr, &iom, &m_Error));
}

TEST_F(Catalogue, ACardWithoutAPathCannotBeNamed) {
  StartWithCard();
  File().MakeAbsent("card0", "device_path");
  void* iom = nullptr;
  EXPECT_EQ(3U, vsl_iom_create_by_name("/dev/fct0", &iom, &m_Error));
}

TEST_F(Catalogue, AnErrorTextIsCutToTheRecordAndEnded) {
  StartWithCard();
  const std::string path(3000, 'x');
  void* iom = nullptr;
  std::fill(std::begin(m_Error.text), std::end(m_Error.text), '#');
  EXPECT_EQ(3U, vsl_iom_create_by_name(path.c_str(), &iom, &m_Error));
  EXPECT_EQ(std::string(1039, 'x'), m_Error.text);
}

TEST_F(Catalogue, ASuccessLeavesTheRecordUntouched) {
  StartWithCard();
  std::fill(std::begin(m_Error.text), std::end(m_Error.text), '#');
  void* card = Opened();
  vsl_has_board_name(card, &m_Error);
  vsl_has_board_name(nullptr, &m_Error);
  vsl_close(card, &m_Error);
  vsl_destroy(&card, &m_Error);
  EXPECT_EQ(std::string(1040, '#'), std::string(m_Error.text, 1040));
}

TEST_F(Catalogue, ADestroyNeedsNoRecord) {
  StartWithCard();
  void* card = Named();
  EXPECT_EQ(0U, vsl_destroy(&card, nullptr));
  EXPECT_NE(0U, vsl_destroy(&card, nullptr));
}

TEST_F(Catalogue, TheLibraryCanBeStartedTwice) {
  StartWithCard();
  vsl_fini();
  EXPECT_EQ(0U, vsl_init(0, &m_Error));
  EXPECT_NE(nullptr, Named());
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

TEST_F(Catalogue, TheLightIsSwitchedInTheFile) {
  StartWithCard();
  void* card = Named();
  EXPECT_FALSE(vsl_beacon_state(card, &m_Error));
  EXPECT_EQ(0U, vsl_set_beacon_state(card, 1, &m_Error));
  EXPECT_TRUE(vsl_beacon_state(card, &m_Error));
  EXPECT_EQ("true", File().Get("card0", "beacon_state"));
  EXPECT_NE(0U, vsl_set_beacon_state(card, 2, &m_Error));
}

TEST_F(Catalogue, ALightThatIsAlreadySoCostsNoWrite) {
  StartWithCard();
  const auto before = std::filesystem::last_write_time(Path());
  EXPECT_EQ(0U, vsl_set_beacon_state(Named(), 0, &m_Error));
  EXPECT_EQ(before, std::filesystem::last_write_time(Path()));
}

TEST_F(Catalogue, ACardWithoutALightRefusesToSwitchIt) {
  StartWithCard();
  File().MakeAbsent("card0", "beacon_state");
  EXPECT_EQ(9U, vsl_set_beacon_state(Named(), 1, &m_Error));
  EXPECT_STREQ("the card has no locating light", m_Error.text);
}

}  // namespace
