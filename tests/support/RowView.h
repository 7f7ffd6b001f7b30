// The rows that a running plug-in has written to the host's database.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "hostkit/Database.h"
#include "models/Adapter.h"
#include "models/PD.h"
#include "models/Plugin.h"
#include "orm/storage.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {

using Cells = std::vector<std::string>;

inline constexpr const char* ADAPTER_ROWS = "host_adapter_rows";
inline constexpr const char* DRIVE_ROWS = "host_drive_rows";
inline constexpr const char* PLUGIN_ROWS = "host_plugin_rows";

// All cells of the result of an SQL statement.
inline Cells Query(const std::string& sql) {
  return getDatabasePointer()->dao->query(sql);
}

// Names of the columns, in order.
template <class Model>
Cells ColumnsOf() {
  const auto map = DatabaseORM::find_map<Model>(getDatabasePointer()->modelMaps);
  Cells names(static_cast<std::size_t>(map->columnCount));
  DatabaseORM::for_each_field(*map, [&names](const auto& field) {
    names.at(static_cast<std::size_t>(field.index)) = field.name;
  });
  return names;
}

// The cells "column=value" of each row, in key order, without NULL cells.
template <class Model>
std::vector<Cells> RowsOf(const char* table) {
  const Cells cells = Query(std::string("SELECT * FROM ") + table + " ORDER BY ID");
  const Cells columns = ColumnsOf<Model>();
  std::vector<Cells> rows(cells.size() / columns.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (cells[i] == "NULL") continue;
    rows[i / columns.size()].push_back(columns[i % columns.size()] + "=" + cells[i]);
  }
  return rows;
}

inline std::vector<Cells> AdapterRows() {
  return RowsOf<RaidDataModels::Adapter>(ADAPTER_ROWS);
}
inline std::vector<Cells> DriveRows() {
  return RowsOf<RaidDataModels::PD>(DRIVE_ROWS);
}
inline std::vector<Cells> PluginRows() {
  return RowsOf<RaidDataModels::Plugin>(PLUGIN_ROWS);
}

// One column of all rows, in key order.
inline Cells Column(const char* table, const std::string& column) {
  return Query("SELECT " + column + " FROM " + table + " ORDER BY ID");
}

// The row counts of the three tables, adapters first.
inline Cells Counts() {
  Cells counts;
  for (const char* table : {ADAPTER_ROWS, DRIVE_ROWS, PLUGIN_ROWS}) {
    counts.push_back(Query(std::string("SELECT COUNT(*) FROM ") + table).at(0));
  }
  return counts;
}

// The host's database during a test: in memory, or in the file passed to `Begin`. Each `Begin`
// opens the database again, as a restart of the host would.
class ScopedDatabase {
 public:
  ScopedDatabase() { Begin(":memory:"); }
  ~ScopedDatabase() { Begin(":memory:"); }
  ScopedDatabase(const ScopedDatabase&) = delete;
  ScopedDatabase& operator=(const ScopedDatabase&) = delete;

  static void Begin(const std::string& file) {
    setenv("CORVANE_DATABASE", file.c_str(), 1);
    HostKit::ReopenDatabase();
  }
};

// The host's number for the adapter at a PCI address. Simulated cards are on buses 3, 4, ... by
// default.
inline std::string NumberOf(std::uint32_t bus, std::uint32_t device = 0,
                            std::uint32_t function = 0) {
  PI::CGlobalAdapterID id;
  id.m_HostName = "localhost";
  id.m_Segment = 0;
  id.m_Bus = bus;
  id.m_Device = device;
  id.m_Function = function;
  id.GenerateUniqueAdapterNumber();
  return std::to_string(id.GetGlobalAdapterNumber());
}

// A healthy card of the older family, a year old, with easily distinguishable values.
inline Settings PlainCard() {
  return {{"serial_number", "S100"},
          {"board_name", "BoardA"},
          {"product_name", "DriveA"},
          {"pci_bus", "59"},
          {"pci_device", "2"},
          {"pci_function", "1"},
          {"temp_internal_deg_c", "48.9"},
          {"factory_size_bytes", "1099511627776"},
          {"size_bytes", "879609302220"},
          {"iom_format_max_size_bytes", "1099511627776"},
          {"overformat_size_bytes", "2199023255552"},
          {"sector_size_bytes", "4096"},
          {"first_use_ts", "1735689600"},  // 2025-01-01, a year before the tests' time
          {"rated_endurance_tbytes", "100"},
          {"rated_writes_remaining_percent", "80.9"},
          {"total_physical_bytes_written", "10995116277760"},
          {"total_physical_bytes_read", "2199023255552"},
          {"reserve_space_pct", "97.9"},
          {"reserve_warning_threshold_percent", "12.7"}};
}

// The adapter row of `PlainCard` after the plug-in has been initialized.
inline Cells PlainAdapterRow() {
  return {"ID=1",
          "ad_activity_names=IDLE",
          "ad_status_reason_names=ATTACHED",
          "ad_pci_bus=59",
          "ad_temperature=48",
          "ad_adapter_flag_a=1",
          "ad_pci_device=2",
          "ad_driver_name=iomemory_vsl",
          "ad_driver_version=3.4.9 build 1187",
          "ad_firmware_version=6.3.11 (10957)",
          "ad_foreign_configurations=",
          "ad_pci_function=1",
          "ad_adapter_number=" + NumberOf(59, 2, 1),
          "ad_hardware_type=PCI_EXPRESS_SSD_AIC",
          "ad_host_name=localhost",
          "ad_object_id=85568392920039425",
          "ad_adapter_flag_b=1",
          "ad_factory_size=1048576",
          "ad_name=",
          "ad_product=BoardA",
          "ad_port_addresses=",
          "ad_pci_segment=0",
          "ad_serial_number=S100",
          "ad_status_name=OK",
          "ad_supported_levels=",
          "ad_location=PCI:Bus=59&Device=2&Function=1",
          "ad_vendor=SanDisk"};
}

}  // namespace CorvaneTest
