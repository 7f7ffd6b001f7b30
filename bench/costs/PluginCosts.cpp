// The plug-in's commands and its worker, with cards in memory.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

#include "Corvane/Src/Corvane.h"
#include "bench/HostTables.h"
#include "bench/costs/Costs.h"
#include "bench/costs/MemoryCards.h"
#include "bench/costs/ProcessorTime.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Tracing.h"
#include "models/Adapter.h"
#include "models/PD.h"
#include "orm/storage.h"

namespace CorvaneBench {
namespace {

using NAMESPACE_Corvane::CFusionIOAdapter;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
namespace Number = NAMESPACE_Corvane::PI;

// The worker polls the cards every third of the poll interval of 15 seconds, and scans them when
// more than 15 seconds have passed. The plug-in's pauses take no time.
constexpr std::int64_t kSecondsPerPass = 20;

void Check(unsigned int result) {
  if (result != Number::SUCCESS) throw std::runtime_error("a command failed");
}

// A database that stores nothing, so that only the plug-in's part of writing rows is measured. A
// SELECT returns one row that has only its key.
class EmptyDatabase final : public DatabaseWrapper::DatabaseDAO {
 public:
  explicit EmptyDatabase(const DatabaseORM::storage_t& storage)
      : m_DriveRow(RowOf<RaidDataModels::PD>(storage)),
        m_AdapterRow(RowOf<RaidDataModels::Adapter>(storage)) {}

  std::vector<std::string> query(std::string sql) override {
    if (sql.rfind("SELECT *", 0) != 0) return {};
    const bool isDrive = sql.find("_drive_") != std::string::npos;
    return isDrive ? m_DriveRow : m_AdapterRow;
  }

 private:
  template <class Row>
  static std::vector<std::string> RowOf(const DatabaseORM::storage_t& storage) {
    const auto map = DatabaseORM::find_map<Row>(storage.modelMaps);
    std::vector<std::string> cells(static_cast<std::size_t>(map->columnCount), "NULL");
    cells[0] = "1";
    return cells;
  }
  const std::vector<std::string> m_DriveRow;
  const std::vector<std::string> m_AdapterRow;
};

// A directory with a configuration file and one PCI device. Deleted at the end.
class Environment {
 public:
  Environment() {
    std::string name = (std::filesystem::temp_directory_path() / "corvane-costs-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    m_Directory = name;
    const auto device = m_Directory / "sys/bus/pci/devices/0000:01:00.0";
    std::filesystem::create_directories(device);
    std::ofstream(device / "vendor") << "0x1aed\n";
    std::ofstream(device / "device") << "0x1003\n";
    std::ofstream(m_Directory / "Corvane.ini") << "PollInterval=15\n";
    setenv("CORVANE_CONFIG_DIR", m_Directory.c_str(), 1);
    setenv("CORVANE_SYSFS", (m_Directory / "sys").c_str(), 1);
  }
  ~Environment() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Directory, ignored);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  std::filesystem::path m_Directory;
};

// A running plug-in with that number of cards.
class RunningPlugin {
 public:
  explicit RunningPlugin(int cards) {
    HostKit::UseVirtualTime();
    HostKit::SetTraceMask(0);
    MemoryCards::Create(cards);
    MemoryCards::TimeScans(false);
    const auto storage = NewStorage();
    storage->dao = std::make_shared<EmptyDatabase>(*storage);
    Check(createIf(&m_pPlugin));
    m_pPlugin->m_HostNotify = [](IPLUGINAPI*) {};
    std::vector<PI::CAdapterID> ids;
    Execute(Number::CMD_INITIALIZE, 0, &ids);
    std::int32_t number = 0;
    for (PI::CAdapterID& id : ids) id.m_GlobalNumber = ++number;
    Execute(Number::CMD_SET_ADAPTER_IDS, 0, &ids);
    // Between two polls, so that no poll is due when the time stops.
    AdvanceSeconds(1);
    for (int i = 0; i < 5; ++i) Pass();  // until the records no longer change
    const auto expected = static_cast<std::size_t>(2 * cards + 1);
    if (Topology().size() != expected) throw std::runtime_error("the plug-in missed a card");
  }
  ~RunningPlugin() {
    m_pPlugin->Execute(static_cast<PI::_COMMAND>(Number::CMD_DEINITIALIZE), 0, nullptr);
    releaseIf(&m_pPlugin);
  }
  RunningPlugin(const RunningPlugin&) = delete;
  RunningPlugin& operator=(const RunningPlugin&) = delete;

