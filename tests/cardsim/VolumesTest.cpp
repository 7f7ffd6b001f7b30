#include "tests/cardsim/Fixture.h"

namespace {

class Volumes : public SimulatedCards {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    StartWithCard();
    File().Set("card0", "volumes",
               R"([{"state": 1}, {"state": 0, "settable": false}, {"state": 1, "refuses": true}])");
  }

  // Returns the state of each volume, in order, followed by "s" if it can be set or "-" if it
  // cannot.
  std::string States() {
    void* card = CreateCard();
    void* volume = nullptr;
    std::string text;
    while (vsl_vsu_iterate(card, &volume, 1, &m_Error)) {
      text += std::to_string(vsl_vsu_state(volume, &m_Error));
      text += vsl_has_vsu_state(volume, &m_Error) ? "s " : "- ";
    }
    EXPECT_EQ(nullptr, volume);
    return text;
  }
};

TEST_F(Volumes, AreIteratedInOrder) {
  EXPECT_EQ("1s 0- 1s ", States());
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

TEST_F(Volumes, AcceptOrRejectANewState) {
  void* card = CreateCard();
  void* volume = nullptr;
  std::string codes;
  while (vsl_vsu_iterate(card, &volume, 1, &m_Error)) {
    codes += std::to_string(vsl_set_vsu_state(volume, 0, &m_Error)) + " ";
  }
  EXPECT_EQ("0 9 6 ", codes);
  EXPECT_EQ("0s 0- 1s ", States());
}

TEST_F(Volumes, ShowTheNewStateImmediately) {
  void* card = CreateCard();
  void* volume = nullptr;
  ASSERT_TRUE(vsl_vsu_iterate(card, &volume, 1, &m_Error));
  EXPECT_EQ(0U, vsl_set_vsu_state(volume, 0, &m_Error));
  EXPECT_EQ(0U, vsl_vsu_state(volume, &m_Error));
  EXPECT_NE(0U, vsl_set_vsu_state(volume, 2, &m_Error));
}

TEST_F(Volumes, AreReportedIfTheyWereRemoved) {
  void* card = CreateCard();
  void* volume = nullptr;
  ASSERT_TRUE(vsl_vsu_iterate(card, &volume, 1, &m_Error));
  File().MakeAbsent("card0", "volumes");
  EXPECT_EQ(3U, vsl_set_vsu_state(volume, 0, &m_Error));
  EXPECT_STREQ("the volume has been removed", m_Error.text);
  EXPECT_EQ("", States());
}

TEST_F(Volumes, BelongToTheHandleThatIteratesThem) {
  void* card = CreateCard();
  void* other = CreateCard();
  void* volume = nullptr;
  ASSERT_TRUE(vsl_vsu_iterate(card, &volume, 1, &m_Error));
  EXPECT_FALSE(vsl_vsu_iterate(other, &volume, 1, &m_Error));
  EXPECT_EQ("vsl_vsu_iterate volume#1: a volume of another card's handle",
            Joined(CardSim::Misuse()));
}

TEST_F(Volumes, AreNormalizedInTheFile) {
  EXPECT_EQ(R"([{"state":1,"settable":true},{"state":0,"settable":false},)"
            R"({"state":1,"settable":true,"refuses":true}])",
            File().Get("card0", "volumes"));
  EXPECT_EQ("volumes: must be an array", ErrorOf([this] { File().Set("card0", "volumes", "x"); }));
  EXPECT_EQ("volumes[0].states: unknown; did you mean state?",
            ErrorOf([this] { File().Set("card0", "volumes", R"([{"states": 1}])"); }));
}

}  // namespace
