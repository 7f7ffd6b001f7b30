// Rows of records that no scan produces: states that occur only in the lists of choices, numbers
// without a name, names that do not end in a number in parentheses, unknown serial numbers.

#include <gmock/gmock.h>

#include <cmath>

#include "models/Adapter.h"
#include "models/PD.h"
#include "models/Plugin.h"
#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/RowView.h"
#include "tests/support/StatementWatch.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::CFusionIOAdapter;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
PRIVATE_MEMBER(FillAdapterMember, SetDatabaseObjectProperties,
               unsigned int (Plugin::*)(RaidDataModels::Adapter& row, CFusionIOAdapter& adapter));
PRIVATE_MEMBER(FillDriveMember, SetDatabaseObjectProperties,
               unsigned int (Plugin::*)(RaidDataModels::PD& row, CFusionIOPhysicalDrive& drive));
PRIVATE_MEMBER(FillPluginMember, SetDatabaseObjectProperties,
               unsigned int (Plugin::*)(RaidDataModels::Plugin& row,
                                        NAMESPACE_Corvane::CFusionIOPlugin& plugin));
PRIVATE_MEMBER(InsertDriveMember, InsertObjectToDatabase,
               unsigned int (Plugin::*)(CFusionIOPhysicalDrive& drive));
PRIVATE_MEMBER(UpdateDriveMember, UpdateObjectInDatabase,
               unsigned int (Plugin::*)(CFusionIOPhysicalDrive& drive));

using testing::ElementsAre;
using testing::IsEmpty;

class RowTexts : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Host.ClearRecords();
  }

  static RaidDataModels::Adapter RowOf(CFusionIOAdapter& adapter) {
    RaidDataModels::Adapter row;
    EXPECT_EQ((ThePlugin().*PointerTo(FillAdapterMember()))(row, adapter), 0U);
    return row;
  }
  static RaidDataModels::PD RowOf(CFusionIOPhysicalDrive& drive) {
    RaidDataModels::PD row;
    EXPECT_EQ((ThePlugin().*PointerTo(FillDriveMember()))(row, drive), 0U);
    return row;
  }

  OneCard m_Host{PlainCard()};
  const ScopedDatabase m_Database;
};

TEST_F(RowTexts, ShowOKForAllOtherDriveStates) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {PI::Value::AVAILABLE, "AVAILABLE"},
      {PI::Value::AVAILABLE_SMART, "AVAILABLE_SMART"},
      {PI::Value::FAILED, "FAILED"},
      {PI::Value::OK, "OK"},
      {PI::Value::WARNING, "OK"},
      {PI::Value::IDLE, "OK"},
      {0, "OK"},
      {PI::Value::AVAILABLE - 1, "OK"},
      {PI::Value::AVAILABLE_SMART + 1, "OK"},
      {4294967295, "OK"}};
  for (const auto& [state, name] : cases) {
    CFusionIOPhysicalDrive drive;
    drive.m_State = state;
    EXPECT_EQ(RowOf(drive).statusName, name) << state;
  }
}

TEST_F(RowTexts, ShowOKForAllOtherAdapterStatuses) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {PI::Value::OK, "OK"},          {PI::Value::WARNING, "WARNING"},
      {PI::Value::FAILED, "FAILED"},  {PI::Value::AVAILABLE, "OK"},
      {PI::Value::BUSY, "OK"},        {0, "OK"},
      {PI::Value::WARNING + 1, "OK"}, {4294967295, "OK"}};
  for (const auto& [status, name] : cases) {
    CFusionIOAdapter adapter;
    adapter.m_Status = status;
    EXPECT_EQ(RowOf(adapter).statusName, name) << status;
  }
}

TEST_F(RowTexts, AreEmptyForNumbersWithoutAName) {
  CFusionIOAdapter adapter;
  adapter.m_Activity = PI::Value::IDLE + 1;
  adapter.m_StatusReasons = {PI::Value::ATTACHED, 40659, PI::Value::DETACHED, -1};
  const RaidDataModels::Adapter row = RowOf(adapter);
  EXPECT_THAT(row.activityNames, ElementsAre(""));
  EXPECT_THAT(row.statusReasonNames, ElementsAre("ATTACHED", "", "DETACHED", ""));
}

// Drops the first parenthesis and the text after it, then the last character, which is usually a
// space. A name that starts with a parenthesis is unchanged.
TEST_F(RowTexts, EndADrivesShortNameBeforeTheParenthesis) {
  const std::pair<const char*, const char*> cases[] = {
      {"Drive (0)", "Drive"}, {"Two Words 1.3TB (0)", "Two Words 1.3TB"},
      {"A (B) (0)", "A"},     {"A ((0)", "A"},
      {"Whole", "Whol"},      {"X", ""},
      {"(0)", "(0)"},         {"", ""}};
  for (const auto& [name, shortName] : cases) {
    CFusionIOPhysicalDrive drive;
    drive.m_Name = name;
    EXPECT_EQ(RowOf(drive).shortName, shortName) << name;
  }
}

