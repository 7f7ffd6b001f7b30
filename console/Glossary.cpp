#include "console/Glossary.h"

#include "host/Identifiers.h"

namespace Console {

using HostKit::Family;

#define ERROR_ENTRY(name, number) {Family::Error, number},
#define EVENT_ENTRY(name, number) {Family::Event, number},
#define OPERATION_ENTRY(name, number) {Family::Operation, number},
#define PROPERTY_ENTRY(name, number) {Family::Property, number},
#define VALUE_ENTRY(name, number, text) {Family::Value, number},

const std::vector<Entry>& AllEntries() {
  static const std::vector<Entry> entries = {
      // clang-format off
      PI_ERRORS(ERROR_ENTRY)
      PI_EVENTS(EVENT_ENTRY)
      PI_OPERATIONS(OPERATION_ENTRY)
      PI_PROPERTIES(PROPERTY_ENTRY)
      PI_SHORT_NAMES(PROPERTY_ENTRY)
      PI_VALUES(VALUE_ENTRY)
      // clang-format on
  };
  return entries;
}

#undef ERROR_ENTRY
#undef EVENT_ENTRY
#undef OPERATION_ENTRY
#undef PROPERTY_ENTRY
#undef VALUE_ENTRY

std::string NameOf(const Entry& entry) {
  return HostKit::NameOf(entry.m_Family, entry.m_Number);
}

const char* FamilyName(Family family) {
  switch (family) {
    case Family::Error:
      return "error";
    case Family::Event:
      return "event";
    case Family::Operation:
      return "operation";
    case Family::Property:
      return "property";
    case Family::Value:
      return "value";
  }
  return "";
}

}  // namespace Console
