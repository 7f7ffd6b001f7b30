// Objects, operations, events and adapter identities as values.
#include <gtest/gtest.h>

#include "host/PluginInterface.h"

namespace {

PI::CObject FilledObject() {
  PI::CObject object;
  object.m_ID = 0x0130000000000007;
  object.m_ObjectType = PI::OBJECT_ADAPTER;
  object.m_Parents = {1};
  object.m_Children = {2, 3};
  object.m_ChangeCount = 4;
  object.m_Locked = true;
  object.m_Properties.emplace_back(PI::Property::NAME, false);
  object.m_Operations.emplace_back();
  object.m_Operations[0].m_OperationID = PI::OP_ATTACH;
  return object;
}

void ExpectFilled(const PI::CObject& object) {
  EXPECT_EQ(object.m_ID, 0x0130000000000007U);
  EXPECT_EQ(object.m_ObjectType, PI::OBJECT_ADAPTER);
  EXPECT_EQ(object.m_Parents, std::vector<std::uint64_t>{1});
  EXPECT_EQ(object.m_Children, (std::vector<std::uint64_t>{2, 3}));
  EXPECT_EQ(object.m_ChangeCount, 4U);
  EXPECT_TRUE(object.m_Locked);
  ASSERT_EQ(object.m_Properties.size(), 1U);
  EXPECT_EQ(object.m_Properties[0].m_PropertyID, PI::Property::NAME);
  ASSERT_EQ(object.m_Operations.size(), 1U);
  EXPECT_EQ(object.m_Operations[0].m_OperationID, PI::OP_ATTACH);
}

TEST(Object, IsEmptyByDefault) {
  const PI::CObject object;
  EXPECT_EQ(object.m_ID, 0U);
  EXPECT_EQ(object.m_ObjectType, 0U);
  EXPECT_TRUE(object.m_Parents.empty() && object.m_Children.empty());
  EXPECT_EQ(object.m_ChangeCount, 0U);
  EXPECT_FALSE(object.m_Locked);
  EXPECT_TRUE(object.m_Properties.empty() && object.m_Operations.empty());
}

TEST(Object, CopyHasAllFields) {
  const PI::CObject copy(FilledObject());
  ExpectFilled(copy);
  PI::CObject assigned;
  assigned.m_Children = {9};
  assigned = FilledObject();
  ExpectFilled(assigned);
}

TEST(Object, ChangingACopyDoesNotChangeTheOriginal) {
  const PI::CObject object = FilledObject();
  PI::CObject copy = object;
  copy.m_Properties.emplace_back(PI::Property::STATUS, false);
  copy.m_Operations.clear();
  ExpectFilled(object);
}

TEST(Object, IsEqualIfIdAndTypeAreEqual) {
  const PI::CObject object = FilledObject();
  PI::CObject other;
  other.m_ID = object.m_ID;
  EXPECT_FALSE(object == other);
  other.m_ObjectType = object.m_ObjectType;
  EXPECT_TRUE(object == other);
  EXPECT_TRUE(other == object);
  other.m_ID = 8;
  EXPECT_FALSE(object == other);
}

TEST(Operation, IsEmptyByDefault) {
  const PI::COperation operation;
  EXPECT_EQ(operation.m_OperationID, PI::OP_UNDEFINED);
  EXPECT_EQ(operation.m_NameID, PI::OP_UNDEFINED);
  EXPECT_EQ(operation.m_Class + operation.m_Access + operation.m_Scope + operation.m_Flags, 0U);
  EXPECT_EQ(operation.m_ConfirmKind + operation.m_ConfirmText, 0U);
  EXPECT_EQ(operation.m_Timeout, 0);
  EXPECT_FALSE(operation.m_Async);
  EXPECT_TRUE(operation.m_Properties.empty() && operation.m_Events.empty());
  EXPECT_TRUE(operation.m_Objects.empty() && operation.m_LogicalDrives.empty());
}

TEST(Operation, CopyHasTheNestedRecords) {
  PI::COperation operation;
  operation.m_Timeout = -1;
  operation.m_Async = true;
  operation.m_Properties.emplace_back(PI::Property::CHOICE_PARAM, true);
  operation.m_Events.resize(2);
  operation.m_Objects.push_back(FilledObject());
  operation.m_LogicalDrives.resize(1);
  operation.m_LogicalDrives[0].m_Containers.resize(1);
  operation.m_LogicalDrives[0].m_Containers[0].m_Drives.resize(3);
  operation.m_Partitions.resize(1);
  operation.m_Partitions[0].m_MountPoint = "/data";

  const PI::COperation copy(operation);
  EXPECT_EQ(copy.m_Timeout, -1);
  EXPECT_TRUE(copy.m_Async);
  EXPECT_EQ(copy.m_Properties.at(0).m_NameID, PI::Property::CHOICE_PARAM);
  EXPECT_EQ(copy.m_Events.size(), 2U);
  ExpectFilled(copy.m_Objects.at(0));
  EXPECT_EQ(copy.m_LogicalDrives.at(0).m_Containers.at(0).m_Drives.size(), 3U);
  EXPECT_EQ(copy.m_Partitions.at(0).m_MountPoint, "/data");
}

TEST(Event, IsEmptyByDefault) {
  const PI::CEvent event;
  EXPECT_EQ(event.m_ObjectID, 0U);
  EXPECT_EQ(event.m_EventID, PI::Event::UNDEFINED);
  EXPECT_EQ(event.m_Severity, 0U);
  EXPECT_EQ(event.m_Time, 0U);
  EXPECT_EQ(event.m_SourceName, "");
  for (const std::string& text : event.m_PlaceHolders) EXPECT_EQ(text, "");
}

TEST(Event, CopyHasTheStrings) {
  PI::CEvent event;
  event.m_EventID = PI::Event::PD_FORMAT_CHANGED;
  event.m_Time = 1700000000000;
  event.m_SourceName = "drive";
  event.SetPlaceHolder1("adapter");
  event.SetPlaceHolder2("drive");
  const PI::CEvent copy(event);
  PI::CEvent assigned;
  assigned = copy;
  EXPECT_EQ(assigned.m_EventID, PI::Event::PD_FORMAT_CHANGED);
  EXPECT_EQ(assigned.m_Time, 1700000000000U);
  EXPECT_EQ(assigned.m_SourceName, "drive");
  EXPECT_EQ(assigned.m_PlaceHolders[0], "adapter");
  EXPECT_EQ(assigned.m_PlaceHolders[1], "drive");
  EXPECT_EQ(assigned.m_PlaceHolders[2], "");
}

TEST(AdapterId, IsUnnumberedByDefaultAndCopiesAllFields) {
  PI::CAdapterID id;
  EXPECT_EQ(id.m_GlobalNumber, -1);
  EXPECT_EQ(id.m_Segment + id.m_Bus + id.m_Device + id.m_Function + id.m_AdapterNumber, 0U);
  id.m_Name = "name";
  id.m_Segment = 1;
  id.m_Bus = 2;
  id.m_Device = 3;
  id.m_Function = 4;
  id.m_AdapterNumber = 5;
  id.m_GlobalNumber = 6;
  PI::CAdapterID copy;
  copy = PI::CAdapterID(id);
  EXPECT_EQ(copy.m_Name, "name");
  EXPECT_EQ(copy.m_Segment, 1U);
  EXPECT_EQ(copy.m_Bus, 2U);
  EXPECT_EQ(copy.m_Device, 3U);
  EXPECT_EQ(copy.m_Function, 4U);
  EXPECT_EQ(copy.m_AdapterNumber, 5U);
  EXPECT_EQ(copy.m_GlobalNumber, 6);
}

}  // namespace
