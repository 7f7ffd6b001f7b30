#include "tests/support/SimulatedHost.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <locale>
#include <mutex>
#include <sstream>

#include "Corvane/Src/Corvane.h"
#include "hostkit/Inspect.h"
#include "hostkit/Texts.h"
#include "hostkit/ValueTypes.h"

namespace CorvaneTest {

std::string NameOrNumber(HostKit::Family family, std::uint32_t number) {
  const std::string name = HostKit::NameOf(family, number);
  return name.empty() ? std::to_string(number) : name;
}

namespace {

// Uses a memory file system if possible: the simulator syncs its file after each change, and on a
// disk that takes ten times as long as everything else.
std::filesystem::path MakeDirectory() {
  const std::filesystem::path memory = "/dev/shm";
  const bool writable = access(memory.c_str(), W_OK) == 0;
  const auto root = writable ? memory : std::filesystem::temp_directory_path();
  std::string name = (root / "corvane-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  return name;
}

// Trace lines of the process. The sink runs on any thread.
std::mutex g_TraceMutex;
std::vector<HostKit::TraceLine> g_Traces;

std::string Hex(std::uint64_t id) {
  char text[17];
  std::snprintf(text, sizeof text, "%016lx", id);
  return text;
}

template <class List>
std::string Names(const List& numbers) {
  std::string text;
  for (const auto number : numbers) {
    text += (text.empty() ? "" : " ") +
            NameOrNumber(HostKit::Family::Value, static_cast<std::uint32_t>(number));
  }
  return "[" + text + "]";
}

std::string ValueText(const PI::CProperty& property) {
  const auto& value = property.m_Value;
  std::ostringstream text;
  text.imbue(std::locale::classic());
  switch (property.m_ValueType) {
    case HostKit::VALUE_TYPE_STRING:
      text << '"' << value.m_String.m_Text << '"';
      break;
    case HostKit::VALUE_TYPE_BOOL:
      text << (value.m_Bool ? "true" : "false");
      break;
    case HostKit::VALUE_TYPE_CHOICE:
      text << NameOrNumber(HostKit::Family::Value,
                           static_cast<std::uint32_t>(value.m_Choice.m_Value))
           << " of " << Names(value.m_Choice.m_Allowed);
      break;
    case HostKit::VALUE_TYPE_NUMBER:
      text << value.m_Number;
      break;
    case HostKit::VALUE_TYPE_FLOAT:
      text << value.m_Float << "f";
      break;
    case HostKit::VALUE_TYPE_MULTI_CHOICE:
      text << Names(value.m_MultiValue.m_Values) << " of " << Names(value.m_MultiValue.m_Allowed);
      break;
    case HostKit::VALUE_TYPE_RANGE:
      text << value.m_Integer << " in " << value.m_Minimum << ".." << value.m_Maximum << " step "
           << value.m_Step;
      break;
    default:
      text << "nothing";
  }
  return text.str();
}

std::string Ids(const std::vector<std::uint64_t>& ids) {
  std::string text;
  for (const std::uint64_t id : ids) text += " " + Hex(id);
  return text;
}

}  // namespace

void RecordTrace(const HostKit::TraceLine& line) {
  const std::lock_guard<std::mutex> guard(g_TraceMutex);
  g_Traces.push_back(line);
}

std::vector<HostKit::TraceLine> RecordedTraces() {
  const std::lock_guard<std::mutex> guard(g_TraceMutex);
  return g_Traces;
}

SimulatedHost::SimulatedHost(const std::function<void()>& setTimeMode)
    : m_Directory(MakeDirectory()), m_Cards(m_Directory / "cards.json") {
  setTimeMode();
  HostKit::ResetLedger();
  HostKit::SetTraceSink(RecordTrace);
  HostKit::SetTraceMask(~std::uint32_t{0});
  ClearTraces();
  std::filesystem::create_directory(m_Directory / "config");
  const auto set = [](const char* name, const std::filesystem::path& path) {
    setenv(name, path.c_str(), 1);
  };
  set("CARDSIM_STATE", m_Directory / "cards.json");
  set("CORVANE_CONFIG_DIR", m_Directory / "config");
  set("CORVANE_SYSFS", m_Directory / "sys");
  setenv("CORVANE_DATABASE", ":memory:", 1);
  m_Cards.Create();
  RefreshPciBus();
  CardSim::Reset();
}

SimulatedHost::~SimulatedHost() {
  CardSim::SetHook({});
  if (m_Initialized) DeInitialize();
  Release();
  CardSim::Reset();
  HostKit::SetTraceSink({});
  HostKit::SetTraceMask(0);
  std::error_code ignored;
  std::filesystem::remove_all(m_Directory, ignored);
}

void SimulatedHost::WriteIni(const std::string& text) {
  std::ofstream(IniFile()) << text;
}

std::string SimulatedHost::ReadIni() const {
  std::ifstream file(IniFile());
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string SimulatedHost::AddCard(std::uint16_t deviceId) {
  const std::string card = m_Cards.AddCard(deviceId);
  RefreshPciBus();
  return card;
}

void SimulatedHost::RefreshPciBus() {
  m_Cards.WriteSysfs(m_Directory / "sys");
}

unsigned int SimulatedHost::Create() {
  return createIf(&m_pPlugin);
}

unsigned int SimulatedHost::Initialize() {
  if (m_pPlugin == nullptr) {
    const unsigned int created = Create();
    if (created != PI::SUCCESS) return created;
    m_pPlugin->m_HostNotify = [](IPLUGINAPI*) {};
  }
  m_Initialized = true;
  return Execute(PI::CMD_INITIALIZE, 0, &m_AdapterIDs);
}

unsigned int SimulatedHost::Start() {
  const unsigned int initialized = Initialize();
  return initialized == PI::SUCCESS ? AssignAdapterNumbers() : initialized;
}

unsigned int SimulatedHost::AssignAdapterNumbers() {
  std::vector<PI::CAdapterID> numbered = m_AdapterIDs;
  for (std::size_t i = 0; i < numbered.size(); ++i) {
    numbered[i].m_GlobalNumber = static_cast<std::int32_t>(i + 1);
  }
  return Execute(PI::CMD_SET_ADAPTER_IDS, 0, &numbered);
}

unsigned int SimulatedHost::DeInitialize() {
  m_Initialized = false;
  return Execute(PI::CMD_DEINITIALIZE, 0, nullptr);
}

void SimulatedHost::Release() {
  releaseIf(&m_pPlugin);
}

unsigned int SimulatedHost::Execute(unsigned int command, std::uint64_t objectId, void* payload) {
  return m_pPlugin->Execute(static_cast<PI::_COMMAND>(command), objectId, payload);
}

std::vector<PI::CObject> SimulatedHost::Topology() {
  std::vector<PI::CObject> objects;
  Execute(PI::CMD_GET_TOPOLOGY, 0, &objects);
  return objects;
}

namespace {

std::uint64_t IdOf(const std::vector<PI::CObject>& objects, std::uint32_t type, std::size_t index) {
  for (const PI::CObject& object : objects) {
    if (object.m_ObjectType == type && index-- == 0) return object.m_ID;
  }
  return 0;
}

}  // namespace

std::uint64_t SimulatedHost::PluginId() {
  return IdOf(Topology(), PI::OBJECT_PLUGIN, 0);
}

std::uint64_t SimulatedHost::AdapterId(std::size_t index) {
  return IdOf(Topology(), PI::OBJECT_ADAPTER, index);
}

std::uint64_t SimulatedHost::DriveId(std::size_t index) {
  return IdOf(Topology(), PI::OBJECT_PHYSICAL_DRIVE, index);
}

PI::CObject SimulatedHost::ObjectOf(std::uint64_t id) {
  for (const PI::CObject& object : Topology()) {
    if (object.m_ID == id) return object;
  }
  return {};
}

std::vector<PI::CProperty> SimulatedHost::Properties(std::uint64_t id) {
  std::vector<PI::CProperty> properties;
  Execute(PI::CMD_GET_PROPERTIES, id, &properties);
  return properties;
}

unsigned int SimulatedHost::Property(std::uint64_t id, std::uint32_t propertyId,
                                     PI::CProperty& property) {
  property.m_PropertyID = propertyId;
  return Execute(PI::CMD_GET_PROPERTY, id, &property);
}

unsigned int SimulatedHost::SetPollInterval(int value, int minimum, int maximum) {
  PI::CProperty property(PI::Property::POLL_INTERVAL, true);
  property.SetValue(value, minimum, maximum, 1);
  return Execute(PI::CMD_SET_PROPERTY, PluginId(), &property);
}

std::vector<PI::COperation> SimulatedHost::Operations(std::uint64_t id) {
  std::vector<PI::COperation> operations;
  Execute(PI::CMD_GET_OPERATIONS, id, &operations);
  return operations;
}

unsigned int SimulatedHost::Check(std::uint64_t id, std::uint32_t operationId) {
  PI::COperation operation;
  operation.m_OperationID = operationId;
  return Execute(PI::CMD_CHECK_OPERATION, id, &operation);
}

unsigned int SimulatedHost::Run(std::uint64_t id, std::uint32_t operationId,
                                std::vector<PI::CProperty> parameters) {
  PI::COperation operation;
  operation.m_OperationID = operationId;
  operation.m_Properties = std::move(parameters);
  return Execute(PI::CMD_EXECUTE_OPERATION, id, &operation);
}

std::vector<PI::CEvent> SimulatedHost::CollectEvents() {
  PI::COperation operation;
  operation.m_OperationID = PI::OP_GET_EVENTS;
  Execute(PI::CMD_EXECUTE_OPERATION, PluginId(), &operation);
  return operation.m_Events;
}

std::vector<std::string> SimulatedHost::Traces(unsigned int level) const {
  std::vector<std::string> texts;
  for (const HostKit::TraceLine& line : TraceLines()) {
    if (level == 0 || line.level == level) texts.push_back(line.text);
  }
  return texts;
}

std::vector<HostKit::TraceLine> SimulatedHost::TraceLines() const {
  return RecordedTraces();
}

std::vector<std::string> SimulatedHost::TracesWithLevel(unsigned int mask) const {
  std::vector<std::string> texts;
  for (const HostKit::TraceLine& line : TraceLines()) {
    if ((line.level & mask) != 0) texts.push_back(std::to_string(line.level) + " " + line.text);
  }
  return texts;
}

void SimulatedHost::ClearTraces() {
  const std::lock_guard<std::mutex> guard(g_TraceMutex);
  g_Traces.clear();
}

std::string Render(const PI::CProperty& property) {
  const PI::CProperty plain(PI::Property::UNDEFINED, false);
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << NameOrNumber(HostKit::Family::Property, property.m_PropertyID) << " = "
       << ValueText(property) << " (";
  const char* separator = "";
  const auto note = [&](const char* name, const auto& value, bool differs) {
    if (!differs) return;
    text << separator << name << ' ' << value;
    separator = ", ";
  };
  note("label", NameOrNumber(HostKit::Family::Property, property.m_NameID),
       property.m_NameID != property.m_PropertyID);
  note("sort", property.m_SortKey, property.m_SortKey != plain.m_SortKey);
  note("visible", property.m_Visible, property.m_Visible != plain.m_Visible);
  note("indicator", property.m_Indicator, property.m_Indicator != plain.m_Indicator);
  note("unit", static_cast<std::uint32_t>(property.m_Units), property.m_Units != plain.m_Units);
  note("format", property.m_Format, property.m_Format != plain.m_Format);
  note("fixed", property.m_UnitsFixed, property.m_UnitsFixed != plain.m_UnitsFixed);
  note("writable", property.m_Writable, property.m_Writable);
  text << ')';
  return text.str();
}

std::string Render(const PI::CObject& object) {
  return "object " + Hex(object.m_ID) + " type " + std::to_string(object.m_ObjectType) +
         " parents" + Ids(object.m_Parents) + " children" + Ids(object.m_Children);
}

}  // namespace CorvaneTest
