// A host around the plug-in with simulated cards, virtual time and a database in memory. Unlike the
// one of the tests it watches nothing, neither trace lines nor calls.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "host/PluginInterface.h"

namespace CorvaneBench {

// A command that fails throws `std::runtime_error`: there is nothing to measure then.
class CardHost {
 public:
  explicit CardHost(int cards);
  ~CardHost();
  CardHost(const CardHost&) = delete;
  CardHost& operator=(const CardHost&) = delete;

  // The way up, in this order, and down.
  void Create();
  void Initialize();
  void GiveNumbers();  // from here on the plug-in watches its cards
  void Stop();

  // Lets the plug-in's watch pass a time of its clock.
  void PassSeconds(std::int64_t seconds);

  std::vector<PI::CObject> Topology();
  std::uint64_t FirstAdapter();
  std::vector<PI::CProperty> Properties(std::uint64_t object);

 private:
  void Execute(PI::_COMMAND command, std::uint64_t object, void* payload);

  const std::filesystem::path m_Folder;
  IPLUGINAPI* m_pPlugin = nullptr;
  std::vector<PI::CAdapterID> m_AdapterIDs;
};

}  // namespace CorvaneBench