TEST_F(RowTexts, AreTruncatedToTheirColumnTypes) {
  CFusionIOAdapter adapter;
  adapter.m_FactorySizeMiB = 0x123456789;
  adapter.m_PciSegment = ~std::uint64_t{0};
  adapter.m_GlobalNumber = 0xFFFFFFFE;
  adapter.m_Temperature = -3.9F;
  const RaidDataModels::Adapter row = RowOf(adapter);
  EXPECT_EQ(row.factorySize, 0x23456789);
  EXPECT_EQ(row.pciSegment, -1);
  EXPECT_EQ(row.adapterNumber, -2);
  EXPECT_EQ(row.temperature, -3);

  CFusionIOPhysicalDrive drive;
  drive.m_ID = 0x01300000FFFFFFFE;
  drive.m_FactorySizeMiB = 0x123456789;
  drive.m_ConfigurableSizeMiB = 0x223456789;
  drive.m_SectorSize = 0xFFFFFFFD;
  const RaidDataModels::PD driveRow = RowOf(drive);
  EXPECT_EQ(driveRow.objectId, 0x01300000FFFFFFFE);
  EXPECT_EQ(driveRow.objectIdLow, -2);
  EXPECT_EQ(driveRow.factorySize, 0x123456789U);
  EXPECT_EQ(driveRow.configurableSize, 0x223456789U);
  EXPECT_EQ(driveRow.sectorSize, -3);
}

// The nearest representable number, and 0 for NaN.
TEST_F(RowTexts, ClampATemperatureOutOfRange) {
  const std::pair<float, int> cases[] = {{2147483520.0F, 2147483520},
                                         {2147483648.0F, 2147483647},
                                         {1e30F, 2147483647},
                                         {-2147483648.0F, -2147483647 - 1},
                                         {-2147483904.0F, -2147483647 - 1},
                                         {-1e30F, -2147483647 - 1},
                                         {std::nanf(""), 0},
                                         {0.99F, 0},
                                         {-0.99F, 0},
                                         {78.9F, 78}};
  for (const auto& [degrees, cell] : cases) {
    CFusionIOAdapter adapter;
    adapter.m_Temperature = degrees;
    EXPECT_EQ(RowOf(adapter).temperature, cell) << degrees;
  }
}

TEST_F(RowTexts, ReplaceACompleteRow) {
  RaidDataModels::Adapter row;
  row.alarmState = "old";
  row.driverVersion = "old";
  row.firmwareVersion = "old";
  CFusionIOAdapter adapter;
  EXPECT_EQ((ThePlugin().*PointerTo(FillAdapterMember()))(row, adapter), 0U);
  EXPECT_EQ(row.alarmState + row.driverVersion + row.firmwareVersion, "NULLNULLNULL");

  RaidDataModels::PD driveRow;
  driveRow.activityName = "old";
  driveRow.hoursOfUse = 5;
  CFusionIOPhysicalDrive drive;
  EXPECT_EQ((ThePlugin().*PointerTo(FillDriveMember()))(driveRow, drive), 0U);
  EXPECT_EQ(driveRow.activityName, "NULL");
  EXPECT_EQ(driveRow.hoursOfUse, -2147483647 - 1);

  RaidDataModels::Plugin pluginRow;
  pluginRow.pluginState = "old";
  pluginRow.processNumber = 5;
  pluginRow.id = 9;
  EXPECT_EQ((ThePlugin().*PointerTo(FillPluginMember()))(pluginRow, PluginObject()), 0U);
  EXPECT_EQ(pluginRow.pluginState, "NULL");
  EXPECT_EQ(pluginRow.processNumber, -2147483647 - 1);
  EXPECT_EQ(pluginRow.id, -2147483647 - 1);
}

// Neither the database nor the card library is called.
class RowOfADriveWithoutAnAdapter : public RowTexts {
 protected:
  void ExpectNotWritten(CFusionIOPhysicalDrive& drive) {
    StatementWatch statements;
    statements.Begin();
    m_Host.ClearRecords();
    EXPECT_EQ((ThePlugin().*PointerTo(InsertDriveMember()))(drive), 0U);
    EXPECT_EQ((ThePlugin().*PointerTo(UpdateDriveMember()))(drive), 0U);
    EXPECT_THAT(statements.Statements(), IsEmpty());
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
    EXPECT_THAT(m_Host.Traces(), IsEmpty());
  }
};

TEST_F(RowOfADriveWithoutAnAdapter, IsNotWrittenForAnUnknownSerialNumber) {
  CFusionIOPhysicalDrive drive = Drives().at(0);
  for (const char* serialNumber : {"S10", "S1000", "s100", ""}) {
    SCOPED_TRACE(serialNumber);
    drive.m_SerialNumber = serialNumber;
    ExpectNotWritten(drive);
  }
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
}

TEST_F(RowOfADriveWithoutAnAdapter, IsNotWrittenWithoutAdapters) {
  CFusionIOPhysicalDrive drive = Drives().at(0);
  Adapters().clear();
  ExpectNotWritten(drive);
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
}

}  // namespace
}  // namespace CorvaneTest
