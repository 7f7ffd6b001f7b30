#include "hostkit/database/Tables.h"

#include "hostkit/database/TableBuilder.h"
#include "models/Adapter.h"
#include "models/PD.h"
#include "models/Plugin.h"

namespace HostKit {

namespace {

using RaidDataModels::Adapter;
using RaidDataModels::PD;
using RaidDataModels::Plugin;

struct Builders {
  TableBuilder<Adapter> m_Adapters{"host_adapter_rows", "ad"};
  TableBuilder<PD> m_Drives{"host_drive_rows", "pd"};
  TableBuilder<Plugin> m_Plugins{"host_plugin_rows", "pi"};

  Builders() {
#define ADD_ADAPTER(type, name, initial) m_Adapters.Add(#name, &Adapter::name);
#define ADD_DRIVE(type, name, initial) m_Drives.Add(#name, &PD::name);
#define ADD_PLUGIN(type, name, initial) m_Plugins.Add(#name, &Plugin::name);
    ADAPTER_FIELDS(ADD_ADAPTER)
    PD_FIELDS(ADD_DRIVE)
    PLUGIN_FIELDS(ADD_PLUGIN)
    // The plug-in reads the row of an adapter or a drive by these fields before each update.
    m_Adapters.Index(&Adapter::adapterNumber);
    m_Drives.Index(&PD::serialNumber);
#undef ADD_ADAPTER
#undef ADD_DRIVE
#undef ADD_PLUGIN
  }
};

// Created once, because each row type has one field map per process.
const Builders& TheBuilders() {
  static const Builders builders;
  return builders;
}

}  // namespace

const std::vector<TableShape>& RowTables() {
  static const std::vector<TableShape> shapes = {TheBuilders().m_Adapters.Shape(),
                                                 TheBuilders().m_Drives.Shape(),
                                                 TheBuilders().m_Plugins.Shape()};
  return shapes;
}

void DescribeTables(DatabaseORM::storage_t& storage) {
  TheBuilders().m_Adapters.Describe(storage);
  TheBuilders().m_Drives.Describe(storage);
  TheBuilders().m_Plugins.Describe(storage);
}

}  // namespace HostKit
