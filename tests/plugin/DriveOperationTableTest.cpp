// The online and offline operations of a drive. No scanned drive has the flag that enables them, so
// the table is tested directly.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Corvane/Src/DriveOperationTable.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::AppendDriveOperations;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
using testing::ElementsAre;
using testing::IsEmpty;

// Renders the identifier, the name, the other fields in the order of `OperationRow`, and the number
// of parameters.
std::vector<std::string> Rows(const CFusionIOPhysicalDrive& drive) {
  std::vector<PI::COperation> operations;
  AppendDriveOperations(drive, operations);
  std::vector<std::string> rows;
  for (const PI::COperation& each : operations) {
    std::string text;
    for (const std::uint32_t number : {each.m_OperationID, each.m_NameID, each.m_Class,
                                       each.m_Access, each.m_Scope, each.m_Flags}) {
      text += std::to_string(number) + " ";
    }
    text += std::to_string(each.m_Async ? 1 : 0) + " " + std::to_string(each.m_Timeout) + " " +
            std::to_string(each.m_ConfirmKind) + " " + std::to_string(each.m_ConfirmText);
    rows.push_back(text + ", " + std::to_string(each.m_Properties.size()) + " parameters");
  }
  return rows;
}

TEST(DriveOperationTable, ListsOnlineAndOffline) {
  CFusionIOPhysicalDrive drive;
  drive.m_DriveFlag = true;
  EXPECT_THAT(Rows(drive), ElementsAre("50029 50029 1 2 1 1 0 -1 3 22031, 0 parameters",
                                       "50030 50030 1 2 1 1 0 -1 3 22029, 0 parameters"));
}

TEST(DriveOperationTable, ListsNothingForAScannedDrive) {
  EXPECT_THAT(Rows(CFusionIOPhysicalDrive()), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
