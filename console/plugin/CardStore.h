// The stored records of the cards that have been seen on this machine.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "console/model/CardRecords.h"
#include "host/PluginInterface.h"

namespace Console {

class CardStore {
 public:
  virtual ~CardStore() = default;

  // Records the cards that the plug-in has reported, and returns all known cards; none if there is
  // no database that can be used. The cards with the serial numbers `omitted` are present although
  // they are not reported. `timeMs` is in milliseconds since the epoch.
  virtual CardRecords Record(const std::vector<PI::CObject>& objects,
                             const std::set<std::string>& omitted, std::uint64_t timeMs) = 0;
};

using CardStoreFactory = std::function<std::unique_ptr<CardStore>()>;

}  // namespace Console
