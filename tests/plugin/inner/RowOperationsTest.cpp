// The row operations called directly. The plug-in ignores their results, and no scan produces the
// records and cells used here.

#include <gmock/gmock.h>

#include <functional>
#include <ostream>
#include <stdexcept>

#include "host/Database.h"
#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/RowView.h"
#include "tests/support/StatementWatch.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::CFusionIOAdapter;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
using NAMESPACE_Corvane::CFusionIOPlugin;

template <class Record>
using RowOperationOf = unsigned int (Plugin::*)(Record& record);

PRIVATE_MEMBER(InsertAdapter, InsertObjectToDatabase, RowOperationOf<CFusionIOAdapter>);
PRIVATE_MEMBER(UpdateAdapter, UpdateObjectInDatabase, RowOperationOf<CFusionIOAdapter>);
PRIVATE_MEMBER(DeleteAdapter, DeleteObjectFromDatabase, RowOperationOf<CFusionIOAdapter>);
PRIVATE_MEMBER(InsertDrive, InsertObjectToDatabase, RowOperationOf<CFusionIOPhysicalDrive>);
PRIVATE_MEMBER(UpdateDrive, UpdateObjectInDatabase, RowOperationOf<CFusionIOPhysicalDrive>);
PRIVATE_MEMBER(DeleteDrive, DeleteObjectFromDatabase, RowOperationOf<CFusionIOPhysicalDrive>);
PRIVATE_MEMBER(InsertPlugin, InsertObjectToDatabase, RowOperationOf<CFusionIOPlugin>);
PRIVATE_MEMBER(UpdatePlugin, UpdateObjectInDatabase, RowOperationOf<CFusionIOPlugin>);
PRIVATE_MEMBER(DeletePlugin, DeleteObjectFromDatabase, RowOperationOf<CFusionIOPlugin>);

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

// Returns the result of an operation on a record.
template <class Operation, class Record>
unsigned int Call(Operation operation, Record& record) {
  return (ThePlugin().*PointerTo(operation))(record);
}

class RowOperations : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Host.ClearRecords();
    m_Statements.Begin();
  }

  OneCard m_Host{PlainCard()};
  const ScopedDatabase m_Database;
  StatementWatch m_Statements;
};

struct OperationCase {
  const char* name;
  unsigned int (*run)();
  std::size_t statements;  // if none fails
};

void PrintTo(const OperationCase& value, std::ostream* out) {
  *out << value.name;
}

class RowOperationResult : public RowOperations,
                           public testing::WithParamInterface<OperationCase> {};

TEST_P(RowOperationResult, IsAnErrorOnlyIfAStatementFails) {
  m_Statements.BeginFailing(1, DBEXCEPTION::DatabaseException("x"));
  EXPECT_EQ(GetParam().run(), 20000U);
  EXPECT_THAT(m_Statements.Statements(), SizeIs(1));
  m_Statements.Begin();
  EXPECT_EQ(GetParam().run(), 0U);
  EXPECT_THAT(m_Statements.Statements(), SizeIs(GetParam().statements));
}

INSTANTIATE_TEST_SUITE_P(
    All, RowOperationResult,
    testing::Values(
        OperationCase{"InsertAdapter", [] { return Call(InsertAdapter(), Adapters().at(0)); }, 2},
        OperationCase{"UpdateAdapter", [] { return Call(UpdateAdapter(), Adapters().at(0)); }, 2},
        OperationCase{"DeleteAdapter", [] { return Call(DeleteAdapter(), Adapters().at(0)); }, 1},
        OperationCase{"InsertDrive", [] { return Call(InsertDrive(), Drives().at(0)); }, 2},
        OperationCase{"UpdateDrive", [] { return Call(UpdateDrive(), Drives().at(0)); }, 2},
        OperationCase{"InsertPlugin", [] { return Call(InsertPlugin(), PluginObject()); }, 2},
        OperationCase{"DeletePlugin", [] { return Call(DeletePlugin(), PluginObject()); }, 1}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(RowOperations, DoNothingWhenDeletingADrive) {
  EXPECT_EQ(Call(DeleteDrive(), Drives().at(0)), 0U);
  EXPECT_THAT(m_Statements.Statements(), IsEmpty());
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_THAT(m_Host.Traces(), IsEmpty());
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
}

TEST_F(RowOperations, DoNothingWhenUpdatingThePlugin) {
  EXPECT_EQ(Call(UpdatePlugin(), PluginObject()), 0U);
  EXPECT_THAT(m_Statements.Statements(), IsEmpty());
  EXPECT_THAT(m_Host.Traces(), IsEmpty());
}

// The column is a signed 32-bit number.
TEST_F(RowOperations, FindAnAdapterByItsNumberAsAnInt) {
  CFusionIOAdapter adapter = Adapters().at(0);
  adapter.m_GlobalNumber = 0xFFFFFFFE;
  EXPECT_EQ(Call(UpdateAdapter(), adapter), 0U);
  EXPECT_EQ(Call(DeleteAdapter(), adapter), 0U);
  EXPECT_THAT(m_Statements.Statements(),
              ElementsAre("SELECT * FROM host_adapter_rows ad  WHERE ( ad.ad_adapter_number = "
                          "'-2') AND ( ad.ad_host_name = 'localhost') ",
                          "DELETE FROM host_adapter_rows  WHERE ( ad_adapter_number = '-2') AND ( "
                          "ad_host_name = 'localhost') "));
}

TEST_F(RowOperations, FindTheInsertedRowOfAnAdapterWithANegativeNumber) {
  CFusionIOAdapter adapter = Adapters().at(0);
  adapter.m_GlobalNumber = 0xFFFFFFFE;
  EXPECT_EQ(Call(InsertAdapter(), adapter), 0U);
  adapter.m_Temperature = 60.0F;
  EXPECT_EQ(Call(UpdateAdapter(), adapter), 0U);
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_adapter_number"), ElementsAre(NumberOf(59, 2, 1), "-2"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_temperature"), ElementsAre("48", "60"));
}

// Returns the type and message of the exception that `run` throws, or an empty string.
std::string ExceptionOf(const std::function<void()>& run) {
  try {
    run();
  } catch (const std::invalid_argument& exception) {
    return std::string("invalid ") + exception.what();
  } catch (const std::out_of_range& exception) {
    return std::string("range ") + exception.what();
  }
  return "";
}

// The host's database rejects unreadable cells with a `DatabaseException`; another database may
// return them.
TEST_F(RowOperations, PropagateTheExceptionForAnUnreadableKey) {
  const std::pair<const char*, const char*> cases[] = {{"", "invalid stoi"},
                                                       {"2147483648", "range stoi"}};
  for (const auto& [key, thrown] : cases) {
    SCOPED_TRACE(key);
    m_Statements.OnResult([key = key](const std::string&, Cells& cells) { cells.at(0) = key; });
    m_Statements.Begin();
    EXPECT_EQ(ExceptionOf([] { Call(UpdateAdapter(), Adapters().at(0)); }), thrown);
    EXPECT_EQ(ExceptionOf([] { Call(UpdateDrive(), Drives().at(0)); }), thrown);
    EXPECT_THAT(m_Statements.Statements(),
                ElementsAre(StartsWith("SELECT * FROM host_adapter_rows"),
                            StartsWith("SELECT * FROM host_drive_rows")));
    EXPECT_THAT(m_Host.Traces(128), IsEmpty());
  }
}

}  // namespace
}  // namespace CorvaneTest
