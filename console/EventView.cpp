#include "console/EventView.h"

#include "hostkit/Texts.h"

namespace Console {
namespace {

struct Severity {
  std::uint32_t m_Number;
  const char* m_Name;
  Tone m_Tone;
};

constexpr Severity kSeverities[] = {
    {PI::SEVERITY_INFORMATION, "information", Tone::Plain},
    {PI::SEVERITY_WARNING, "warning", Tone::Warning},
    {PI::SEVERITY_ERROR, "error", Tone::Bad},
};

Severity RowOf(std::uint32_t severity) {
  for (const Severity& row : kSeverities) {
    if (row.m_Number == severity) return row;
  }
  return {severity, "unknown", Tone::Plain};
}

Severity SeverityOf(const LoggedEvent& event) {
  return RowOf(event.m_Severity);
}

// A name that can be pasted back, also when the object has gone.
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
  const Severity severity = SeverityOf(event);
  return {{TextCell(TimeText(event.m_Time)),
           {severity.m_Name, severity.m_Name, severity.m_Tone},
           TextCell(std::to_string(event.m_EventID)),
           TextCell(HostKit::NameOf(HostKit::Family::Event, event.m_EventID)),
           TextCell(ObjectText(object, event)),
           TextCell(event.m_Message)},
          std::nullopt};
}

Json EventJson(const Object* object, const LoggedEvent& event) {
  Json json = {{"time", TimeText(event.m_Time)},
               {"severity", SeverityOf(event).m_Name},
               {"event_id", event.m_EventID},
               {"event", HostKit::NameOf(HostKit::Family::Event, event.m_EventID)},
               {"id", object == nullptr ? Json() : Json(IdText(object->m_ID))},
               {"logged_id", IdText(event.m_ObjectID)}};
  json["object"] = nullptr;
  if (object != nullptr) json["object"] = object->m_Selector;
  json["source"] = event.m_SourceName;
  json["serial_number"] = nullptr;
  if (!event.m_SerialNumber.empty()) json["serial_number"] = event.m_SerialNumber;
  json["text"] = event.m_Message;
  return json;
}

const char* SeverityName(std::uint32_t severity) {
  return RowOf(severity).m_Name;
}

Tone EventTone(const LoggedEvent& event) {
  return SeverityOf(event).m_Tone;
}

}  // namespace Console
