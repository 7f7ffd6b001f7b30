#include "console/model/StaleValues.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/Printable.h"
#include "console/model/FieldTable.h"

namespace Console {
namespace {

// Fields that are current, or constant, even if the card cannot be read.
constexpr const char* kCurrent[] = {
    "name",           "status",           "unreadable_reason", "last_seen_at",
    "last_read_at",   "pci_address",      "pci_segment",       "pci_bus",
    "pci_device",     "pci_function",     "pci_slot",          "serial_number",
    "vendor",         "product",          "hardware_type",     "adapter_number",
    "control_device", "manufacture_date", "unique_id",         "drive_type",
    "port_number",    "device_number"};

}  // namespace

const Object* UnreadableCardOf(const Model& model, const Object& object) {
  const Object* const card = AdapterOf(model, object);
  return card != nullptr && card->m_Access == Access::Unreadable ? card : nullptr;
}

bool IsStale(const Model& model, const Object& object, const std::string& property) {
  if (UnreadableCardOf(model, object) == nullptr) return false;
  const Field* const field = FindField(object.m_Kind, property);
  const char* const name = field == nullptr ? property.c_str() : field->m_Name;
  return std::none_of(std::begin(kCurrent), std::end(kCurrent),
                      [&](const char* current) { return std::strcmp(current, name) == 0; });
}

std::string UnreadableText(const Object& card) {
  const std::string cause = FieldText(card, "unreadable_reason");
  return cause.empty() ? "the card cannot be read" : Base::Printable(cause);
}

}  // namespace Console
