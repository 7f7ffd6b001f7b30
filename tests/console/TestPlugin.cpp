// A plug-in whose behavior CONSOLE_TEST_PLUGIN selects, for cases that a real plug-in does not
// produce on demand. It writes a line for each command to the file that CONSOLE_TEST_LOG names.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>

#include "host/PluginInterface.h"

namespace {

std::string Case() {
  const char* text = std::getenv("CONSOLE_TEST_PLUGIN");
  return text == nullptr ? "" : text;
}

void Log(const std::string& line) {
  const char* file = std::getenv("CONSOLE_TEST_LOG");
  if (file != nullptr) std::ofstream(file, std::ios::app) << line << "\n";
}

// Hangs if CONSOLE_TEST_PLUGIN is `place`. Sleeps in a loop, because signals interrupt a sleep.
void HangAt(const std::string& place) {
  if (Case() != place) return;
  Log("hangs");
  for (int i = 0; i < 100; ++i) sleep(60);
}

// Logs that the program has exited normally, which it must not do during a call that hangs.
struct ExitLogger {
  ~ExitLogger() {
    if (Case() == "hang1") Log("cleaned up");
  }
} g_ExitLogger;

constexpr int kUnknownValue = 49999;  // the host has no such value
constexpr std::uint64_t kPlugin = 0x10;
constexpr std::uint64_t kFirstAdapter = 0x20;
constexpr std::uint64_t kFirstDrive = 0x30;

// Waits until the test has sent its signal, or for a second if the test does not set
// CONSOLE_TEST_SIGNALED.
void AwaitSignal() {
  const char* file = std::getenv("CONSOLE_TEST_SIGNALED");
  if (file == nullptr) sleep(1);
  while (file != nullptr && access(file, F_OK) != 0) usleep(10000);
}

PI::CProperty Text(PI::_PROPERTY_ID id, const std::string& text) {
  PI::CProperty property(id, false);
  property.SetValue(text);
  return property;
}

PI::CObject MakeObject(std::uint64_t id, PI::_OBJECT_TYPE type) {
  PI::CObject object;
  object.m_ID = id;
  object.m_ObjectType = type;
  return object;
}

PI::CProperty Status(int value) {
  PI::CProperty property(PI::Property::STATUS, false);
  property.SetValue(value, {value});
  return property;
}

// Values that a terminal, a table or a JSON reader could misread.
void AddUnusualValues(PI::CObject& adapter) {
  adapter.m_Properties.push_back(Text(PI::Property::NAME, "tab\there\x1b[31m"));
  adapter.m_Properties.push_back(Text(PI::Property::SERIAL_NUMBER, "SAME"));
  adapter.m_Properties.push_back(Text(PI::Property::FIRMWARE_VERSION,
                                      "bad\xff"
                                      "utf"));
  adapter.m_Properties.push_back(Status(kUnknownValue));
  PI::CProperty size(PI::Property::MEMORY_SIZE, false);
  size.SetValue(8589934593UL);
  size.m_Units = PI::UNITS_MEGABYTES;
  adapter.m_Properties.push_back(size);
  PI::CProperty beyond(PI::Property::FORMATTING, false);
  beyond.SetValue(7UL);
  adapter.m_Properties.push_back(beyond);
  PI::CProperty segment(PI::Property::PCI_SEGMENT, false);
  segment.SetValue(0xFFFFFFFFUL);
  adapter.m_Properties.push_back(segment);
  for (const auto id :
       {PI::Property::PCI_BUS, PI::Property::PCI_DEVICE, PI::Property::PCI_FUNCTION}) {
    PI::CProperty part(id, false);
    part.SetValue(static_cast<unsigned long>(adapter.m_ID - kFirstAdapter + 0x3b));
    adapter.m_Properties.push_back(part);
  }
}

PI::CProperty PollInterval(int value) {
  PI::CProperty property(PI::Property::POLL_INTERVAL, true);
  property.SetValue(value, 2, 255, 1);
  property.m_Units = PI::UNITS_SECONDS;
  return property;
}

class TestPlugin : public IPLUGINAPI {
 public:
  TestPlugin() {
    m_InterfaceVersion = Case() == "version" ? 3 : 2;
    m_ModuleID = 999;
  }
  ~TestPlugin() override { Log("destroyed"); }

  unsigned int Execute(PI::_COMMAND command, unsigned long object, void* payload) override {
    const std::lock_guard<std::mutex> lock(m_DataLock);
    if (Case() == "noisy") std::printf("noise %d\n", static_cast<int>(command));
    switch (command) {
      case PI::CMD_INITIALIZE:
        return Initialize(*static_cast<std::vector<PI::CAdapterID>*>(payload));
      case PI::CMD_SET_ADAPTER_IDS:
        return SetAdapterIDs(*static_cast<std::vector<PI::CAdapterID>*>(payload));
      case PI::CMD_DEINITIALIZE:
        Log("DeInitialize");
        HangAt("hang in DeInitialize");
        if (m_Worker.joinable()) m_Worker.join();
        return PI::SUCCESS;
      case PI::CMD_GET_TOPOLOGY:
        return GetTopology(*static_cast<std::vector<PI::CObject>*>(payload));
      case PI::CMD_GET_PROPERTY:
        *static_cast<PI::CProperty*>(payload) = PollInterval(m_Interval);
        return PI::SUCCESS;
      case PI::CMD_SET_PROPERTY:
        return SetProperty(object, *static_cast<PI::CProperty*>(payload));
      case PI::CMD_EXECUTE_OPERATION:
        return GetEvents(*static_cast<PI::COperation*>(payload));
      default:
        return PI::ERR_INVALID_COMMAND;
    }
  }

