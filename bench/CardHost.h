// A host for the plug-in with simulated cards, virtual time and a database in memory. Unlike the
// one of the tests it records neither trace lines nor calls.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "host/PluginInterface.h"

namespace CorvaneBench {

// A command that fails throws `std::runtime_error`, because there is nothing to measure.
class CardHost {
 public:
  explicit CardHost(int cards);
  ~CardHost();
  CardHost(const CardHost&) = delete;
  CardHost& operator=(const CardHost&) = delete;

  // Start, in this order, and stop.
  void Create();
  void Initialize();
  void AssignAdapterNumbers();  // starts the plug-in's worker
  void Stop();

  // Lets virtual time pass for the plug-in's worker.
  void PassSeconds(std::int64_t seconds);

  std::vector<PI::CObject> Topology();
  std::uint64_t FirstAdapter();
  std::vector<PI::CProperty> Properties(std::uint64_t object);

 private:
  void Execute(PI::_COMMAND command, std::uint64_t object, void* payload);

  const std::filesystem::path m_Directory;
  IPLUGINAPI* m_pPlugin = nullptr;
  std::vector<PI::CAdapterID> m_AdapterIDs;
};

}  // namespace CorvaneBench
