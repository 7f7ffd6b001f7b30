#include "bench/CardHost.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include "Corvane/Src/Corvane.h"
#include "cardsim/cardsim.h"
#include "hostkit/Database.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Tracing.h"

namespace CorvaneBench {
namespace {

constexpr std::uint16_t kDeviceId = 0x1003;

// Creates the directory in memory if possible, so that disk access is not measured.
std::filesystem::path MakeDirectory() {
  const std::filesystem::path memory = "/dev/shm";
  const bool writable = access(memory.c_str(), W_OK) == 0;
  const auto root = writable ? memory : std::filesystem::temp_directory_path();
  std::string name = (root / "corvane-bench-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
  return name;
}

void Check(unsigned int result, const std::string& what) {
  if (result != PI::SUCCESS) throw std::runtime_error(what + " returned " + std::to_string(result));
}

}  // namespace

CardHost::CardHost(int cards) : m_Directory(MakeDirectory()) {
  HostKit::UseVirtualTime();
  HostKit::SetTraceMask(0);
  setenv("CARDSIM_STATE", (m_Directory / "cards.json").c_str(), 1);
  setenv("CORVANE_CONFIG_DIR", m_Directory.c_str(), 1);
  setenv("CORVANE_SYSFS", (m_Directory / "sys").c_str(), 1);
  setenv("CORVANE_DATABASE", ":memory:", 1);
  std::ofstream(m_Directory / "Corvane.ini") << "PollInterval=15\n";
  CardSim::StateFile file(m_Directory / "cards.json");
  file.Create();
  for (int i = 0; i < cards; ++i) file.AddCard(kDeviceId);
  file.WriteSysfs(m_Directory / "sys");
}

CardHost::~CardHost() {
  if (m_pPlugin != nullptr) Stop();
  std::error_code ignored;
  std::filesystem::remove_all(m_Directory, ignored);
}

void CardHost::Create() {
  HostKit::ReopenDatabase();
  Check(createIf(&m_pPlugin), "createIf");
  m_pPlugin->m_HostNotify = [](IPLUGINAPI*) {};
}

void CardHost::Initialize() {
  m_AdapterIDs.clear();
  Execute(PI::CMD_INITIALIZE, 0, &m_AdapterIDs);
}

void CardHost::AssignAdapterNumbers() {
  std::int32_t number = 0;
  for (PI::CAdapterID& id : m_AdapterIDs) id.m_GlobalNumber = ++number;
  Execute(PI::CMD_SET_ADAPTER_IDS, 0, &m_AdapterIDs);
}

void CardHost::Stop() {
  m_pPlugin->Execute(PI::CMD_DEINITIALIZE, 0, nullptr);
  releaseIf(&m_pPlugin);
}

void CardHost::AdvanceSeconds(std::int64_t seconds) {
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + seconds * 1'000'000'000);
}

std::vector<PI::CObject> CardHost::Topology() {
  std::vector<PI::CObject> objects;
  Execute(PI::CMD_GET_TOPOLOGY, 0, &objects);
  return objects;
}

std::uint64_t CardHost::FirstAdapterId() {
  for (const PI::CObject& object : Topology()) {
    if (object.m_ObjectType == PI::OBJECT_ADAPTER) return object.m_ID;
  }
  throw std::runtime_error("no adapter");
}

std::vector<PI::CProperty> CardHost::Properties(std::uint64_t objectId) {
  std::vector<PI::CProperty> properties;
  Execute(PI::CMD_GET_PROPERTIES, objectId, &properties);
  return properties;
}

void CardHost::Execute(PI::_COMMAND command, std::uint64_t objectId, void* payload) {
  Check(m_pPlugin->Execute(command, objectId, payload), "command " + std::to_string(command));
}

}  // namespace CorvaneBench
