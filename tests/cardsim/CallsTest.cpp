#include <atomic>
#include <chrono>
#include <thread>

#include "tests/cardsim/Fixture.h"

namespace {

using Calls = SimulatedCards;

TEST_F(Calls, AreLoggedInOrderWithTheirHandlesAndArguments) {
  StartWithCard();
  void* card = OpenCard();
  vsl_has_board_name(nullptr, &m_Error);
  vsl_set_beacon_state(card, 0, &m_Error);
  void* format = nullptr;
  vsl_iom_format_create(card, &format, &m_Error);
  vsl_iom_format_set_size_bytes(format, 1048576, &m_Error);
  vsl_destroy(&format, nullptr);
  void* none = nullptr;
  vsl_destroy(&none, nullptr);
  vsl_iom_iterate(&none, 1, &m_Error);
  vsl_open(&none, &m_Error);
  vsl_fini();
  EXPECT_EQ(
      "vsl_iom_create_by_name /dev/fct0\n"
      "vsl_open card#1\n"
      "vsl_has_board_name null\n"
      "vsl_set_beacon_state card#1 0\n"
      "vsl_iom_format_create card#1\n"
      "vsl_iom_format_set_size_bytes format#1 1048576\n"
      "vsl_destroy format#1\n"
      "vsl_destroy null\n"
      "vsl_iom_iterate null\n"
      "vsl_open unknown\n"
      "vsl_fini",
      Joined(CardSim::CallTexts()));
}

TEST_F(Calls, ResetClearsTheLogAndHandleNumbers) {
  StartWithCard();
  CreateCard();
  CreateCard();
  CardSim::Reset();
  vsl_open(CreateCard(), &m_Error);
  EXPECT_EQ("vsl_iom_create_by_name /dev/fct0\nvsl_open card#1", Joined(CardSim::CallTexts()));
  EXPECT_EQ("card#1", Joined(CardSim::OpenHandles()));
}

TEST_F(Calls, TheNthCallFailsWithCodeAndText) {
  StartWithCard();
  CardSim::FailCall("vsl_open", 2, 77, "requested", 2);
  std::string codes;
  for (int i = 0; i < 5; ++i) codes += std::to_string(vsl_open(CreateCard(), &m_Error)) + " ";
  EXPECT_EQ("0 77 77 0 0 ", codes);
  EXPECT_STREQ("requested", m_Error.text);
}

TEST_F(Calls, TwoInjectedFailuresCountTheSameCalls) {
  StartWithCard();
  CardSim::FailCall("vsl_open", 1, 71, "first");
  CardSim::FailCall("vsl_open", 3, 73, "third");
  std::string codes;
  for (int i = 0; i < 4; ++i) codes += std::to_string(vsl_open(CreateCard(), &m_Error)) + " ";
  EXPECT_EQ("71 0 73 0 ", codes);
}

TEST_F(Calls, AFailedReadReturnsAnEmptyValue) {
  StartWithCard();
  void* card = OpenCard();
  for (const char* function : {"vsl_has_board_name", "vsl_board_name", "vsl_size_bytes",
                               "vsl_iom_iterate", "vsl_temp_internal_deg_c"}) {
    CardSim::FailCall(function, 1, 5, "requested");
  }
  void* iterated = nullptr;
  EXPECT_FALSE(vsl_has_board_name(card, &m_Error));
  EXPECT_STREQ("", vsl_board_name(card, &m_Error));
  EXPECT_EQ(0U, vsl_size_bytes(card, &m_Error));
  EXPECT_EQ(0.0F, vsl_temp_internal_deg_c(card, &m_Error));
  EXPECT_FALSE(vsl_iom_iterate(&iterated, 1, &m_Error));
  EXPECT_STREQ("Flash Adapter 785GB", vsl_board_name(card, &m_Error));
}

TEST_F(Calls, AFailedCallDoesNotChangeTheCard) {
  StartWithCard();
  CardSim::FailCall("vsl_destroy", 1, 5, "requested");
  CardSim::FailCall("vsl_set_beacon_state", 1, 5, "requested");
  void* card = CreateCard();
  EXPECT_EQ(5U, vsl_set_beacon_state(card, 1, &m_Error));
  EXPECT_EQ("false", File().Get("card0", "beacon_state"));
  EXPECT_EQ(5U, vsl_destroy(&card, &m_Error));
  EXPECT_EQ("card#1", Joined(CardSim::OpenHandles()));
}

TEST_F(Calls, InitCanFailWithNotReadyForSomeCalls) {
  File().AddCard(0x1003);
  CardSim::FailCall("vsl_init", 1, VSL_NOT_READY, "not ready", 2);
  EXPECT_EQ(27U, vsl_init(0, &m_Error));
  EXPECT_EQ(27U, vsl_init(0, &m_Error));
  EXPECT_EQ(0U, vsl_init(0, &m_Error));
}

TEST_F(Calls, InjectingAFailureRejectsInvalidArguments) {
  EXPECT_EQ("unknown function vsl_opne; did you mean vsl_open?",
            ErrorOf([] { CardSim::FailCall("vsl_opne", 1, 1, ""); }));
  EXPECT_EQ("vsl_fini has no result and cannot fail",
            ErrorOf([] { CardSim::FailCall("vsl_fini", 1, 1, ""); }));
  EXPECT_EQ("calls are numbered from 1", ErrorOf([] { CardSim::FailCall("vsl_open", 0, 1, ""); }));
  EXPECT_EQ("the code must not be 0, which means success",
            ErrorOf([] { CardSim::FailCall("vsl_open", 1, 0, ""); }));
}

TEST_F(Calls, AFailureInTheFileLastsUntilCleared) {
  StartWithCard();
  File().Fail("vsl_iom_format_create", 44, "no format today");
  void* format = nullptr;
  EXPECT_EQ(44U, vsl_iom_format_create(CreateCard(), &format, &m_Error));
  EXPECT_STREQ("no format today", m_Error.text);
  File().ClearFailure("vsl_iom_format_create");
  EXPECT_EQ(0U, vsl_iom_format_create(CreateCard(), &format, &m_Error));
}

TEST_F(Calls, AFailureOfInitLastsUntilCleared) {
  File().Fail("vsl_init", 27, "later");
  EXPECT_EQ(27U, vsl_init(0, &m_Error));
  File().ClearFailure("vsl_init");
  EXPECT_EQ(0U, vsl_init(0, &m_Error));
}

TEST_F(Calls, AFailureOfOneCardDoesNotAffectAnother) {
  File().AddCard(0x1003);
  StartWithCard();
  File().Fail("vsl_open", "card1", 44, "card1 is broken");
  EXPECT_EQ(0U, vsl_open(CreateCard("/dev/fct0"), &m_Error));
  EXPECT_EQ(44U, vsl_open(CreateCard("/dev/fct1"), &m_Error));
  EXPECT_STREQ("card1 is broken", m_Error.text);
  File().ClearFailure("vsl_open");
  EXPECT_EQ(44U, vsl_open(CreateCard("/dev/fct1"), &m_Error));
  File().ClearFailure("vsl_open", "card1");
  EXPECT_EQ(0U, vsl_open(CreateCard("/dev/fct1"), &m_Error));
}

TEST_F(Calls, ACardCanBeMissingForCreateByNameOnly) {
  File().AddCard(0x1003);
  StartWithCard();
  File().Fail("vsl_iom_create_by_name", "card0", 3, "gone");
  void* card = nullptr;
  EXPECT_EQ(3U, vsl_iom_create_by_name("/dev/fct0", &card, &m_Error));
  EXPECT_EQ(0U, vsl_iom_create_by_name("/dev/fct1", &card, &m_Error));
}

TEST_F(Calls, AnAttributeOfOneCardHangsUntilCleared) {
  File().AddCard(0x1003);
  StartWithCard();
  File().Hang("vsl_temp_internal_deg_c", "card1");
  void* first = OpenCard("/dev/fct0");
  void* second = OpenCard("/dev/fct1");
  std::atomic<bool> hasReturned{false};
  vsl_error_record error = {};
  std::thread reader([&] {
    vsl_temp_internal_deg_c(second, &error);
    hasReturned = true;
  });
  EXPECT_GT(vsl_temp_internal_deg_c(first, &m_Error), 0);
  File().Set("card0", "serial_number", "S");  // the waiting call does not hold the file's lock
  EXPECT_STREQ("S", vsl_serial_number(OpenCard("/dev/fct0"), &m_Error));
  EXPECT_FALSE(hasReturned);
  File().ClearFailure("vsl_temp_internal_deg_c", "card1");
  reader.join();
  EXPECT_TRUE(hasReturned);
}

TEST_F(Calls, AHangEndsWithTheCard) {
  File().AddCard(0x1003);
  StartWithCard();
  void* card = CreateCard("/dev/fct1");
  File().Hang("vsl_open", "card1");
  vsl_error_record error = {};
  vsl_code code = 0;
  std::thread opener([&] { code = vsl_open(card, &error); });
  File().RemoveCard("card1");
  opener.join();
  EXPECT_EQ(3U, code);
  EXPECT_STREQ("the card has been removed", error.text);
}

TEST_F(Calls, AHangWithATimeEndsByItself) {
  StartWithCard();
  File().Hang("vsl_open", "card0", 50);
  void* card = CreateCard();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(0U, vsl_open(card, &m_Error));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_F(Calls, OnlyFunctionsOfACardCanHang) {
  File().AddCard(0x1003);
  EXPECT_EQ("vsl_init does not act on a single card",
            ErrorOf([&] { File().Hang("vsl_init", "card0"); }));
  EXPECT_EQ("vsl_iom_iterate does not act on a single card",
            ErrorOf([&] { File().Fail("vsl_iom_iterate", "card0", 1, ""); }));
  EXPECT_EQ("no card named card1; did you mean card0?",
            ErrorOf([&] { File().Hang("vsl_open", "card1"); }));
  EXPECT_EQ("a call hangs for at most one day",
            ErrorOf([&] { File().Hang("vsl_open", "card0", 86400001); }));
}

TEST_F(Calls, TheHookRunsBeforeTheCallAndMayEditTheFile) {
  StartWithCard();
  CardSim::SetHook([this](const CardSim::Call& call) {
    if (call.function == "vsl_open") File().Set("card0", "serial_number", "CHANGED");
  });
  void* card = OpenCard();
  EXPECT_STREQ("CHANGED", vsl_serial_number(card, &m_Error));
  CardSim::SetHook(nullptr);
  File().Set("card0", "serial_number", "AGAIN");
  EXPECT_STREQ("AGAIN", vsl_serial_number(OpenCard(), &m_Error));
}

TEST_F(Calls, AWaitingHookDoesNotBlockOtherThreads) {
  StartWithCard();
  std::atomic<bool> inside{false};
  std::atomic<bool> release{false};
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function != "vsl_close") return;
    inside = true;
    while (!release) std::this_thread::yield();
  });
  void* card = OpenCard();
  std::thread blocked([card] {
    vsl_error_record err;
    vsl_close(card, &err);
  });
  while (!inside) std::this_thread::yield();
  EXPECT_STREQ("FA00000001", vsl_serial_number(OpenCard(), &m_Error));
  release = true;
  blocked.join();
}

TEST_F(Calls, AreLoggedFromAllThreads) {
  StartWithCard();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      vsl_error_record err;
      for (int i = 0; i < 50; ++i) {
        void* card = nullptr;
        vsl_iom_create_by_name("/dev/fct0", &card, &err);
        vsl_open(card, &err);
        vsl_temp_internal_deg_c(card, &err);
        vsl_close(card, &err);
        vsl_destroy(&card, &err);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(1000U, CardSim::CallLog().size());
  EXPECT_EQ("", Joined(CardSim::OpenHandles()) + Joined(CardSim::Misuse()));
}

}  // namespace
