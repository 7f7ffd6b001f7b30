// A plug-in host for tests, with simulated cards, virtual time, and the ten commands as functions.
//
// Each object has its own temporary directory, cards, PCI bus and configuration. Its destructor
// stops and releases the plug-in.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "cardsim/cardsim.h"
#include "host/PluginInterface.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Texts.h"
#include "hostkit/Tracing.h"

namespace CorvaneTest {

// The trace lines recorded since the last `SimulatedHost` was created. `RecordTrace` adds a line,
// for tests that set another sink. Thread-safe.
std::vector<HostKit::TraceLine> RecordedTraces();
void RecordTrace(const HostKit::TraceLine& line);

class SimulatedHost {
 public:
  // Starts without cards and configuration, and records all trace levels. `setTimeMode` is
  // called before anything else is created.
  explicit SimulatedHost(const std::function<void()>& setTimeMode = HostKit::UseVirtualTime);
  ~SimulatedHost();
  SimulatedHost(const SimulatedHost&) = delete;
  SimulatedHost& operator=(const SimulatedHost&) = delete;

  const std::filesystem::path& Directory() const { return m_Directory; }
  std::filesystem::path IniFile() const { return m_Directory / "config" / "Corvane.ini"; }
  void WriteIni(const std::string& text);
  std::string ReadIni() const;

  // The cards. `AddCard` also plugs the card into the simulated PCI bus.
  CardSim::StateFile& Cards() { return m_Cards; }
  std::string AddCard(std::uint16_t deviceId = 0x1003);
  void RefreshPciBus();

  // `Create` only calls createIf. `Initialize` also sends the Initialize command. `Start` also
  // assigns the adapter numbers. Each returns the result of its last step.
  unsigned int Create();
  unsigned int Initialize();
  unsigned int Start();
  // Assigns the numbers 1, 2, ... to the adapters that `Initialize` returned.
  unsigned int AssignAdapterNumbers();
  unsigned int DeInitialize();
  void Release();

  IPLUGINAPI* Plugin() { return m_pPlugin; }
  unsigned int Execute(unsigned int command, std::uint64_t objectId, void* payload);

  // The adapters that `Initialize` returned.
  std::vector<PI::CAdapterID> m_AdapterIDs;

  std::vector<PI::CObject> Topology();
  std::uint64_t PluginId();
  std::uint64_t AdapterId(std::size_t index);
  std::uint64_t DriveId(std::size_t index);
  // The object in the topology, or a default one if it is missing.
  PI::CObject ObjectOf(std::uint64_t id);

  std::vector<PI::CProperty> Properties(std::uint64_t id);
  // Returns the result of the command. Sets `property` only if that result is 0.
  unsigned int Property(std::uint64_t id, std::uint32_t propertyId, PI::CProperty& property);
  unsigned int SetPollInterval(int value, int minimum = 2, int maximum = 255);
  std::vector<PI::COperation> Operations(std::uint64_t id);
  unsigned int Check(std::uint64_t id, std::uint32_t operationId);
  unsigned int Run(std::uint64_t id, std::uint32_t operationId,
                   std::vector<PI::CProperty> parameters = {});
  std::vector<PI::CEvent> CollectEvents();

  // Card-library calls since the last `ClearCalls`.
  std::vector<std::string> Calls() const { return CardSim::CallTexts(); }
  void ClearCalls() { CardSim::Reset(); }

  // Texts of the recorded trace lines, of one level, or of all levels for 0.
  std::vector<std::string> Traces(unsigned int level = 0) const;
  std::vector<HostKit::TraceLine> TraceLines() const;
  // The lines of all levels in the mask, each preceded by its level: "16 ScanSystem, vsl_open = 5
  // (no)".
  std::vector<std::string> TracesWithLevel(unsigned int mask) const;
  void ClearTraces();

 private:
  std::filesystem::path m_Directory;
  CardSim::StateFile m_Cards;
  IPLUGINAPI* m_pPlugin = nullptr;
  bool m_Initialized = false;
};

// The host's name of a number, or the number if it has none.
std::string NameOrNumber(HostKit::Family family, std::uint32_t number);

// "NAME = value" with everything that differs from the defaults, such as
// "PCI_BUS = 59 (label BUS, sort 23132)".
std::string Render(const PI::CProperty& property);

// "object 0130000000000001 type 19038 parents 0130000000000000 children 0130000000000002".
std::string Render(const PI::CObject& object);

}  // namespace CorvaneTest
