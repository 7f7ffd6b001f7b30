#include "tests/cardsim/Fixture.h"

namespace {

class Handles : public SimulatedCards {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    StartWithCard();
  }
};

TEST_F(Handles, AreListedInOrderOfCreationUntilDestroyed) {
  void* card = OpenCard();
  void *adapter = nullptr, *format = nullptr, *attach = nullptr, *detach = nullptr;
  vsl_adapter_create(card, &adapter, &m_Error);
  vsl_iom_format_create(card, &format, &m_Error);
  vsl_iom_attach_create(card, &attach, &m_Error);
  vsl_iom_detach_create(card, &detach, &m_Error);
  EXPECT_EQ("card#1\nadapter#1\nformat#1\nattach#1\ndetach#1", Joined(CardSim::OpenHandles()));
  vsl_destroy(&format, nullptr);
  vsl_destroy(&adapter, nullptr);
  EXPECT_EQ("card#1\nattach#1\ndetach#1", Joined(CardSim::OpenHandles()));
}

TEST_F(Handles, AreNumberedByKind) {
  void* first = CreateCard();
  void* second = CreateCard();
  vsl_destroy(&first, nullptr);
  CreateCard();
  EXPECT_EQ("card#2\ncard#3", Joined(CardSim::OpenHandles()));
  EXPECT_EQ(0U, vsl_open(second, &m_Error));
}

TEST_F(Handles, AreNotListedForIterationsAndVolumes) {
  void *iterated = nullptr, *volume = nullptr;
  vsl_iom_iterate(&iterated, 1, &m_Error);
  void* card = CreateCard();
  ASSERT_TRUE(vsl_vsu_iterate(card, &volume, 1, &m_Error));
  EXPECT_EQ("card#1", Joined(CardSim::OpenHandles()));
  EXPECT_NE(0U, vsl_destroy(&volume, &m_Error));
  EXPECT_EQ("vsl_destroy volume#1: a volume is destroyed with its card's handle",
            Joined(CardSim::Misuse()));
}

