// Matches events of earlier runs with the objects of this run.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "console/model/Model.h"
#include "console/plugin/EventLogClient.h"

namespace Console {

// Finds the current object of an event of an earlier run: by type and serial number, or by name if
// the event has no serial number. The model must outlive the matcher.
class EventMatcher {
 public:
  explicit EventMatcher(const Model& model);

  // Returns the object of the event, or null.
  const Object* Find(const LoggedEvent& event) const;
  // Groups the events by object and omits those whose object has been removed.
  std::map<const Object*, std::vector<LoggedEvent>> GroupByObject(
      const std::vector<LoggedEvent>& log) const;

 private:
  using Key = std::pair<std::uint32_t, std::string>;

  std::map<Key, const Object*> m_BySerialNumber;
  std::map<std::string, const Object*> m_ByName;
};

}  // namespace Console
