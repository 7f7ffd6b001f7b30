// The objects that the service read from the plug-in at one point in time.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/PluginInterface.h"

namespace Service {

struct Observation {
  std::uint64_t m_Time = 0;  // milliseconds since the epoch
  // Whether this is the first observation of a plug-in process, which reports only later changes.
  bool m_IsFirst = false;
  // The number of the newest entry of the event log when the objects were read. The entries up to
  // it include all events that this plug-in process had reported by that time.
  std::int64_t m_LogPosition = 0;
  std::shared_ptr<const std::vector<PI::CObject>> m_pObjects;  // not null
  // Serial numbers of cards that are present, but not among the objects, because they cannot be
  // read.
  std::set<std::string> m_Omitted{};
};

}  // namespace Service
