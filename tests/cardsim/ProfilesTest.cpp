#include <set>

#include "tests/cardsim/Fixture.h"

namespace {

struct Kind {
  std::uint16_t id;
  const char* profile;
  const char* board;
  std::uint64_t bytes;  // whole sectors of 8192
};

const Kind kKinds[] = {
    {0x1000, "flash-365g", "Flash Adapter 365GB", 364999999488},
    {0x1003, "flash-785g", "Flash Adapter 785GB", 784999997440},
    {0x1005, "flash-825g", "Flash Adapter 825GB", 824999993344},
    {0x1006, "flash-1300g", "Flash Adapter 1.3TB", 1299999997952},
    {0x1007, "flash-1650g", "Flash Adapter 1.65TB", 1649999994880},
    {0x1008, "flash-3200g", "Flash Adapter 3.2TB", 3200000000000},
    {0x2001, "flash-2400g", "Flash Adapter 2.4TB", 2400000000000},
    {0x3001, "flash-2600g", "Flash Adapter 2.6TB", 2599999995904},
    {0x3002, "flash-5200g", "Flash Adapter 5.2TB", 5200000000000},
};

class EveryKind : public SimulatedCards, public ::testing::WithParamInterface<Kind> {};

TEST_P(EveryKind, IsABelievableCard) {
  StartWithCard(GetParam().id);
  void* card = Opened();
  EXPECT_EQ(GetParam().id, vsl_pci_device_id(card, &m_Error));
  EXPECT_STREQ(GetParam().board, vsl_board_name(card, &m_Error));
  EXPECT_EQ(GetParam().bytes, vsl_factory_size_bytes(card, &m_Error));
  EXPECT_EQ(GetParam().bytes, vsl_size_bytes(card, &m_Error));
  EXPECT_EQ(2U, vsl_iom_state(card, &m_Error));
  EXPECT_EQ(0U, vsl_current_errors(card, &m_Error) | vsl_current_warnings(card, &m_Error) |
                    vsl_current_info(card, &m_Error) | vsl_minimal_mode_reason(card, &m_Error));
  EXPECT_GT(vsl_temp_internal_deg_c(card, &m_Error), 30.0F);
  EXPECT_LT(vsl_temp_internal_deg_c(card, &m_Error), vsl_temp_internal_warn_deg_c(card, &m_Error));
  EXPECT_LT(vsl_temp_internal_warn_deg_c(card, &m_Error),
            vsl_temp_setpoint_high_deg_c(card, &m_Error));
  EXPECT_LT(vsl_origin_ts(card, &m_Error), vsl_first_use_ts(card, &m_Error));
  EXPECT_LT(vsl_pcie_slot_power_watts(card, &m_Error), 25.0F);
}

TEST_P(EveryKind, HasWornAsMuchAsItsCountersSay) {
  StartWithCard(GetParam().id);
  void* card = Opened();
  const double rated = vsl_rated_endurance_tbytes(card, &m_Error) * 1099511627776.0;
  const double written = static_cast<double>(vsl_total_physical_bytes_written(card, &m_Error));
  const double remaining = static_cast<double>(vsl_rated_writes_remaining_percent(card, &m_Error));
  EXPECT_NEAR(100.0 - remaining, written * 100.0 / rated, 0.01);
}

TEST_P(EveryKind, HasEveryAttribute) {
  StartWithCard(GetParam().id);
  std::string absent;
#define NOTE_ABSENT(type, name) \
  if (File().Get("card0", #name) == "absent") absent += " " #name;
#define NOTE_ABSENT_FORMAT(type, name) NOTE_ABSENT(type, iom_format_##name)
  VSL_CARD_ATTRIBUTES(NOTE_ABSENT)
  VSL_FORMAT_ATTRIBUTES(NOTE_ABSENT_FORMAT)
  EXPECT_EQ("", absent);
}

TEST_P(EveryKind, CanBeAddedByItsName) {
  EXPECT_EQ("card0", File().AddCard(std::string(GetParam().profile)));
  EXPECT_EQ(std::to_string(GetParam().id), File().Get("card0", "pci_device_id"));
}

TEST_P(EveryKind, TakesTheTimeOfARealCard) {
  File().AddCard(GetParam().id);
  EXPECT_EQ("8000 4000 20000", File().Get("card0", "attach_ms") + " " +
                                   File().Get("card0", "detach_ms") + " " +
                                   File().Get("card0", "format_ms"));
}

INSTANTIATE_TEST_SUITE_P(Table, EveryKind, ::testing::ValuesIn(kKinds), [](const auto& row) {
  std::string name = row.param.profile;
  name.erase(5, 1);
  return name;
});

using Kinds = SimulatedCards;

TEST_F(Kinds, AreNine) {
  EXPECT_EQ(9U, CardSim::StateFile::Profiles().size());
}

TEST_F(Kinds, ForeignDeviceIdsAreCardsToo) {
  StartWithCard(0x9999);
  EXPECT_EQ(0x9999, vsl_pci_device_id(Opened(), &m_Error));
}

TEST_F(Kinds, AnUnknownNameIsRefused) {
  EXPECT_EQ("no kind of card flash-365; did you mean flash-365g?",
            ErrorOf([this] { File().AddCard(std::string("flash-365")); }));
}

TEST_F(Kinds, CardsAreToldApart) {
  std::string lines;
  for (int i = 0; i < 3; ++i) {
    const std::string card = File().AddCard(0x1003);
    lines += card;
    for (const char* attribute : {"device_path", "pci_bus", "pci_slot_num", "serial_number"}) {
      lines += " " + File().Get(card, attribute);
    }
    lines += "\n";
  }
  EXPECT_EQ(
      "card0 \"/dev/fct0\" 3 1 \"FA00000001\"\n"
      "card1 \"/dev/fct1\" 4 2 \"FA00000002\"\n"
      "card2 \"/dev/fct2\" 5 3 \"FA00000003\"\n",
      lines);
}

TEST_F(Kinds, ASuccessorInTheSlotHasASerialNumberOfItsOwn) {
  File().AddCard(0x1003);
  File().AddCard(0x1003);
  File().RemoveCard("card0");
  EXPECT_EQ("card0", File().AddCard(0x1003));
  EXPECT_EQ("\"/dev/fct0\"", File().Get("card0", "device_path"));
  EXPECT_EQ("\"FA00000003\"", File().Get("card0", "serial_number"));
}

TEST_F(Kinds, AHandleOfTheOldCardDoesNotOpenItsSuccessor) {
  StartWithCard();
  void* card = Named();
  File().RemoveCard("card0");
  File().AddCard(0x1003);
  EXPECT_EQ(3U, vsl_open(card, &m_Error));
  EXPECT_STREQ("the card is gone", m_Error.text);
}

}  // namespace
