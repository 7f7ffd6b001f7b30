#include <cstdio>

#include "tests/cardsim/Fixture.h"

namespace {

// A value for attributes of a C type: the largest or smallest one for integers.
struct TypeLimits {
  std::string given;     // as passed to `Set`
  std::string read;      // as read from the library
  std::string rejected;  // a value that the type cannot hold
};

template <typename T>
TypeLimits LimitsOf();
template <>
TypeLimits LimitsOf<const char*>() {
  return {"\"a \\\"b\\\"\"", "a \"b\"", "\"zero\\u0000byte\""};
}
template <>
TypeLimits LimitsOf<bool>() {
  return {"true", "true", "1"};
}
template <>
TypeLimits LimitsOf<uint8_t>() {
  return {"255", "255", "256"};
}
template <>
TypeLimits LimitsOf<uint16_t>() {
  return {"65535", "65535", "65536"};
}
template <>
TypeLimits LimitsOf<uint32_t>() {
  return {"4294967295", "4294967295", "4294967296"};
}
template <>
TypeLimits LimitsOf<uint64_t>() {
  return {"18446744073709551615", "18446744073709551615", "18446744073709551616"};
}
template <>
TypeLimits LimitsOf<int32_t>() {
  return {"-2147483648", "-2147483648", "-2147483649"};
}
template <>
TypeLimits LimitsOf<float>() {
  return {"36.25", "36.25", "1e39"};
}

std::string Render(const char* value) {
  return value;
}
std::string Render(bool value) {
  return value ? "true" : "false";
}
std::string Render(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
  return text;
}
template <typename T>
std::string Render(T value) {
  return std::to_string(value);
}

enum class Owner { Card, Adapter, Format };

struct Row {
  const char* name;
  Owner owner;
  TypeLimits limits;
  bool (*has)(void*, vsl_error_record*);
  std::string (*read)(void*, vsl_error_record*);
};

#define CARD_ROW(type, name)                                                           \
  Row{#name, std::string(#name) == "power_limit_watts" ? Owner::Adapter : Owner::Card, \
      LimitsOf<type>(), vsl_has_##name,                                                \
      [](void* handle, vsl_error_record* err) { return Render(vsl_##name(handle, err)); }},
#define FORMAT_ROW(type, name)                                                         \
  Row{"iom_format_" #name, Owner::Format, LimitsOf<type>(), vsl_iom_format_has_##name, \
      [](void* handle, vsl_error_record* err) {                                        \
        return Render(vsl_iom_format_##name(handle, err));                             \
      }},

std::vector<Row> Rows() {
  return {VSL_CARD_ATTRIBUTES(CARD_ROW) VSL_FORMAT_ATTRIBUTES(FORMAT_ROW)};
}

class EveryAttribute : public SimulatedCards, public ::testing::WithParamInterface<Row> {
 protected:
  // Creates the handle before the test changes attributes, which include the device path.
  void SetUp() override {
    SimulatedCards::SetUp();
    StartWithCard();
    m_Card = CreateCard();
  }

  void* Handle() {
    EXPECT_EQ(0U, vsl_open(m_Card, &m_Error));
    void* handle = m_Card;
    if (GetParam().owner == Owner::Adapter) vsl_adapter_create(m_Card, &handle, &m_Error);
    if (GetParam().owner == Owner::Format) vsl_iom_format_create(m_Card, &handle, &m_Error);
    return handle;
  }

  void* m_Card = nullptr;
};

TEST_P(EveryAttribute, ReturnsTheValueThatWasSet) {
  File().Set("card0", GetParam().name, GetParam().limits.given);
  void* handle = Handle();
  EXPECT_TRUE(GetParam().has(handle, &m_Error));
  EXPECT_EQ(GetParam().limits.read, GetParam().read(handle, &m_Error));
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

TEST_P(EveryAttribute, RejectsAnInvalidValue) {
  const std::string before = Slurp();
  const auto set = [&] { File().Set("card0", GetParam().name, GetParam().limits.rejected); };
  EXPECT_EQ(0U, ErrorOf(set).find(std::string(GetParam().name) + ": must ")) << ErrorOf(set);
  EXPECT_EQ(before, Slurp());
}

TEST_P(EveryAttribute, CanBeAbsent) {
  File().MakeAbsent("card0", GetParam().name);
  void* handle = Handle();
  EXPECT_FALSE(GetParam().has(handle, &m_Error));
  EXPECT_EQ("", Joined(CardSim::Misuse()));
  EXPECT_EQ("absent", File().Get("card0", GetParam().name));
}

TEST_P(EveryAttribute, HasAcceptsANullHandle) {
  EXPECT_FALSE(GetParam().has(nullptr, &m_Error));
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

INSTANTIATE_TEST_SUITE_P(Table, EveryAttribute, ::testing::ValuesIn(Rows()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(AttributeRows, CoverAll49Attributes) {
  EXPECT_EQ(49U, Rows().size());
}

using Attributes = SimulatedCards;

TEST_F(Attributes, WithoutAHasFunctionAreReadable) {
  StartWithCard();
  File().Set("card0", "pci_device_id", "0xBEEF");
  File().Set("card0", "reserve_status", "2");
  void* card = OpenCard();
  EXPECT_EQ(0xBEEF, vsl_pci_device_id(card, &m_Error));
  EXPECT_EQ(2U, vsl_reserve_status(card, &m_Error));
}

TEST_F(Attributes, HasSizeModeReflectsTheCard) {
  StartWithCard();
  for (const bool expected : {true, false}) {
    File().Set("card0", "iom_format_size_mode", expected ? "true" : "false");
    void* card = CreateCard();
    void* format = nullptr;
    ASSERT_EQ(0U, vsl_iom_format_create(card, &format, &m_Error));
    EXPECT_EQ(expected, vsl_iom_format_has_size_mode(format, &m_Error));
  }
  EXPECT_FALSE(vsl_iom_format_has_size_mode(nullptr, &m_Error));
}

TEST_F(Attributes, StringsStayValidDuringCallsWithAnotherHandle) {
  StartWithCard();
  void* card = OpenCard();
  const char* serial = vsl_serial_number(card, &m_Error);
  File().Set("card0", "serial_number", "OTHER");
  void* other = OpenCard();
  EXPECT_STREQ("OTHER", vsl_serial_number(other, &m_Error));
  EXPECT_STREQ("FA00000001", serial);
}

TEST_F(Attributes, DoNotChangeWhileTheCardIsOpen) {
  StartWithCard();
  void* card = OpenCard();
  File().Set("card0", "temp_internal_deg_c", "90");
  EXPECT_EQ(51.7F, vsl_temp_internal_deg_c(card, &m_Error));
  vsl_close(card, &m_Error);
  vsl_open(card, &m_Error);
  EXPECT_EQ(90.0F, vsl_temp_internal_deg_c(card, &m_Error));
}

TEST_F(Attributes, StatusMasksChangeWhileTheCardIsOpen) {
  StartWithCard();
  void* card = OpenCard();
  EXPECT_EQ(0U, vsl_current_warnings(card, &m_Error));
  File().Raise("card0", "PCI_OVERPOWER");
  EXPECT_EQ(0x200U, vsl_current_warnings(card, &m_Error));
  EXPECT_EQ(0U, vsl_current_errors(card, &m_Error));
}

TEST_F(Attributes, AreReadableThroughAHandleAfterTheCardIsRemoved) {
  StartWithCard();
  void* card = OpenCard();
  File().RemoveCard("card0");
  EXPECT_EQ(0U, vsl_current_warnings(card, &m_Error));
  EXPECT_STREQ("FA00000001", vsl_serial_number(card, &m_Error));
}

}  // namespace
