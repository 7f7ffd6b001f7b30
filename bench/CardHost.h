// A host for the plug-in with simulated cards, virtual time and an in-memory database. Unlike the
// host used in the tests, it does not record trace lines and calls.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "host/PluginInterface.h"

namespace CorvaneBench {

// Functions throw `std::runtime_error` if a command fails.
class CardHost {
 public:
  explicit CardHost(int cards);
  ~CardHost();
  CardHost(const CardHost&) = delete;
  CardHost& operator=(const CardHost&) = delete;

  // Call in this order.
  void Create();
  void Initialize();
  void AssignAdapterNumbers();  // starts the plug-in's worker
  void Stop();

  // Advances virtual time, so that the plug-in's worker runs.
  void AdvanceSeconds(std::int64_t seconds);

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
