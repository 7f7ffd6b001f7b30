// Returned strings are valid until the next call with their handle.
#include "tests/cardsim/Fixture.h"

namespace {

#if defined(__SANITIZE_ADDRESS__)
#define STRINGS_ARE_FREED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define STRINGS_ARE_FREED 1
#endif
#endif

class ReturnedStrings : public SimulatedCards {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    StartWithCard();
    m_Card = OpenCard();
  }

  const char* Serial() { return vsl_serial_number(m_Card, &m_Error); }

  void* m_Card = nullptr;
};

TEST_F(ReturnedStrings, SurviveCallsOnOtherHandles) {
  const char* text = Serial();
  void* other = OpenCard();
  void* iterated = nullptr;
  vsl_iom_iterate(&iterated, 1, &m_Error);
  EXPECT_STREQ("Flash Adapter 785GB", vsl_board_name(other, &m_Error));
  vsl_close(other, &m_Error);
  vsl_destroy(&other, &m_Error);
  EXPECT_STREQ("FA00000001", text);
}

TEST_F(ReturnedStrings, AreIndependentBetweenHandles) {
  void* other = OpenCard();
  const char* first = Serial();
  const char* second = vsl_board_name(other, &m_Error);
  EXPECT_STREQ("FA00000001", first);
  EXPECT_STREQ("Flash Adapter 785GB", second);
}

#ifndef STRINGS_ARE_FREED

// A call that makes the handle's string expire.
struct ExpiringCall {
  const char* name;
  void (*call)(void* card, vsl_error_record* err);
};

const ExpiringCall kExpiringCalls[] = {
    {"Has", [](void* card, vsl_error_record* err) { vsl_has_serial_number(card, err); }},
    {"SameString", [](void* card, vsl_error_record* err) { vsl_serial_number(card, err); }},
    {"OtherString", [](void* card, vsl_error_record* err) { vsl_board_name(card, err); }},
    {"Number", [](void* card, vsl_error_record* err) { vsl_iom_state(card, err); }},
    {"Rejected", [](void* card, vsl_error_record* err) { vsl_op_start(card, err); }},
    {"InjectedFailure",
     [](void* card, vsl_error_record* err) {
       CardSim::FailCall("vsl_pci_bus", 1, 5, "requested");
       vsl_pci_bus(card, err);
     }},
    {"Action", [](void* card, vsl_error_record* err) { vsl_set_beacon_state(card, 1, err); }},
    {"NewAdapter",
     [](void* card, vsl_error_record* err) {
       void* adapter = nullptr;
       vsl_adapter_create(card, &adapter, err);
     }},
    {"Close", [](void* card, vsl_error_record* err) { vsl_close(card, err); }},
    {"Destroy", [](void* card, vsl_error_record* err) { vsl_destroy(&card, err); }},
    {"LibraryShutdown", [](void*, vsl_error_record*) { vsl_fini(); }},
    {"Reset", [](void*, vsl_error_record*) { CardSim::Reset(); }},
};

class ExpiredStrings : public ReturnedStrings,
                       public ::testing::WithParamInterface<ExpiringCall> {};

TEST_P(ExpiredStrings, AreOverwritten) {
  const char* text = Serial();
  ASSERT_STREQ("FA00000001", text);
  GetParam().call(m_Card, &m_Error);
  EXPECT_STREQ("~~~~~~~~~~", text);
}

INSTANTIATE_TEST_SUITE_P(Table, ExpiredStrings, ::testing::ValuesIn(kExpiringCalls),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ReturnedStrings, ExpireAtTheNextStepOfAnIteration) {
  void* iterated = nullptr;
  ASSERT_TRUE(vsl_iom_iterate(&iterated, 1, &m_Error));
  const char* path = vsl_device_path(iterated, &m_Error);
  ASSERT_STREQ("/dev/fct0", path);
  EXPECT_FALSE(vsl_iom_iterate(&iterated, 1, &m_Error));
  EXPECT_STREQ("~~~~~~~~~", path);
}

TEST_F(ReturnedStrings, AreOverwrittenEvenIfEmpty) {
  File().Set("card0", "board_name", "");
  void* card = OpenCard();
  const char* text = vsl_board_name(card, &m_Error);
  ASSERT_STREQ("", text);
  vsl_has_board_name(card, &m_Error);
  EXPECT_STREQ("~~~~~~~", text);
}

TEST_F(ReturnedStrings, RemainOverwritten) {
  const char* text = Serial();
  for (int i = 0; i < 50; ++i) Serial();
  EXPECT_STREQ("~~~~~~~~~~", text);
}

#else

TEST_F(ReturnedStrings, AreReportedByTheSanitizerAfterTheyExpire) {
  const char* text = Serial();
  EXPECT_DEATH(
      {
        vsl_has_serial_number(m_Card, &m_Error);
        _exit(text[0] == 'F' ? 0 : 1);
      },
      "heap-use-after-free");
}

#endif

}  // namespace
