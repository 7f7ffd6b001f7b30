// An operation has each number of its row in the right field. The plug-in's own rows contain equal
// numbers, so they would not reveal swapped fields.

#include <gmock/gmock.h>

#include "Corvane/Src/OperationTable.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::AppendOperation;
using testing::IsEmpty;

TEST(OperationTable, StoresEachNumberOfARowInItsField) {
  std::vector<PI::COperation> operations;
  const PI::COperation& operation = AppendOperation(
      {NAMESPACE_Corvane::PI::OP_ATTACH, 11, 12, 13, 14, true, -16, 17, 18}, operations);
  EXPECT_EQ(operation.m_OperationID, Number::OP_ATTACH);
  EXPECT_EQ(operation.m_NameID, Number::OP_ATTACH);
  EXPECT_EQ(operation.m_Class, 11U);
  EXPECT_EQ(operation.m_Access, 12U);
  EXPECT_EQ(operation.m_Scope, 13U);
  EXPECT_EQ(operation.m_Flags, 14U);
  EXPECT_TRUE(operation.m_Async);
  EXPECT_EQ(operation.m_Timeout, -16);
  EXPECT_EQ(operation.m_ConfirmKind, 17U);
  EXPECT_EQ(operation.m_ConfirmText, 18U);
  EXPECT_THAT(operation.m_Properties, IsEmpty());
}

TEST(OperationTable, AcceptsASynchronousRow) {
  std::vector<PI::COperation> operations(1);
  AppendOperation({NAMESPACE_Corvane::PI::OP_ATTACH, 1, 2, 3, 4, false, 6, 7, 8}, operations);
  ASSERT_EQ(operations.size(), 2U);
  EXPECT_FALSE(operations[1].m_Async);
}

}  // namespace
}  // namespace CorvaneTest
