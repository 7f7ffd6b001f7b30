// Calls every function that has an error record without one, which only vsl_destroy allows.
#include "tests/cardsim/Fixture.h"

namespace {

// Valid handles for the calls.
struct CallHandles {
  void* card;
  void* adapter;
  void* format;
  void* output;  // of calls that create a handle
  void* detach;
  void* iterated;
  void* volume;
};

struct Call {
  const char* name;
  const char* handle;  // a space and the description of the call's handle, or empty
  void (*make)(CallHandles&);
};

#define CARD_PAIR(type, name)                                                                   \
  {"vsl_has_" #name, std::string_view(#name) == "power_limit_watts" ? " adapter#1" : " card#1", \
   [](CallHandles& h) { vsl_has_##name(HandleFor(#name, h), nullptr); }},                       \
      {"vsl_" #name, std::string_view(#name) == "power_limit_watts" ? " adapter#1" : " card#1", \
       [](CallHandles& h) { vsl_##name(HandleFor(#name, h), nullptr); }},
#define FORMAT_PAIR(type, name)                                           \
  {"vsl_iom_format_has_" #name, " format#1",                              \
   [](CallHandles& h) { vsl_iom_format_has_##name(h.format, nullptr); }}, \
      {"vsl_iom_format_" #name, " format#1",                              \
       [](CallHandles& h) { vsl_iom_format_##name(h.format, nullptr); }},

void* HandleFor(std::string_view attribute, const CallHandles& handles) {
  return attribute == "power_limit_watts" ? handles.adapter : handles.card;
}

const Call kCalls[] = {
    VSL_CARD_ATTRIBUTES(CARD_PAIR) VSL_FORMAT_ATTRIBUTES(FORMAT_PAIR){
        "vsl_init", "", [](CallHandles&) { vsl_init(0, nullptr); }},
    {"vsl_iom_iterate", " iterated#1",
     [](CallHandles& h) { vsl_iom_iterate(&h.iterated, 1, nullptr); }},
    {"vsl_iom_create_by_name", "",
     [](CallHandles& h) { vsl_iom_create_by_name("/dev/fct0", &h.output, nullptr); }},
    {"vsl_open", " card#1",
     [](CallHandles& h) {
       vsl_error_record err;
       vsl_close(h.card, &err);
       vsl_open(h.card, nullptr);
     }},
    {"vsl_close", " card#1", [](CallHandles& h) { vsl_close(h.card, nullptr); }},
    {"vsl_adapter_create", " card#1",
     [](CallHandles& h) { vsl_adapter_create(h.card, &h.output, nullptr); }},
    {"vsl_pci_device_id", " card#1", [](CallHandles& h) { vsl_pci_device_id(h.card, nullptr); }},
    {"vsl_reserve_status", " card#1", [](CallHandles& h) { vsl_reserve_status(h.card, nullptr); }},
    {"vsl_iom_format_has_size_mode", " format#1",
     [](CallHandles& h) { vsl_iom_format_has_size_mode(h.format, nullptr); }},
    {"vsl_set_beacon_state", " card#1",
     [](CallHandles& h) { vsl_set_beacon_state(h.card, 1, nullptr); }},
    {"vsl_vsu_iterate", " card#1",
     [](CallHandles& h) { vsl_vsu_iterate(h.card, &h.output, 1, nullptr); }},
    {"vsl_vsu_state", " volume#1", [](CallHandles& h) { vsl_vsu_state(h.volume, nullptr); }},
    {"vsl_has_vsu_state", " volume#1",
     [](CallHandles& h) { vsl_has_vsu_state(h.volume, nullptr); }},
    {"vsl_set_vsu_state", " volume#1",
     [](CallHandles& h) { vsl_set_vsu_state(h.volume, 0, nullptr); }},
    {"vsl_iom_attach_create", " card#1",
     [](CallHandles& h) { vsl_iom_attach_create(h.card, &h.output, nullptr); }},
    {"vsl_iom_detach_create", " card#1",
     [](CallHandles& h) { vsl_iom_detach_create(h.card, &h.output, nullptr); }},
    {"vsl_iom_detach_set_force", " detach#1",
     [](CallHandles& h) { vsl_iom_detach_set_force(h.detach, 1, nullptr); }},
    {"vsl_iom_format_create", " card#1",
     [](CallHandles& h) { vsl_iom_format_create(h.card, &h.output, nullptr); }},
    {"vsl_iom_format_set_size_mode", " format#1",
     [](CallHandles& h) { vsl_iom_format_set_size_mode(h.format, 11, nullptr); }},
    {"vsl_iom_format_set_size_bytes", " format#1",
     [](CallHandles& h) { vsl_iom_format_set_size_bytes(h.format, 512, nullptr); }},
    {"vsl_iom_format_set_size_pct", " format#1",
     [](CallHandles& h) { vsl_iom_format_set_size_pct(h.format, 50, nullptr); }},
    {"vsl_iom_format_set_sector_size_bytes", " format#1",
     [](CallHandles& h) { vsl_iom_format_set_sector_size_bytes(h.format, 512, nullptr); }},
    {"vsl_op_start", " detach#1", [](CallHandles& h) { vsl_op_start(h.detach, nullptr); }},
    {"vsl_op_wait_for_result", " detach#1",
     [](CallHandles& h) {
       vsl_error_record err;
       vsl_op_start(h.detach, &err);
       vsl_op_wait_for_result(h.detach, nullptr);
     }},
};

class ErrorRecords : public SimulatedCards, public ::testing::WithParamInterface<Call> {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    StartWithCard();
    File().Set("card0", "detach_ms", "0");
    m_Handles = {OpenCard(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    vsl_adapter_create(m_Handles.card, &m_Handles.adapter, &m_Error);
    vsl_iom_format_create(m_Handles.card, &m_Handles.format, &m_Error);
    vsl_iom_detach_create(m_Handles.card, &m_Handles.detach, &m_Error);
    vsl_iom_iterate(&m_Handles.iterated, 1, &m_Error);
    vsl_vsu_iterate(m_Handles.card, &m_Handles.volume, 1, &m_Error);
    ASSERT_EQ("", Joined(CardSim::Misuse()));
  }

  CallHandles m_Handles = {};
};

TEST_P(ErrorRecords, AreRequiredByEveryFunctionWithThatParameter) {
  GetParam().make(m_Handles);
  EXPECT_EQ(std::string(GetParam().name) + GetParam().handle + ": no error record",
            Joined(CardSim::Misuse()));
}

INSTANTIATE_TEST_SUITE_P(Table, ErrorRecords, ::testing::ValuesIn(kCalls),
                         [](const auto& row) { return std::string(row.param.name); });

using NoErrorRecord = SimulatedCards;

TEST_F(NoErrorRecord, IsTestedForAllButTwoFunctions) {
  // There are 124 functions. vsl_destroy accepts a call without a record, and vsl_fini has no such
  // parameter.
  EXPECT_EQ(122U, std::size(kCalls));
}

TEST_F(NoErrorRecord, IsAcceptedByDestroy) {
  StartWithCard();
  void* card = CreateCard();
  EXPECT_EQ(0U, vsl_destroy(&card, nullptr));
  EXPECT_NE(0U, vsl_destroy(&card, nullptr));
  EXPECT_EQ("vsl_destroy card#1: destroyed twice", Joined(CardSim::Misuse()));
}

TEST_F(NoErrorRecord, DoesNotStopTheCall) {
  StartWithCard();
  void* card = nullptr;
  EXPECT_EQ(0U, vsl_iom_create_by_name("/dev/fct0", &card, nullptr));
  EXPECT_NE(0U, vsl_iom_create_by_name("/dev/fct9", &card, nullptr));
  EXPECT_EQ(0U, vsl_open(card, &m_Error));
}

TEST_F(NoErrorRecord, IsReportedInAdditionToOtherMisuse) {
  StartWithCard();
  EXPECT_STREQ("", vsl_serial_number(nullptr, nullptr));
  EXPECT_EQ("vsl_serial_number null: no error record\nvsl_serial_number null: null handle",
            Joined(CardSim::Misuse()));
}

}  // namespace
