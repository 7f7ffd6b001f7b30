#include <set>

#include "tests/cardsim/Fixture.h"

namespace {

struct Kind {
  std::uint16_t id;
  const char* profile;
  const char* board;
  const char* product;
  const char* software;      // driver version; firmware version as text and as four numbers
  std::uint64_t bytes;       // a multiple of 8192
  std::uint64_t overformat;  // the maximum size with overformatting, or 0
  const char* sectors;       // current, minimum and maximum sector size
  int endurance;             // rated writes in units of 2^40 bytes
  const char* remaining;     // percent of the rated writes
  const char* reserve;       // percent
  const char* temperature;   // degrees Celsius
  const char* power;         // watts at the slot
  const char* external;      // power requirement, and whether it is connected
  const char* times;         // origin and first use, in seconds since the epoch
};

constexpr const char* kOlder = "3.4.9 build 1187; v6.3.11 6 3 11 10957";
constexpr const char* kNewer = "4.1.6 build 2203; v9.2.4 9 2 4 20418";

const Kind kKinds[] = {
    {0x1000, "flash-365g", "Flash Adapter 365GB", "Flash Adapter G1", kOlder, 364999999488u,
     401499996160u, "512 512 4096", 4000, "61.5", "97.2", "48.2", "11.4", "0 false",
     "1331035200 1334145600"},
    {0x1003, "flash-785g", "Flash Adapter 785GB", "Flash Adapter G2", kOlder, 784999997440u,
     863499993088u, "512 512 4096", 8200, "74", "98.9", "51.7", "14.8", "1 false",
     "1352937600 1355270400"},
    {0x1005, "flash-825g", "Flash Adapter 825GB", "Flash Adapter G2", kOlder, 824999993344u,
     907499986944u, "4096 512 4096", 9000, "88.3", "100", "46.8", "13.9", "0 false",
     "1378857600 1380672000"},
    {0x1006, "flash-1300g", "Flash Adapter 1.3TB", "Flash Adapter G3", kOlder, 1299999997952u,
     1429999992832u, "512 512 8192", 16000, "92.4", "100", "49.4", "16.3", "1 false",
     "1397692800 1400198400"},
    {0x1007, "flash-1650g", "Flash Adapter 1.65TB", "Flash Adapter G3", kOlder, 1649999994880u, 0u,
     "4096 512 8192", 20300, "90.1", "99.6", "53.1", "17.5", "1 false", "1403049600 1405987200"},
    {0x1008, "flash-3200g", "Flash Adapter 3.2TB", "Flash Adapter G3", kOlder, 3200000000000u, 0u,
     "4096 512 8192", 37000, "95.7", "100", "55.6", "21.2", "2 true", "1417651200 1421280000"},
    {0x2001, "flash-2400g", "Flash Adapter 2.4TB", "Flash Duo Adapter", kOlder, 2400000000000u,
     2640000000000u, "512 512 4096", 28400, "83.6", "99.1", "57.9", "23.7", "2 true",
     "1363046400 1366070400"},
    {0x3001, "flash-2600g", "Flash Adapter 2.6TB", "Flash Adapter G4", kNewer, 2599999995904u, 0u,
     "4096 512 4096", 32000, "97.8", "100", "44.5", "18.6", "1 false", "1443571200 1446508800"},
    {0x3002, "flash-5200g", "Flash Adapter 5.2TB", "Flash Adapter G4", kNewer, 5200000000000u, 0u,
     "4096 512 4096", 64000, "99.2", "100", "45.9", "22.4", "1 false", "1452556800 1456790400"},
};

class EveryKind : public SimulatedCards, public ::testing::WithParamInterface<Kind> {
 protected:
  // Returns the values of card0, with strings unquoted.
  std::string Values(const std::vector<const char*>& attributes) {
    std::string text;
    for (const char* attribute : attributes) {
      std::string value = File().Get("card0", attribute);
      if (value.front() == '"') value = value.substr(1, value.size() - 2);
      text += (text.empty() ? "" : " ") + value;
    }
    return text;
  }
};

TEST_P(EveryKind, HasTheIdentityOfItsTableRow) {
  File().AddCard(GetParam().id);
  EXPECT_EQ(GetParam().board, Values({"board_name"}));
  EXPECT_EQ(GetParam().product, Values({"product_name"}));
  EXPECT_EQ(GetParam().software,
            Values({"driver_version"}) + "; " +
                Values({"fw_current_version", "fw_current_major_ver", "fw_current_minor_ver",
                        "fw_current_micro_ver", "fw_current_revision"}));
  EXPECT_EQ(GetParam().times, Values({"origin_ts", "first_use_ts"}));
}

TEST_P(EveryKind, HasTheSizesOfItsTableRow) {
  File().AddCard(GetParam().id);
  const std::string bytes = std::to_string(GetParam().bytes);
  EXPECT_EQ(bytes + " " + bytes + " " + bytes + " " + bytes + " 100",
            Values({"factory_size_bytes", "size_bytes", "iom_format_size_bytes",
                    "iom_format_max_size_bytes", "iom_format_size_pct"}));
  EXPECT_EQ(std::string(GetParam().sectors) + " 512 true",
            Values({"sector_size_bytes", "iom_format_min_sector_size_bytes",
                    "iom_format_max_sector_size_bytes", "iom_format_sector_size_multiplier",
                    "iom_format_power_of_two_sector_size"}));
  const auto overformat = GetParam().overformat;
  EXPECT_EQ(
      overformat == 0 ? "true false absent" : "false true " + std::to_string(overformat),
      Values({"iom_format_disallow_overformat", "iom_format_size_mode", "overformat_size_bytes"}));
}

TEST_P(EveryKind, HasTheWearAndPowerOfItsTableRow) {
  File().AddCard(GetParam().id);
  // JSON writes a float with a fraction.
  const auto number = [](std::string text) {
    return text.find('.') == std::string::npos ? text + ".0" : text;
  };
  EXPECT_EQ(std::to_string(GetParam().endurance), Values({"rated_endurance_tbytes"}));
  EXPECT_EQ(number(GetParam().remaining), Values({"rated_writes_remaining_percent"}));
  EXPECT_EQ(number(GetParam().reserve), Values({"reserve_space_pct"}));
  EXPECT_EQ(number(GetParam().temperature), Values({"temp_internal_deg_c"}));
  EXPECT_EQ(number(GetParam().power), Values({"pcie_slot_power_watts"}));
  EXPECT_EQ(GetParam().external,
            Values({"external_power_requirement", "external_power_connected"}));
}

TEST_P(EveryKind, IsHealthyAndIdle) {
  File().AddCard(GetParam().id);
  EXPECT_EQ("2 0 0 0 0 0 0 0 false false",
            Values({"iom_state", "minimal_mode_reason", "write_throttling_state",
                    "write_throttling_reason", "current_errors", "current_warnings", "current_info",
                    "reserve_status", "beacon_state", "in_use"}));
  EXPECT_EQ("10.0 78.0 85.0 24.75",
            Values({"reserve_warning_threshold_percent", "temp_internal_warn_deg_c",
                    "temp_setpoint_high_deg_c", "power_limit_watts"}));
  EXPECT_EQ(R"([{"state":1,"settable":true}])", Values({"volumes"}));
}

TEST_P(EveryKind, IsConsistent) {
  StartWithCard(GetParam().id);
  void* card = OpenCard();
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

TEST_P(EveryKind, HasWearThatMatchesItsCounters) {
  StartWithCard(GetParam().id);
  void* card = OpenCard();
  const double rated = vsl_rated_endurance_tbytes(card, &m_Error) * 1099511627776.0;
  const double written = static_cast<double>(vsl_total_physical_bytes_written(card, &m_Error));
  const double remaining = static_cast<double>(vsl_rated_writes_remaining_percent(card, &m_Error));
  EXPECT_NEAR(100.0 - remaining, written * 100.0 / rated, 0.01);
  const double read = static_cast<double>(vsl_total_physical_bytes_read(card, &m_Error));
  EXPECT_NEAR(1.5, read / written, 0.0001);
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

TEST_P(EveryKind, HasRealisticJobDurations) {
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

TEST_F(Kinds, HaveARowForEachShippedProfile) {
  std::set<std::string> rows;
  for (const Kind& kind : kKinds) rows.insert(kind.profile);
  for (const std::string& name : CardSim::StateFile::Profiles()) {
    EXPECT_EQ(1U, rows.erase(name)) << name << " has no row in tests/cardsim/ProfilesTest.cpp";
  }
  EXPECT_TRUE(rows.empty()) << *rows.begin() << " is not in cardsim/profiles";
}

TEST_F(Kinds, UnknownDeviceIdsAreAccepted) {
  StartWithCard(0x9999);
  EXPECT_EQ(0x9999, vsl_pci_device_id(OpenCard(), &m_Error));
}

TEST_F(Kinds, AnUnknownNameIsRejected) {
  EXPECT_EQ("unknown kind of card flash-365; did you mean flash-365g?",
            ErrorOf([this] { File().AddCard(std::string("flash-365")); }));
}

TEST_F(Kinds, CardsAreDistinguishable) {
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

TEST_F(Kinds, ANewCardInTheSlotHasANewSerialNumber) {
  File().AddCard(0x1003);
  File().AddCard(0x1003);
  File().RemoveCard("card0");
  EXPECT_EQ("card0", File().AddCard(0x1003));
  EXPECT_EQ("\"/dev/fct0\"", File().Get("card0", "device_path"));
  EXPECT_EQ("\"FA00000003\"", File().Get("card0", "serial_number"));
}

TEST_F(Kinds, AHandleOfTheOldCardDoesNotOpenTheNewOne) {
  StartWithCard();
  void* card = CreateCard();
  File().RemoveCard("card0");
  File().AddCard(0x1003);
  EXPECT_EQ(3U, vsl_open(card, &m_Error));
  EXPECT_STREQ("the card has been removed", m_Error.text);
}

}  // namespace
