// The persistence layer and the host's database.
#include <sqlite3.h>

#include <charconv>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>

#include "bench/HostTables.h"
#include "bench/costs/Costs.h"
#include "models/Adapter.h"
#include "models/PD.h"
#include "orm/storage.h"

namespace CorvaneBench {
namespace {

using RaidDataModels::Adapter;
using RaidDataModels::PD;

using StoragePtr = std::shared_ptr<DatabaseORM::storage_t>;

Adapter SampleAdapter(int number) {
  Adapter row;
  row.objectId = 0x0130000000000002;
  row.adapterNumber = number;
  row.hostName = "localhost";
  row.name = "SanDisk Flash Adapter 785GB (1)";
  row.vendor = "SanDisk";
  row.product = "Flash Adapter 785GB";
  row.serialNumber = "FA00000001";
  row.location = "PCI:Bus=3&Device=0&Function=0";
  row.temperature = 52;
  row.factorySize = 748634;
  row.statusReasonNames = {"ATTACHED"};
  return row;
}

PD SampleDrive(int number) {
  PD row;
  row.objectId = 0x0130000000000002 + static_cast<unsigned long>(number);
  row.serialNumber = "FA" + std::to_string(100000000 + number);
  row.hostName = "localhost";
  row.model = "Flash Adapter G2";
  row.adapterNumber = number;
  row.temperature = 52;
  row.factorySize = 785000000000;
  row.remainingReserve = 98.5;
  return row;
}

// One column of the baseline: its name, and the member that it is written from.
template <class Row>
struct Column {
  std::string m_Name;
  std::variant<int Row::*, unsigned long Row::*, std::string Row::*,
               RaidDataModels::string_list Row::*, double Row::*>
      m_Member;
};

template <class Row>
std::vector<Column<Row>> ColumnsOf(const DatabaseORM::storage_t& storage) {
  const auto map = DatabaseORM::find_map<Row>(storage.modelMaps);
  std::vector<Column<Row>> columns(static_cast<std::size_t>(map->columnCount));
  DatabaseORM::for_each_field(*map, [&columns](const auto& field) {
    columns[static_cast<std::size_t>(field.index)] = {field.name, field.member};
  });
  return columns;
}

template <class Number>
void AppendNumber(Number value, Number null, std::string& text) {
  if (value == null) {
    text += "NULL";
    return;
  }
  char digits[32];
  text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void AppendValue(int value, std::string& text) {
  AppendNumber(value, RaidDataModels::null_int, text);
}
void AppendValue(unsigned long value, std::string& text) {
  AppendNumber(value, RaidDataModels::null_ulong, text);
}
void AppendValue(double value, std::string& text) {
  if (value == RaidDataModels::null_double) {
    text += "NULL";
    return;
  }
  char digits[328];
  text.append(
      digits,
      std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 6).ptr);
}
void AppendValue(const std::string& value, std::string& text) {
  if (value == "NULL") {
    text += value;
    return;
  }
  text += '"';
  text += value;
  text += '"';
}
void AppendValue(const RaidDataModels::string_list& values, std::string& text) {
  text += '"';
  for (const std::string& value : values) {
    if (&value != &values.front()) text += '?';
    text += value;
  }
  text += '"';
}

template <class Row>
void AppendField(const Column<Row>& column, const Row& row, std::string& text) {
  std::visit([&](auto member) { AppendValue(row.*member, text); }, column.m_Member);
}

// The shortest code for each statement: all columns are appended to one string.
std::string InsertByHand(const std::vector<Column<Adapter>>& columns, const Adapter& row) {
  std::string text;
  text.reserve(8192);
  text += "INSERT INTO host_adapter_rows (";
  for (std::size_t i = 1; i < columns.size(); ++i) {
    if (i > 1) text += ", ";
    text += columns[i].m_Name;
  }
  text += ") VALUES(";
  for (std::size_t i = 1; i < columns.size(); ++i) {
    if (i > 1) text += ", ";
    AppendField(columns[i], row, text);
  }
  text += ");";
  return text;
}

std::string UpdateByHand(const std::vector<Column<Adapter>>& columns, const Adapter& row) {
  std::string text;
  text.reserve(8192);
  text += "UPDATE host_adapter_rows SET ";
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) text += ", ";
    text += columns[i].m_Name;
    text += '=';
    AppendField(columns[i], row, text);
  }
  text += " WHERE ID = ";
  AppendValue(row.id, text);
  text += ';';
  return text;
}

void RequireSame(const std::string& ours, const std::string& baseline) {
  if (ours != baseline) throw std::runtime_error("the texts differ:\n" + ours + '\n' + baseline);
}

template <class Text>
Comparison StatementText(Text ours, std::string (*byHand)(const std::vector<Column<Adapter>>&,
                                                          const Adapter&)) {
  const StoragePtr storage = NewStorage();
  const auto columns = ColumnsOf<Adapter>(*storage);
  Adapter row = SampleAdapter(1);
  row.id = 7;
  const auto map = DatabaseORM::find_map<Adapter>(storage->modelMaps);
  const auto table = DatabaseORM::find_table<Adapter>(storage->tables);
  RequireSame(ours(*map, *table, row), byHand(columns, row));
  return {Repeated([=] { ours(*map, *table, row); }), Repeated([=] { byHand(columns, row); })};
}

