#include "console/report/EventRows.h"

#include "console/base/Timestamp.h"
#include "console/model/EventSeverity.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

// Returns a name that commands accept, even if the object has been removed.
std::string ObjectText(const Object* object, const LoggedEvent& event) {
  if (object != nullptr) return object->m_Selector;
  return event.m_SerialNumber.empty() ? IdText(event.m_ObjectID) : event.m_SerialNumber;
}

}  // namespace

const std::vector<Column>& EventColumns() {
  static const std::vector<Column> columns = {
      {"TIME", "time", false, false, 25},    {"SEVERITY", "severity", false, false, 11},
      {"ID", "event_id", true, false, 5},    {"EVENT", "event", false, false, 36},
      {"OBJECT", "object", false, false, 6}, {"TEXT", "text", false, false, 0},
  };
  return columns;
}

Row EventRow(const Object* object, const LoggedEvent& event) {
  const char* severity = SeverityName(event.m_Severity);
  return {{TimeCell(event.m_Time),
           {severity, severity, SeverityClass(event.m_Severity)},
           TextCell(std::to_string(event.m_EventID)),
           TextCell(HostKit::NameOf(HostKit::Family::Event, event.m_EventID)),
           TextCell(ObjectText(object, event)),
           TextCell(event.m_Message)},
          std::nullopt};
}

Json EventJson(const Object* object, const LoggedEvent& event) {
  Json json = {{"number", event.m_Number == 0 ? Json() : Json(event.m_Number)},
               {"time", TimeText(event.m_Time)},
               {"severity", SeverityName(event.m_Severity)},
               {"event_id", event.m_EventID},
               {"event", HostKit::NameOf(HostKit::Family::Event, event.m_EventID)},
               {"id", object == nullptr ? Json() : IdJson(*object)},
               {"logged_id", IdText(event.m_ObjectID)}};
  json["object"] = nullptr;
  if (object != nullptr) json["object"] = object->m_Selector;
  json["source"] = event.m_SourceName;
  json["serial_number"] = nullptr;
  if (!event.m_SerialNumber.empty()) json["serial_number"] = event.m_SerialNumber;
  json["text"] = event.m_Message;
  return json;
}

}  // namespace Console