 private:
  unsigned int Initialize(std::vector<PI::CAdapterID>& adapters) {
    Log(m_HostNotify ? "Initialize" : "Initialize without callback");
    if (Case() == "locks") return PI::ERR_LOCK_INITIALIZATION_FAILED;
    if (Case() == "slow") AwaitSignal();
    HangAt("hang");
    if (Case() == "crash") {
      std::fputs("noise\n", stderr);
      std::abort();
    }
    if (Case() == "exit") std::exit(0);
    adapters.resize(2);
    adapters[0].m_AdapterNumber = 0;
    adapters[1].m_AdapterNumber = 1;
    for (PI::CAdapterID& adapter : adapters) adapter.m_GlobalNumber = -1;
    return PI::SUCCESS;
  }

  unsigned int SetAdapterIDs(const std::vector<PI::CAdapterID>& adapters) {
    std::string line = "SetAdapterIDs";
    for (const PI::CAdapterID& id : adapters) line += " " + std::to_string(id.m_GlobalNumber);
    Log(line);
    HangAt("hang in SetAdapterIDs");
    if (Case() == "numbers") return PI::ERR_GENERAL;
    if (Case() == "events") m_Worker = std::thread([this] { Work(); });
    return PI::SUCCESS;
  }

  // One event is pending initially. A second one arrives later and is announced by a notification.
  void Work() {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    m_Available = 2;
    m_HostNotify(this);
  }

  unsigned int GetEvents(PI::COperation& operation) {
    HangAt("hang in GetEvents");
    if (Case() != "events") return PI::SUCCESS;
    for (; m_Delivered < m_Available; ++m_Delivered) {
      PI::CEvent event;
      event.m_ObjectID = m_Delivered == 0 ? kFirstAdapter : 0x99;
      event.m_EventID =
          m_Delivered == 0 ? PI::Event::CTRL_TEMPERATURE_ABOVE_WARN : PI::Event::CTRL_PNPREMOVE;
      event.m_Severity = m_Delivered == 0 ? PI::SEVERITY_WARNING : PI::SEVERITY_INFORMATION;
      event.m_Time = 1795239062000UL;
      event.m_SourceName = "Card";
      operation.m_Events.push_back(event);
    }
    return PI::SUCCESS;
  }

  // Returns two adapters, a drive that is listed only as a child of its adapter, and a drive that
  // no adapter lists.
  unsigned int GetTopology(std::vector<PI::CObject>& objects) {
    Log("GetTopology");
    HangAt("hang" + std::to_string(++m_Topologies));
    if (Case() == "topology") return PI::ERR_COMMAND_ERROR;
    PI::CObject plugin = MakeObject(kPlugin, PI::OBJECT_PLUGIN);
    plugin.m_Properties.push_back(PollInterval(m_Interval));
    objects.push_back(plugin);
    for (std::uint64_t i = 0; i < 2; ++i) {
      PI::CObject adapter = MakeObject(kFirstAdapter + i, PI::OBJECT_ADAPTER);
      if (i == 0) adapter.m_Children.push_back(kFirstDrive);
      if (Case() == "odd") AddUnusualValues(adapter);
      if (Case() == "smart") adapter.m_Properties.push_back(Status(PI::Value::OK));
      objects.push_back(adapter);
    }
    objects.push_back(MakeObject(kFirstDrive, PI::OBJECT_PHYSICAL_DRIVE));
    if (Case() == "smart") objects.back().m_Properties = {Status(PI::Value::AVAILABLE_SMART)};
    objects.push_back(MakeObject(kFirstDrive + 1, PI::OBJECT_PHYSICAL_DRIVE));
    return PI::SUCCESS;
  }

  unsigned int SetProperty(unsigned long object, PI::CProperty& property) {
    HangAt("hang in SetProperty");
    int minimum = 0;
    int maximum = 0;
    unsigned int step = 0;
    property.GetValue(m_Interval, minimum, maximum, step);
    Log("SetProperty " + std::to_string(object) + " " + std::to_string(property.m_PropertyID) +
        " " + std::to_string(m_Interval) + " " + std::to_string(minimum) + " " +
        std::to_string(maximum));
    return Case() == "unset" ? static_cast<unsigned int>(PI::ERR_INVALID_PROPERTY) : 0U;
  }

  std::mutex m_DataLock;  // one command at a time, as in the real plug-in
  int m_Interval = 15;
  int m_Topologies = 0;
  std::thread m_Worker;
  std::atomic<int> m_Available{1};
  int m_Delivered = 0;
};

}  // namespace

extern "C" {
HOST_API unsigned int createIf(IPLUGINAPI** instance);
HOST_API void releaseIf(IPLUGINAPI** instance);
}

unsigned int createIf(IPLUGINAPI** instance) {
  HangAt("hang in createIf");
  if (Case() == "memory") {
    *instance = nullptr;
    return PI::ERR_MEMORY_ERROR;
  }
  *instance = new TestPlugin();
  return PI::SUCCESS;
}

void releaseIf(IPLUGINAPI** instance) {
  delete *instance;
  *instance = nullptr;
}
