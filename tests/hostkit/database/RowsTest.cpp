#include "tests/hostkit/database/Fixture.h"

namespace {

using namespace RaidDataModels;
using DatabaseORM::is_equal;
using DatabaseORM::where;

// Sets each field to a different value.
class Filler {
 public:
  void operator()(std::string& field) { field = "text " + std::to_string(++m_Count); }
  void operator()(string_list& field) {
    const std::string number = std::to_string(++m_Count);
    field = {"first " + number, "second " + number};
  }
  void operator()(int& field) { field = -1000 - ++m_Count; }
  void operator()(unsigned long& field) {
    field = 0x7FFFFFFFFFFFFFFFUL - static_cast<unsigned long>(++m_Count);
  }
  void operator()(double& field) { field = 0.25 + ++m_Count; }

 private:
  int m_Count = 0;
};

#define FILL(type, name, initial) fill(row.name);
#define ADD_DIFFERENCE(type, name, initial) \
  if (!(left.name == right.name)) difference += std::string(#name) + " ";

Adapter FullAdapter() {
  Filler fill;
  Adapter row;
  ADAPTER_FIELDS(FILL)
  return row;
}
PD FullDrive() {
  Filler fill;
  PD row;
  PD_FIELDS(FILL)
  return row;
}
Plugin FullPlugin() {
  Filler fill;
  Plugin row;
  PLUGIN_FIELDS(FILL)
  return row;
}

// Returns the names of the fields in which two rows differ.
std::string Difference(const Adapter& left, const Adapter& right) {
  std::string difference;
  ADAPTER_FIELDS(ADD_DIFFERENCE)
  return difference;
}
std::string Difference(const PD& left, const PD& right) {
  std::string difference;
  PD_FIELDS(ADD_DIFFERENCE)
  return difference;
}
std::string Difference(const Plugin& left, const Plugin& right) {
  std::string difference;
  PLUGIN_FIELDS(ADD_DIFFERENCE)
  return difference;
}

class Rows : public HostDatabaseTest {
 protected:
  template <class Row>
  Row ReadBack(int key) {
    const auto rows = m_pStorage->get_all<Row>(where(is_equal(&Row::id, key)));
    EXPECT_EQ(rows.size(), 1U);
    return rows.empty() ? Row() : rows.front();
  }

  // Inserts the row, replaces it with another one and back, and reads it each time.
  template <class Row>
  void ExpectRoundTrip(Row row) {
    row.id = m_pStorage->insert(row);
    EXPECT_EQ(Difference(ReadBack<Row>(row.id), row), "");
    Row other;
    other.id = row.id;
    other.objectId = 5;
    m_pStorage->update(other);
    EXPECT_EQ(Difference(ReadBack<Row>(row.id), other), "");
    m_pStorage->update(row);
    EXPECT_EQ(Difference(ReadBack<Row>(row.id), row), "");
  }
};

TEST_F(Rows, KeepEveryFieldOfAnAdapter) {
  ExpectRoundTrip(FullAdapter());
}

TEST_F(Rows, KeepEveryFieldOfADrive) {
  ExpectRoundTrip(FullDrive());
}

TEST_F(Rows, KeepEveryFieldOfAPlugin) {
  ExpectRoundTrip(FullPlugin());
}

TEST_F(Rows, KeepUnsetFields) {
  Adapter adapter;
  adapter.id = m_pStorage->insert(adapter);
  EXPECT_EQ(Difference(ReadBack<Adapter>(adapter.id), adapter), "");
  Plugin plugin;
  plugin.id = m_pStorage->insert(plugin);
  EXPECT_EQ(Difference(ReadBack<Plugin>(plugin.id), plugin), "");
}

TEST_F(Rows, StoreUnsetFieldsAsNullExceptLists) {
  m_pStorage->insert(Adapter());
  std::string filled;
  const auto cells = Query("SELECT * FROM host_adapter_rows");
  ASSERT_EQ(cells.size(), 149U);
  for (const std::string& cell : cells) filled += cell == "NULL" ? "" : "[" + cell + "]";
  EXPECT_EQ(filled, "[1][][][][][]");
}

// The default id exceeds the range of the column.
TEST_F(Rows, RequireTheObjectIdOfADrive) {
  PD drive;
  EXPECT_THROW(m_pStorage->insert(drive), DBEXCEPTION::DatabaseException);
  drive.objectId = 0x0130000000000002UL;
  drive.id = m_pStorage->insert(drive);
  EXPECT_EQ(Difference(ReadBack<PD>(drive.id), drive), "");
}

TEST_F(Rows, HaveTheKeysThatInsertReturns) {
  EXPECT_EQ(m_pStorage->insert(AnAdapter(10)), 1);
  EXPECT_EQ(m_pStorage->insert(AnAdapter(11)), 2);
  EXPECT_EQ(m_pStorage->insert(AnAdapter(12)), 3);
  EXPECT_EQ(Find(*m_pStorage, 12).at(0).id, 3);
  m_pStorage->remove_all<Adapter>(where(is_equal(&Adapter::adapterNumber, 12)));
  EXPECT_EQ(m_pStorage->insert(AnAdapter(13)), 3);
  EXPECT_EQ(Find(*m_pStorage, 13).at(0).id, 3);
  EXPECT_EQ(m_pStorage->max(&Adapter::id), 3);
}

TEST_F(Rows, AreFoundByNumbersAndStrings) {
  auto drive = FullDrive();
  drive.serialNumber = "1149D0001";
  m_pStorage->insert(drive);
  const std::string serialNumber = "1149D0001";
  const auto rows = m_pStorage->get_all<PD>(where(is_equal(&PD::serialNumber, serialNumber) and
                                                  is_equal(&PD::hostName, drive.hostName.c_str())));
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_TRUE(Find(*m_pStorage, 99).empty());
}

TEST_F(Rows, AreUpdatedByTheirKey) {
  m_pStorage->insert(AnAdapter(1));
  m_pStorage->insert(AnAdapter(2));
  auto row = Find(*m_pStorage, 2).at(0);
  row.name = "second";
  m_pStorage->update(row);
  EXPECT_EQ(Find(*m_pStorage, 1).at(0).name, "NULL");
  EXPECT_EQ(Find(*m_pStorage, 2).at(0).name, "second");
}

TEST_F(Rows, AreNotUpdatedWithoutAKey) {
  m_pStorage->insert(AnAdapter(1));
  auto row = AnAdapter(1);
  row.name = "changed";
  m_pStorage->update(row);
  EXPECT_EQ(Find(*m_pStorage, 1).at(0).name, "NULL");
}

TEST_F(Rows, AreRemovedByACondition) {
  m_pStorage->insert(AnAdapter(1));
  m_pStorage->insert(AnAdapter(2));
  m_pStorage->insert(APlugin());
  m_pStorage->remove_all<Adapter>(
      where(is_equal(&Adapter::adapterNumber, 1) and is_equal(&Adapter::hostName, "localhost")));
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 1");
  m_pStorage->remove_all<Plugin>(where(is_equal(&Plugin::pluginName, "SanDisk-Plugin")));
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 0");
}

}  // namespace
