#include "console/report/EventMatcher.h"

#include "console/model/FieldTable.h"

namespace Console {

EventMatcher::EventMatcher(const Model& model) {
  for (const Object& object : model.Objects()) {
    const std::string serial = SerialOf(model, object);
    if (!serial.empty()) m_BySerialNumber.insert({{ObjectTypeOf(object.m_Kind), serial}, &object});
    const std::string name = FieldText(object, "name");
    if (!name.empty()) m_ByName.insert({name, &object});
  }
}

const Object* EventMatcher::Find(const LoggedEvent& event) const {
  if (!event.m_SerialNumber.empty()) {
    const auto found = m_BySerialNumber.find({event.m_ObjectType, event.m_SerialNumber});
    return found == m_BySerialNumber.end() ? nullptr : found->second;
  }
  const auto found = m_ByName.find(event.m_SourceName);
  return found == m_ByName.end() ? nullptr : found->second;
}

std::map<const Object*, std::vector<LoggedEvent>> EventMatcher::GroupByObject(
    const std::vector<LoggedEvent>& log) const {
  std::map<const Object*, std::vector<LoggedEvent>> grouped;
  for (const LoggedEvent& event : log) {
    if (const Object* object = Find(event)) grouped[object].push_back(event);
  }
  return grouped;
}

}  // namespace Console
