// Events of earlier runs and the objects of this one.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "console/model/Model.h"
#include "console/plugin/EventLogClient.h"

namespace Console {

// Finds the current object of an event of an earlier run: by kind and by serial number of the card,
// or by name if it has none. The model must outlive it.
class EventMatcher {
 public:
  explicit EventMatcher(const Model& model);

  // The object, or null.
  const Object* Find(const LoggedEvent& event) const;
  // The events by object, without those whose object is gone.
  std::map<const Object*, std::vector<LoggedEvent>> Sort(const std::vector<LoggedEvent>& log) const;

 private:
  using Key = std::pair<std::uint32_t, std::string>;

  std::map<Key, const Object*> m_BySerialNumber;
  std::map<std::string, const Object*> m_ByName;
};

}  // namespace Console
