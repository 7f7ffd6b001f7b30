// A host for the plug-in with simulated cards, virtual time and an in-memory database. Unlike the
// host used in the tests, it does not record trace lines and calls.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "host/PluginInterface.h"

namespace CorvaneBench {

// All functions except `Stop` throw `std::runtime_error` if a command fails.
class CardHost {
 public:
  explicit CardHost(int cards);
  ~CardHost();
  CardHost(const CardHost&) = delete;
  CardHost& operator=(const CardHost&) = delete;

  // Call in this order. `Create` can be called again after `Stop`; the destructor calls `Stop` if
  // needed.
  void Create();                // clears the database and creates the plug-in
  void Initialize();            // command 1, which scans the cards
  void AssignAdapterNumbers();  // command 2, which starts the plug-in's worker
  void Stop();                  // command 3, then releases the plug-in

  // Advances virtual time, so that the plug-in's worker runs.
  void AdvanceSeconds(std::int64_t seconds);

  std::vector<PI::CObject> Topology();
  std::uint64_t FirstAdapterId();  // reads the topology
  std::vector<PI::CProperty> Properties(std::uint64_t objectId);

 private:
  void Execute(PI::_COMMAND command, std::uint64_t objectId, void* payload);

  const std::filesystem::path m_Directory;
  IPLUGINAPI* m_pPlugin = nullptr;
  std::vector<PI::CAdapterID> m_AdapterIDs;
};

}  // namespace CorvaneBench