  void Execute(std::uint32_t command, std::uint64_t objectId, void* payload) {
    Check(m_pPlugin->Execute(static_cast<PI::_COMMAND>(command), objectId, payload));
  }
  void AdvanceSeconds(std::int64_t seconds) {
    HostKit::SleepUntilNs(HostKit::SteadyNowNs() + seconds * 1'000'000'000);
  }
  // Advances the time by one pass: the worker polls the cards three times, then scans them.
  void Pass() { AdvanceSeconds(kSecondsPerPass); }
  std::vector<PI::CObject> Topology() {
    std::vector<PI::CObject> objects;
    Execute(Number::CMD_GET_TOPOLOGY, 0, &objects);
    return objects;
  }

 private:
  const Environment m_Environment;
  IPLUGINAPI* m_pPlugin = nullptr;
};

using PluginPtr = std::shared_ptr<RunningPlugin>;

// The calls of one scan are the baseline.
Comparison Scan(int cards) {
  const auto plugin = std::make_shared<RunningPlugin>(cards);
  MemoryCards::TimeScans(true);
  const MemoryCards::Calls calls = MemoryCards::CallsOf([&] { plugin->Pass(); });
  const Sample ours = [plugin] {
    plugin->Pass();
    return MemoryCards::LastScanNs();
  };
  const Sample baseline = [calls] {
    MemoryCards::Repeat(calls);
    return MemoryCards::LastScanNs();
  };
  return {ours, baseline, std::clamp(20'000 / cards, 10, 300)};
}

// Three quick polls, a scan without changes, the comparison and the rows.
Comparison QuietPass(int cards) {
  const auto plugin = std::make_shared<RunningPlugin>(cards);
  const MemoryCards::Calls calls = MemoryCards::CallsOf([&] { plugin->Pass(); });
  const Sample ours = [plugin] {
    const double begin = ProcessorNs();
    plugin->Pass();
    return ProcessorNs() - begin;
  };
  return {ours, Repeated([calls] { MemoryCards::Repeat(calls); }),
          std::clamp(20'000 / cards, 10, 300)};
}

// The calls, and a copy of the result.
Comparison Topology(int cards) {
  const auto plugin = std::make_shared<RunningPlugin>(cards);
  const auto objects = std::make_shared<std::vector<PI::CObject>>();
  const MemoryCards::Calls calls = MemoryCards::CallsOf([&] { *objects = plugin->Topology(); });
  return {Repeated([plugin] { plugin->Topology(); }), Repeated([objects, calls] {
            MemoryCards::Repeat(calls);
            const std::vector<PI::CObject> copy = *objects;
          })};
}

// The records of a plug-in as far as a search by id reads them.
struct Records {
  std::vector<CFusionIOAdapter> m_Adapters;
  std::vector<CFusionIOPhysicalDrive> m_Drives;
};

Records RecordsOf(const std::vector<PI::CObject>& objects) {
  Records records;
  for (const PI::CObject& object : objects) {
    if (object.m_ObjectType == Number::OBJECT_ADAPTER) {
      records.m_Adapters.emplace_back().m_ID = object.m_ID;
    } else if (object.m_ObjectType == Number::OBJECT_PHYSICAL_DRIVE) {
      records.m_Drives.emplace_back().m_ID = object.m_ID;
    }
  }
  return records;
}

bool Contains(const Records& records, std::uint64_t id) {
  const auto hasId = [id](const PI::CObject& object) { return object.m_ID == id; };
  return std::any_of(records.m_Adapters.begin(), records.m_Adapters.end(), hasId) ||
         std::any_of(records.m_Drives.begin(), records.m_Drives.end(), hasId);
}

// Reading one property: a lock, a linear search, the calls, and a copy of the property.
Comparison Property(int cards, std::uint32_t objectType, std::uint32_t propertyId) {
  const auto plugin = std::make_shared<RunningPlugin>(cards);
  const std::vector<PI::CObject> objects = plugin->Topology();
  const auto last = std::find_if(
      objects.rbegin(), objects.rend(),
      [objectType](const PI::CObject& object) { return object.m_ObjectType == objectType; });
  const std::uint64_t id = last->m_ID;
  const auto property =
      std::make_shared<PI::CProperty>(static_cast<PI::_PROPERTY_ID>(propertyId), false);
  const auto get = [plugin, property, id] {
    plugin->Execute(Number::CMD_GET_PROPERTY, id, property.get());
  };
  const MemoryCards::Calls calls = MemoryCards::CallsOf(get);
  const auto records = std::make_shared<Records>(RecordsOf(objects));
  const auto mutex = std::make_shared<std::recursive_mutex>();
  const PI::CProperty expected = *property;
  return {Repeated(get), Repeated([=] {
            const std::lock_guard<std::recursive_mutex> lock(*mutex);
            if (!Contains(*records, id)) throw std::runtime_error("missing object");
            MemoryCards::Repeat(calls);
            *property = expected;
          })};
}

Comparison CachedProperty(int cards) {
  return Property(cards, Number::OBJECT_PHYSICAL_DRIVE, Number::Property::NAME);
}

Comparison LiveProperty(int cards) {
  return Property(cards, Number::OBJECT_ADAPTER, Number::Property::BYTES_READ);
}

// Collecting the events of 13 warnings per card, against copying them.
Comparison Events(int cards) {
  constexpr std::uint64_t kAllWarnings = 0x1FFF;
  const auto plugin = std::make_shared<RunningPlugin>(cards);
  const auto plugInId = plugin->Topology().front().m_ID;
  const auto collected = std::make_shared<PI::COperation>();
  collected->m_OperationID = Number::OP_GET_EVENTS;
  const auto raiseAll = [plugin] {
    for (const std::uint64_t mask : {std::uint64_t{0}, kAllWarnings}) {
      MemoryCards::SetWarnings(mask);
      for (int i = 0; i < 5; ++i) plugin->Pass();
    }
  };
  const Sample ours = [=] {
    raiseAll();
    PI::COperation operation = *collected;
    const double begin = ProcessorNs();
    plugin->Execute(Number::CMD_EXECUTE_OPERATION, plugInId, &operation);
    const double taken = ProcessorNs() - begin;
    if (operation.m_Events.empty()) throw std::runtime_error("no events");
    if (collected->m_Events.empty()) collected->m_Events = operation.m_Events;
    return taken;
  };
  return {ours, Repeated([=] { const std::vector<PI::CEvent> copy = collected->m_Events; }), 5};
}

}  // namespace

const std::vector<Row>& PluginRows() {
  static const std::vector<Row> rows = {
      {"scan", {1, 16, 256, 1024}, Result::ExcessPerUnit, {2.0, 2.0, 2.0, 2.0}, Scan},
      {"pass", {16, 256, 1024}, Result::ExcessPerUnit, {40, 40, 40}, QuietPass},
      {"topology", {1, 16, 256, 1024}, Result::Ratio, {1.2, 1.2, 1.2, 1.2}, Topology},
      {"property-cached", {1, 16, 256, 1024}, Result::Ratio, {1.4, 1.4, 0.6, 0.2}, CachedProperty},
      {"property-live", {1, 16, 256, 1024}, Result::Ratio, {1.4, 1.4, 0.6, 0.2}, LiveProperty},
      {"events", {256, 1024}, Result::Ratio, {0.1, 0.1}, Events},
  };
  return rows;
}

}  // namespace CorvaneBench