Comparison InsertText(int) {
  return StatementText(DatabaseORM::insert_text<Adapter>, InsertByHand);
}

Comparison UpdateText(int) {
  return StatementText(DatabaseORM::update_text<Adapter>, UpdateByHand);
}

// Records the statements that are sent to the database.
class RecordingDatabase final : public DatabaseWrapper::DatabaseDAO {
 public:
  explicit RecordingDatabase(std::shared_ptr<DatabaseDAO> database)
      : m_pDatabase(std::move(database)) {}
  std::vector<std::string> query(std::string sql) override {
    m_Statements.push_back(sql);
    return m_pDatabase->query(std::move(sql));
  }

  std::vector<std::string> m_Statements;

 private:
  const std::shared_ptr<DatabaseDAO> m_pDatabase;
};

template <class Work>
std::vector<std::string> StatementsOf(DatabaseORM::storage_t& storage, Work work) {
  const auto database = storage.dao;
  const auto recording = std::make_shared<RecordingDatabase>(database);
  storage.dao = recording;
  work();
  storage.dao = database;
  return recording->m_Statements;
}

// Running `work` through the layer, against its statements without the layer.
template <class Work>
Comparison Layer(const StoragePtr& storage, Work work) {
  const auto texts = StatementsOf(*storage, work);
  return {Repeated(work), Repeated([storage, texts] {
            for (const std::string& text : texts) storage->dao->query(text);
          })};
}

auto WhereSerialNumberIs(const std::string& serial) {
  using DatabaseORM::is_equal;
  return DatabaseORM::where(is_equal(&PD::serialNumber, serial) &&
                            is_equal(&PD::hostName, "localhost"));
}

Comparison InsertRow(int) {
  const StoragePtr storage = NewStorage();
  return Layer(storage, [storage, row = SampleDrive(1)] { storage->insert(row); });
}

Comparison UpdateRow(int) {
  const StoragePtr storage = NewStorage();
  PD row = SampleDrive(1);
  row.id = storage->insert(row);
  return Layer(storage, [storage, row] { storage->update(row); });
}

Comparison ReadRow(int) {
  const StoragePtr storage = NewStorage();
  storage->insert(SampleDrive(1));
  return Layer(storage, [storage, serial = SampleDrive(1).serialNumber] {
    storage->get_all<PD>(WhereSerialNumberIs(serial));
  });
}

// SQLite alone, with the tables and indexes of the host and every statement prepared once.
class PreparedStatements {
 public:
  PreparedStatements(const std::vector<std::string>& setup, const std::vector<std::string>& texts)
      : m_pDatabase(nullptr, sqlite3_close) {
    sqlite3* database = nullptr;
    sqlite3_open(":memory:", &database);
    m_pDatabase.reset(database);
    for (const std::string& sql : setup) {
      if (sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database));
      }
    }
    for (const std::string& text : texts) {
      sqlite3_stmt* statement = nullptr;
      if (sqlite3_prepare_v2(database, text.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database));
      }
      m_Statements.emplace_back(statement, sqlite3_finalize);
    }
  }

  // Runs the statements in turn, and copies their cells.
  void Run() {
    for (const auto& statement : m_Statements) {
      std::vector<std::string> cells;
      while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        const int width = sqlite3_column_count(statement.get());
        for (int column = 0; column < width; ++column) {
          const unsigned char* const text = sqlite3_column_text(statement.get(), column);
          cells.emplace_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
        }
      }
      sqlite3_reset(statement.get());
    }
  }

 private:
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_pDatabase;
  std::vector<std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>> m_Statements;
};

// The rows of a pass without changes: each drive's row is read and updated.
Comparison RowsOfPass(int cards) {
  const std::vector<std::string> tables = TableStatements();
  const StoragePtr storage = NewStorage();
  const auto setup = StatementsOf(*storage, [&] {
    for (int i = 0; i < cards; ++i) storage->insert(SampleDrive(i));
  });
  const auto texts = StatementsOf(*storage, [&] {
    for (int i = 0; i < cards; ++i) {
      PD row = SampleDrive(i);
      row.id = storage->get_all<PD>(WhereSerialNumberIs(row.serialNumber)).front().id;
      storage->update(row);
    }
  });
  std::vector<std::string> all = tables;
  all.insert(all.end(), setup.begin(), setup.end());
  const auto prepared = std::make_shared<PreparedStatements>(all, texts);
  return {Repeated([storage, texts] {
            for (const std::string& text : texts) storage->dao->query(text);
          }),
          Repeated([prepared] { prepared->Run(); }), 10};
}

}  // namespace

const std::vector<Row>& StatementRows() {
  static const std::vector<Row> rows = {
      {"insert-text", {149}, Result::Ratio, {1.15}, InsertText},
      {"update-text", {149}, Result::Ratio, {1.15}, UpdateText},
      {"insert-row", {1}, Result::Ratio, {1.05}, InsertRow},
      {"update-row", {1}, Result::Ratio, {1.05}, UpdateRow},
      {"read-row", {1}, Result::Ratio, {1.05}, ReadRow},
      {"rows-of-pass", {1, 16, 256, 1024}, Result::Ratio, {1.1, 1.1, 1.1, 1.1}, RowsOfPass},
  };
  return rows;
}

}  // namespace CorvaneBench
