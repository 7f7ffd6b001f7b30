// The names and effective states of cards, from the plug-in's report and the records of the cards.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Corvane/Src/PciIdentities.h"
#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "console/model/Model.h"
#include "console/plugin/CardDevices.h"
#include "hostkit/ValueTypes.h"

namespace {

namespace P = PI::Property;
namespace V = PI::Value;

using Console::CardRecords;
using Console::KnownCard;
using Console::Model;

constexpr std::uint64_t kSeen = 1'800'000'000'000;  // 2027-01-15T08:00:00Z

void AddText(PI::CObject& object, PI::_PROPERTY_ID id, const std::string& text) {
  PI::CProperty property(id, false);
  property.SetValue(text);
  object.m_Properties.push_back(property);
}

void AddChoice(PI::CObject& object, PI::_PROPERTY_ID id, int value) {
  PI::CProperty property(id, false);
  property.m_ValueType = HostKit::VALUE_TYPE_CHOICE;
  property.m_Value.m_Choice.m_Value = value;
  object.m_Properties.push_back(property);
}

// A card as the plug-in reports it.
struct Reported {
  std::string m_Serial;
  int m_Status = V::OK;
  std::vector<int> m_Reasons = {V::ATTACHED};
  int m_Activity = V::IDLE;
  int m_DriveStatus = V::AVAILABLE;
};

// Returns the plug-in, and for each card an adapter and a drive.
std::vector<PI::CObject> TopologyOf(const std::vector<Reported>& cards) {
  std::vector<PI::CObject> objects(1);
  objects[0].m_ObjectType = PI::OBJECT_PLUGIN;
  std::uint64_t id = 0;
  for (const Reported& card : cards) {
    PI::CObject adapter;
    adapter.m_ID = ++id;
    adapter.m_ObjectType = PI::OBJECT_ADAPTER;
    if (!card.m_Serial.empty()) AddText(adapter, P::SERIAL_NUMBER, card.m_Serial);
    AddChoice(adapter, P::STATUS, card.m_Status);
    AddChoice(adapter, P::ACTIVITY, card.m_Activity);
    PI::CProperty reasons(P::ADDITIONAL_STATUS, false);
    std::vector<int> values = card.m_Reasons, allowed = card.m_Reasons;
    reasons.SetValue(values, allowed);
    adapter.m_Properties.push_back(reasons);
    PI::CObject drive;
    drive.m_ID = ++id;
    drive.m_ObjectType = PI::OBJECT_PHYSICAL_DRIVE;
    drive.m_Parents = {adapter.m_ID};
    AddChoice(drive, P::STATUS, card.m_DriveStatus);
    objects.push_back(adapter);
    objects.push_back(drive);
  }
  return objects;
}

KnownCard Known(const std::string& serial, std::int64_t position, const std::string& address = "") {
  KnownCard card;
  card.m_SerialNumber = serial;
  card.m_Position = position;
  card.m_LastSeen = kSeen;
  card.m_PciAddress = address;
  return card;
}

// Renders the adapters in order, such as "a0=S1 OK, a1=- MISSING".
std::string Cards(const std::vector<Reported>& cards, const CardRecords& records) {
  const Model model(TopologyOf(cards), {}, records);
  std::string text;
  for (const Console::Object& object : model.Objects()) {
    if (object.m_Kind != Console::Kind::Adapter) continue;
    text += (text.empty() ? "" : ", ") + object.m_Selector + "=" +
            BareText(ReadField(object, "serial_number")) + " " +
            BareText(ReadField(object, "status"));
  }
  return text;
}

// Renders the statuses of one card and its drive, such as "OK, AVAILABLE".
std::string Statuses(const Reported& card, const CardRecords& records = {}) {
  const Model model(TopologyOf({card}), {}, records);
  return BareText(ReadField(model.Objects()[1], "status")) + ", " +
         BareText(ReadField(model.Objects()[2], "status"));
}

TEST(CardNames, WithoutRecordsFollowThePlugin) {
  EXPECT_EQ("a0=S2 OK, a1=S1 OK", Cards({{"S2"}, {"S1"}}, {}));
}

TEST(CardNames, BelongToTheSerialNumberOfAKnownCard) {
  CardRecords records;
  records.m_Known = {Known("S1", 0), Known("S2", 1), Known("S3", 4)};
  EXPECT_EQ("a0=S1 MISSING, a1=S2 MISSING, a4=S3 OK", Cards({{"S3"}}, records));
  EXPECT_EQ("a0=S1 OK, a1=S2 MISSING, a4=S3 OK", Cards({{"S3"}, {"S1"}}, records));
}

TEST(CardNames, OfNewCardsFollowAllKnownOnes) {
  CardRecords records;
  records.m_Known = {Known("S1", 0), Known("S2", 1)};
  records.m_NextPosition = 3;  // a card at position 2 was forgotten
  EXPECT_EQ("a0=S1 MISSING, a1=S2 OK, a3=S9 OK, a4=- OK", Cards({{""}, {"S9"}, {"S2"}}, records));
}

TEST(CardNames, ASecondCardWithTheSameSerialNumberIsNew) {
  CardRecords records;
  records.m_Known = {Known("S1", 0)};
  EXPECT_EQ("a0=S1 OK, a1=S1 OK", Cards({{"S1"}, {"S1"}}, records));
}

TEST(MissingCard, KeepsItsPlaceAndTheTimeOfItsLastSighting) {
  CardRecords records;
  records.m_Known = {Known("S1", 0, "0001:3b:02.1")};
  records.m_Known[0].m_Slot = 7;
  const Model model(TopologyOf({}), {}, records);
  ASSERT_EQ(2U, model.Objects().size());
  const Console::Object& card = model.Objects()[1];
  EXPECT_EQ("0001:3b:02.1", FieldText(card, "pci_address"));
  EXPECT_EQ("1 59 2 1 7", FieldText(card, "pci_segment") + " " + FieldText(card, "pci_bus") + " " +
                              FieldText(card, "pci_device") + " " +
                              FieldText(card, "pci_function") + " " + FieldText(card, "pci_slot"));
  EXPECT_EQ("2027-01-15T08:00:00+00:00", FieldText(card, "last_seen_at"));
  EXPECT_EQ("-", IdText(card));
  EXPECT_EQ("Card missing: last seen 2027-01-15T08:00:00+00:00 at PCI 0001:3b:02.1, slot 7",
            ReasonText(HealthOf(card).m_Reasons.at(0), false));
}

TEST(UnreadableCard, IsTheKnownCardWithItsSerialNumberOrAtItsAddress) {
  CardRecords records;
  records.m_Known = {Known("S1", 0, "0000:03:00.0"), Known("S2", 1, "0000:04:00.0")};
  records.m_Unreadable = {{"S2", "", "not responding"}};
  EXPECT_EQ("a0=S1 MISSING, a1=S2 UNREADABLE", Cards({}, records));
  records.m_Unreadable = {{"", "0000:03:00.0", "cannot be opened"}};
  EXPECT_EQ("a0=S1 UNREADABLE, a1=S2 MISSING", Cards({}, records));
  records.m_Unreadable = {{"", "0000:05:00.0", "cannot be opened"}};
  EXPECT_EQ("a0=S1 MISSING, a1=S2 MISSING, a2=- UNREADABLE", Cards({}, records));
}

TEST(EffectiveStatus, CombinesTheReportWithTheRecords) {
  const struct {
    const char* m_What;
    Reported m_Card;
    const char* m_Statuses;
  } rows[] = {
      {"healthy", {"S"}, "OK, AVAILABLE"},
      {"detached", {"S", V::WARNING, {V::DETACHED}}, "DETACHED, DETACHED"},
      {"detached and hot",
       {"S", V::WARNING, {V::DETACHED, V::TEMPERATURE_ABOVE_WARN}},
       "WARNING, DETACHED"},
      {"detached and failed", {"S", V::FAILED, {V::DETACHED}}, "FAILED, DETACHED"},
      {"hot", {"S", V::WARNING, {V::ATTACHED, V::TEMPERATURE_ABOVE_WARN}}, "WARNING, AVAILABLE"},
      {"attaching", {"S", V::WARNING, {}, V::ATTACHING}, "WARNING, AVAILABLE"},
      {"busy", {"S", V::WARNING, {}, V::BUSY}, "WARNING, FORMATTING"},
      {"failing drive",
       {"S", V::WARNING, {V::DETACHED}, V::IDLE, V::AVAILABLE_SMART},
       "DETACHED, AVAILABLE_SMART"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.m_Statuses, Statuses(row.m_Card)) << row.m_What;
}

TEST(EffectiveStatus, OfADriveIsFormattingWhileAJobRuns) {
  CardRecords records;
  records.m_Formatting = {"S"};
  EXPECT_EQ("DETACHED, FORMATTING", Statuses({"S", V::WARNING, {V::DETACHED}}, records));
  EXPECT_EQ("OK, AVAILABLE", Statuses({"T"}, records));
}

TEST(EffectiveStatus, OfACardThatDoesNotRespondIsUnreadable) {
  CardRecords records;
  records.m_Unreadable = {{"S", "", "the card is not responding"}};
  EXPECT_EQ("UNREADABLE, UNREADABLE", Statuses({"S"}, records));
  const Model model(TopologyOf({{"S"}}), {}, records);
  EXPECT_EQ("OK", FieldText(model.Objects()[1], "plugin_status"));
  EXPECT_EQ("the card is not responding", FieldText(model.Objects()[1], "unreadable_reason"));
}

TEST(LocateLed, IsUnknownForACardThatCannotBeRead) {
  const std::vector<PI::CObject> topology = TopologyOf({{"S1"}, {"S2"}, {"S3"}, {"S4"}});
  std::vector<std::uint64_t> ids;
  for (const PI::CObject& object : topology) {
    if (object.m_ObjectType == PI::OBJECT_ADAPTER) ids.push_back(object.m_ID);
  }
  CardRecords records;
  records.m_LocateLeds = {{ids.at(0), true}, {ids.at(1), false}, {ids.at(3), true}};
  records.m_Unreadable = {{"S4", "", "not responding"}};
  const Model model(topology, {}, records);
  std::string states;
  for (const Console::Object& object : model.Objects()) {
    if (object.m_Kind != Console::Kind::Adapter) continue;
    states += FieldText(object, "serial_number") + "=" + FieldText(object, "locate_led") + " ";
  }
  EXPECT_EQ("S1=ON S2=OFF S3= S4= ", states);
}

TEST(WorstFirst, OrdersCardsByStatusAndThenByPosition) {
  CardRecords records;
  records.m_Known = {Known("S1", 0), Known("S2", 1), Known("S3", 2),
                     Known("S4", 3), Known("S5", 4), Known("S6", 5)};
  records.m_Unreadable = {{"S4", "", "not responding"}};
  const Model model(TopologyOf({{"S1"},
                                {"S2", V::WARNING, {V::DETACHED}},
                                {"S3", V::FAILED, {}},
                                {"S5", V::WARNING, {V::TEMPERATURE_ABOVE_WARN}}}),
                    {}, records);
  std::string order;
  for (const Console::Object* object : WorstFirst(model)) order += object->m_Selector + " ";
  EXPECT_EQ("a5 a3 a2 a2/d0 a4 a4/d0 a1 a1/d0 a0 a0/d0 ", order);
}

TEST(CardDevices, GetTheAddressesThatThePluginDoesNotReport) {
  std::vector<std::string> devices = {"0000:05:00.0", "0000:06:00.0", "0000:07:00.0"};
  const auto cards = Console::UnreadableCards({{"S1", "/dev/fct0", "x", false},
                                               {"S2", "/dev/fct1", "y", true},
                                               {"", "", "no card can be listed", false},
                                               {"", "/dev/fct2", "z", true}},
                                              devices);
  ASSERT_EQ(3U, cards.size());
  EXPECT_EQ("", cards[0].m_PciAddress);
  EXPECT_EQ("0000:05:00.0", cards[1].m_PciAddress);
  EXPECT_EQ("0000:06:00.0", cards[2].m_PciAddress);
  EXPECT_EQ((std::vector<std::string>{"0000:07:00.0"}), devices);
}

// The host does not include the plug-in, so both have a list.
TEST(CardDevices, AreThoseOfThePlugin) {
  std::vector<std::string> identities;
  for (const auto& family : NAMESPACE_Corvane::kDeviceFamilies) {
    NAMESPACE_Corvane::AppendIdentities(family, identities);
  }
  EXPECT_EQ(identities, Console::CardIdentities());
}

}  // namespace