TEST_F(Handles, ANullVariableMayBeDestroyed) {
  void* none = nullptr;
  EXPECT_EQ(0U, vsl_destroy(&none, &m_Error));
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

// A misuse of a handle, and the line that reports it.
struct MisuseCase {
  const char* name;
  void (*act)(void* card, void* err);
  const char* line;
};

vsl_error_record* Err(void* err) {
  return static_cast<vsl_error_record*>(err);
}

void DestroyTwice(void* card, void* err) {
  void* again = card;
  vsl_destroy(&card, Err(err));
  EXPECT_NE(0U, vsl_destroy(&again, Err(err)));
}
void UseAfterDestroy(void* card, void* err) {
  void* again = card;
  vsl_destroy(&card, Err(err));
  EXPECT_NE(0U, vsl_open(again, Err(err)));
}
void ReadUnopened(void* card, void* err) {
  EXPECT_STREQ("", vsl_board_name(card, Err(err)));
}
void QueryUnopened(void* card, void* err) {
  EXPECT_FALSE(vsl_has_iom_state(card, Err(err)));
}
void ReadClosed(void* card, void* err) {
  vsl_open(card, Err(err));
  vsl_close(card, Err(err));
  EXPECT_EQ(0U, vsl_pci_device_id(card, Err(err)));
}
void ReadNull(void*, void* err) {
  EXPECT_STREQ("", vsl_serial_number(nullptr, Err(err)));
}
void ReadUnknown(void*, void* err) {
  EXPECT_EQ(0U, vsl_size_bytes(err, Err(err)));
}
void QueryUnknown(void*, void* err) {
  EXPECT_FALSE(vsl_has_size_bytes(err, Err(err)));
}
void ReadCardAsFormat(void* card, void* err) {
  EXPECT_EQ(0U, vsl_iom_format_max_size_bytes(card, Err(err)));
}
void ReadLimitOfCard(void* card, void* err) {
  vsl_open(card, Err(err));
  EXPECT_EQ(0.0F, vsl_power_limit_watts(card, Err(err)));
}
void OpenTwice(void* card, void* err) {
  vsl_open(card, Err(err));
  EXPECT_NE(0U, vsl_open(card, Err(err)));
}
void CloseUnopened(void* card, void* err) {
  EXPECT_NE(0U, vsl_close(card, Err(err)));
}
void DestroyOpen(void* card, void* err) {
  vsl_open(card, Err(err));
  EXPECT_EQ(0U, vsl_destroy(&card, Err(err)));
}
void AdapterFromUnopened(void* card, void* err) {
  void* adapter = nullptr;
  EXPECT_NE(0U, vsl_adapter_create(card, &adapter, Err(err)));
  EXPECT_EQ(nullptr, adapter);
}
void CallAfterFini(void* card, void* err) {
  vsl_fini();
  EXPECT_NE(0U, vsl_open(card, Err(err)));
}
void UseAfterRestart(void* card, void* err) {
  vsl_fini();
  vsl_init(0, Err(err));
  EXPECT_EQ(0U, vsl_destroy(&card, Err(err)));
}
void StartCard(void* card, void* err) {
  EXPECT_NE(0U, vsl_op_start(card, Err(err)));
}
void OpenNull(void*, void* err) {
  EXPECT_NE(0U, vsl_open(nullptr, Err(err)));
}
void CreateIntoNull(void*, void* err) {
  EXPECT_NE(0U, vsl_iom_create_by_name("/dev/fct0", nullptr, Err(err)));
}
void DestroyNullVariable(void*, void* err) {
  EXPECT_NE(0U, vsl_destroy(nullptr, Err(err)));
}
void UseVolumeOfDestroyedCard(void* card, void* err) {
  void* volume = nullptr;
  vsl_vsu_iterate(card, &volume, 1, Err(err));
  vsl_destroy(&card, Err(err));
  EXPECT_EQ(0U, vsl_vsu_state(volume, Err(err)));
}
void UseAfterNextIteration(void*, void* err) {
  void* iterated = nullptr;
  vsl_iom_iterate(&iterated, 1, Err(err));
  void* old = iterated;
  vsl_iom_iterate(&iterated, 1, Err(err));
  EXPECT_FALSE(vsl_has_serial_number(old, Err(err)));
}

const MisuseCase kMisuseCases[] = {
    {"DestroyTwice", DestroyTwice, "vsl_destroy card#1: destroyed twice"},
    {"UseAfterDestroy", UseAfterDestroy, "vsl_open card#1: used after being destroyed"},
    {"ReadUnopened", ReadUnopened, "vsl_board_name card#1: the card is not open"},
    {"QueryUnopened", QueryUnopened, "vsl_has_iom_state card#1: the card is not open"},
    {"ReadClosed", ReadClosed, "vsl_pci_device_id card#1: the card is not open"},
    {"ReadNull", ReadNull, "vsl_serial_number null: null handle"},
    {"ReadUnknown", ReadUnknown, "vsl_size_bytes unknown: not a handle of this library"},
    {"QueryUnknown", QueryUnknown, "vsl_has_size_bytes unknown: not a handle of this library"},
    {"ReadCardAsFormat", ReadCardAsFormat,
     "vsl_iom_format_max_size_bytes card#1: wrong kind of handle"},
    {"ReadLimitOfCard", ReadLimitOfCard, "vsl_power_limit_watts card#1: wrong kind of handle"},
    {"OpenTwice", OpenTwice, "vsl_open card#1: opened twice"},
    {"CloseUnopened", CloseUnopened, "vsl_close card#1: closed but not open"},
    {"DestroyOpen", DestroyOpen, "vsl_destroy card#1: destroyed while open"},
    {"AdapterFromUnopened", AdapterFromUnopened, "vsl_adapter_create card#1: the card is not open"},
    {"CallAfterFini", CallAfterFini, "vsl_open: called after vsl_fini"},
    {"UseAfterRestart", UseAfterRestart, "vsl_destroy card#1: created before vsl_fini"},
    {"StartCard", StartCard, "vsl_op_start card#1: wrong kind of handle"},
    {"OpenNull", OpenNull, "vsl_open null: null handle"},
    {"CreateIntoNull", CreateIntoNull, "vsl_iom_create_by_name null: null handle variable"},
    {"DestroyNullVariable", DestroyNullVariable, "vsl_destroy null: null handle variable"},
    {"UseVolumeOfDestroyedCard", UseVolumeOfDestroyedCard,
     "vsl_vsu_state volume#1: used after being destroyed"},
    {"UseAfterNextIteration", UseAfterNextIteration,
     "vsl_has_serial_number iterated#1: used after being destroyed"},
};

class MisusedHandles : public Handles, public ::testing::WithParamInterface<MisuseCase> {};

TEST_P(MisusedHandles, AreReported) {
  void* card = CreateCard();
  GetParam().act(card, &m_Error);
  EXPECT_EQ(GetParam().line, Joined(CardSim::Misuse()));
}

INSTANTIATE_TEST_SUITE_P(Table, MisusedHandles, ::testing::ValuesIn(kMisuseCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Handles, AReadOfAnAbsentAttributeIsMisuse) {
  File().MakeAbsent("card0", "board_name");
  File().MakeAbsent("card0", "reserve_space_pct");
  void* card = OpenCard();
  EXPECT_STREQ("", vsl_board_name(card, &m_Error));
  EXPECT_EQ(0U, vsl_reserve_status(card, &m_Error));
  EXPECT_EQ(
      "vsl_board_name card#1: the attribute is absent\n"
      "vsl_reserve_status card#1: the attribute is absent",
      Joined(CardSim::Misuse()));
}

TEST_F(Handles, SomeAttributesAreReadableBeforeOpen) {
  void* card = CreateCard();
  EXPECT_TRUE(vsl_has_rated_endurance_tbytes(card, &m_Error));
  EXPECT_EQ(8200U, vsl_rated_endurance_tbytes(card, &m_Error));
  EXPECT_EQ(74.0F, vsl_rated_writes_remaining_percent(card, &m_Error));
  EXPECT_NE(0U, vsl_total_physical_bytes_read(card, &m_Error));
  EXPECT_NE(0U, vsl_total_physical_bytes_written(card, &m_Error));
  EXPECT_EQ(98.9F, vsl_reserve_space_pct(card, &m_Error));
  EXPECT_TRUE(vsl_has_beacon_state(card, &m_Error));
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

TEST_F(Handles, SerialNumberIsReadableBeforeOpenOnlyOnIteratedCards) {
  void* iterated = nullptr;
  vsl_iom_iterate(&iterated, 1, &m_Error);
  EXPECT_STREQ("FA00000001", vsl_serial_number(iterated, &m_Error));
  EXPECT_EQ("", Joined(CardSim::Misuse()));
  EXPECT_FALSE(vsl_has_serial_number(CreateCard(), &m_Error));
  EXPECT_EQ("vsl_has_serial_number card#1: the card is not open", Joined(CardSim::Misuse()));
}

TEST_F(Handles, ASecondFiniIsNotMisuse) {
  vsl_fini();
  vsl_fini();
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

TEST_F(Handles, AreUnknownAfterAReset) {
  void* card = CreateCard();
  CardSim::Reset();
  CreateCard();
  EXPECT_NE(0U, vsl_open(card, &m_Error));
  EXPECT_EQ("vsl_open unknown: not a handle of this library", Joined(CardSim::Misuse()));
}

}  // namespace
