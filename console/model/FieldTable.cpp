#include "console/model/FieldTable.h"

#include <fmt/format.h>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "console/model/PropertyConversion.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

namespace P = PI::Property;

// clang-format off

const std::vector<Field> kPluginFields = {
    // name                      heading     property               kind
    {"name",                     "NAME",     P::NAME,               ValueKind::Text},
    {"version",                  "VERSION",  P::VERSION,            ValueKind::Text},
    {"vendor",                   "VENDOR",   P::VENDOR,             ValueKind::Text},
    {"vendor_api_version",       "API",      P::VENDOR_API_VERSION, ValueKind::Text},
    {"poll_interval_seconds",    "INTERVAL", P::POLL_INTERVAL,      ValueKind::Seconds},
    {"unique_id",                "UNIQUE",   P::UNIQUE_ID,          ValueKind::Text},
};

const std::vector<Field> kAdapterFields = {
    // name                          heading      property                      kind           unknown
    {"name",                         "NAME",      P::NAME,                       ValueKind::Text},
    {"status",                       "STATUS",    P::STATUS,                     ValueKind::Choice},
    {"plugin_status",                "PLUGIN-STATUS", P::STATUS,                 ValueKind::Choice},
    {"status_reasons",               "REASONS",   P::ADDITIONAL_STATUS,          ValueKind::Choices},
    {"plugin_status_reasons",        "PLUGIN-REASONS", P::ADDITIONAL_STATUS,     ValueKind::Choices},
    {"unreadable_reason",            "CAUSE",     kNoProperty,                   ValueKind::Text},
    {"last_seen_at",                 "LAST SEEN", kNoProperty,                   ValueKind::Text},
    {"last_read_at",                 "LAST READ", kNoProperty,                   ValueKind::Text},
    {"activity",                     "ACTIVITY",  P::ACTIVITY,                   ValueKind::Choice},
    {"temperature_celsius",          "TEMP",      P::CHIP_TEMPERATURE,           ValueKind::Celsius, UnknownEncoding::Zero},
    {"temperature_warning_celsius",  "TEMP-WARN", P::HIGH_WARNING_TEMPERATURE,   ValueKind::Celsius, UnknownEncoding::Zero},
    {"temperature_critical_celsius", "TEMP-CRIT", P::HIGH_CRITICAL_TEMPERATURE,  ValueKind::Celsius, UnknownEncoding::Zero},
    {"reserve_space_ratio",          "RESERVE",   P::REMAINING_RESERVE_SPACE,    ValueKind::Ratio},
    {"reserve_space_warning_ratio",  "RES-WARN",  P::RESERVE_WARNING_THRESHOLD,  ValueKind::Ratio},
    {"reserve_status",               "RES-STATUS", P::RESERVE_STATUS,            ValueKind::Choice},
    {"write_throttling",             "THROTTLING", P::WRITE_THROTTLING,          ValueKind::Choice},
    {"formatted_size_bytes",         "SIZE",      kNoProperty,                   ValueKind::Bytes},
    {"physical_size_bytes",          "PHYSICAL",  P::MEMORY_SIZE,                ValueKind::Bytes,   UnknownEncoding::Zero},
    {"read_bytes",                   "READ",      P::BYTES_READ,                 ValueKind::Bytes},
    {"written_bytes",                "WRITTEN",   P::BYTES_WRITTEN,              ValueKind::Bytes},
    {"endurance_used_ratio",         "USED",      P::RATED_ENDURANCE_PERCENT,    ValueKind::Ratio},
    {"end_of_life_date",             "END OF LIFE", P::ESTIMATED_LIFETIME,       ValueKind::Text},
    {"slot_power_watts",             "POWER",     P::SLOT_POWER,                 ValueKind::Watts},
    {"power_limit_watts",            "LIMIT",     P::POWER_LIMIT,                ValueKind::Watts},
    {"external_power_requirement",   "EXT-POWER", P::EXTERNAL_POWER_REQUIREMENT, ValueKind::Choice},
    {"external_power_connected",     "CONNECTED", P::EXTERNAL_POWER_CONNECTED,   ValueKind::Flag},
    {"pci_address",                  "PCI",       P::PCI_BUS,                    ValueKind::PciAddress},
    {"pci_segment",                  "SEGMENT",   P::PCI_SEGMENT,                ValueKind::Count,   UnknownEncoding::AllOnes},
    {"pci_bus",                      "BUS",       P::PCI_BUS,                    ValueKind::Count},
    {"pci_device",                   "DEVICE",    P::PCI_DEVICE,                 ValueKind::Count},
    {"pci_function",                 "FUNCTION",  P::PCI_FUNCTION,               ValueKind::Count},
    {"pci_slot",                     "SLOT",      P::PCI_SLOT,                   ValueKind::Count,   UnknownEncoding::AllOnes},
    {"serial_number",                "SERIAL",    P::SERIAL_NUMBER,              ValueKind::Text},
    {"vendor",                       "VENDOR",    P::VENDOR,                     ValueKind::Text},
    {"product",                      "PRODUCT",   P::PRODUCT,                    ValueKind::Text},
    {"hardware_type",                "HARDWARE",  P::HARDWARE_TYPE,              ValueKind::Choice},
    {"adapter_number",               "NUMBER",    P::ADAPTER_NUMBER,             ValueKind::Count},
    {"locate_led",                   "LED",       kNoProperty,                   ValueKind::Choice},
    {"control_device",               "CONTROL",   P::OS_DEVICE,                  ValueKind::Text},
    {"driver_name",                  "DRIVER",    P::DRIVER_NAME,                ValueKind::Text},
    {"driver_version",               "DRIVER-VERSION", P::DRIVER_VERSION,        ValueKind::Text},
    {"firmware_version",             "FIRMWARE",  P::FIRMWARE_VERSION,           ValueKind::Text},
    {"manufacture_date",             "MADE",      P::MANUFACTURE_DATE,           ValueKind::Text},
    {"unique_id",                    "UNIQUE",    P::UNIQUE_ID,                  ValueKind::Text},
};

const std::vector<Field> kDriveFields = {
    // name                      heading      property                 kind           unknown
    {"name",                     "NAME",      P::NAME,                  ValueKind::Text},
    {"status",                   "STATUS",    P::STATUS,                ValueKind::Choice},
    {"plugin_status",            "PLUGIN-STATUS", P::STATUS,            ValueKind::Choice},
    {"physical_size_bytes",      "PHYSICAL",  P::PHYSICAL_SIZE,         ValueKind::Bytes, UnknownEncoding::Zero},
    {"configurable_size_bytes",  "CONFIGURABLE", P::CONFIGURABLE_SIZE,  ValueKind::Bytes, UnknownEncoding::Zero},
    {"formatted_size_bytes",     "SIZE",      P::FORMATTED_SIZE,        ValueKind::Bytes, UnknownEncoding::Zero},
    {"formatted_ratio",          "FORMATTED-RATIO", P::FORMATTED_PERCENTAGE, ValueKind::Ratio, UnknownEncoding::Zero},
    {"sector_size_bytes",        "SECTOR",    P::BLOCK_SIZE,            ValueKind::Bytes, UnknownEncoding::Zero},
    {"vendor",                   "VENDOR",    P::VENDOR,                ValueKind::Text},
    {"product",                  "PRODUCT",   P::PRODUCT,               ValueKind::Text},
    {"drive_type",               "TYPE",      P::TYPE,                  ValueKind::Choice},
    {"port_number",              "PORT",      P::PORT_NUMBER,           ValueKind::Count},
    {"device_number",            "DEVICE",    P::DEVICE_NUMBER,         ValueKind::Count},
    {"unique_id",                "UNIQUE",    P::UNIQUE_ID,             ValueKind::Text},
};

// clang-format on

const std::vector<Field> kNoFields;

// Also accepts the identifier and the number of the property, except for the PCI address, which is
// composed of several properties.
bool Matches(const Field& field, const std::string& name) {
  const std::string identifier = HostKit::NameOf(HostKit::Family::Property, field.m_PropertyID);
  return boost::iequals(name, field.m_Name) ||
         (field.m_Kind != ValueKind::PciAddress && field.m_PropertyID != kNoProperty &&
          (boost::iequals(name, identifier) || name == std::to_string(field.m_PropertyID)));
}

// Omits the segment if the plug-in does not know it.
Value ReadPciAddress(const Object& object) {
  const auto part = [&](std::uint32_t property) {
    const PI::CProperty* found = object.Find(property);
    return found == nullptr ? std::nullopt : IntegerOf(*found, UnknownEncoding::AllOnes);
  };
  const auto segment = part(P::PCI_SEGMENT), bus = part(P::PCI_BUS);
  const auto device = part(P::PCI_DEVICE), function = part(P::PCI_FUNCTION);
  if (!bus || !device || !function) return {ValueKind::PciAddress, {}, Severity::Neutral};
  std::string text = fmt::format("{:02x}:{:02x}.{:x}", *bus, *device, *function);
  if (segment) text = fmt::format("{:04x}:{}", *segment, text);
  return {ValueKind::PciAddress, text, Severity::Neutral};
}

constexpr const char* kDateSuffix = "_date";

// The plug-in adds a time of day to some dates, which is always midnight.
Value WithoutMidnight(Value date) {
  constexpr const char* kMidnight = " 00:00";
  auto* const text = std::get_if<std::string>(&date.m_Data);
  if (text != nullptr && boost::ends_with(*text, kMidnight)) boost::erase_last(*text, kMidnight);
  return date;
}

}  // namespace

const std::vector<Field>& FieldsOf(Kind kind) {
  switch (kind) {
    case Kind::Plugin:
      return kPluginFields;
    case Kind::Adapter:
      return kAdapterFields;
    case Kind::Drive:
      return kDriveFields;
    case Kind::Other:
      break;
  }
  return kNoFields;
}

const Field* FindField(Kind kind, const std::string& name) {
  for (const Field& field : FieldsOf(kind)) {
    if (Matches(field, name)) return &field;
  }
  return nullptr;
}

std::vector<std::string> FieldNames(Kind kind) {
  std::vector<std::string> names;
  for (const Field& field : FieldsOf(kind)) {
    names.emplace_back(field.m_Name);
    if (field.m_PropertyID == kNoProperty) continue;
    names.push_back(
        boost::to_lower_copy(HostKit::NameOf(HostKit::Family::Property, field.m_PropertyID)));
  }
  return names;
}

Value ReadField(const Object& object, const Field& field) {
  if (const Value* derived = object.FindDerived(field.m_Name)) return *derived;
  if (field.m_Kind == ValueKind::PciAddress) return ReadPciAddress(object);
  const PI::CProperty* property = object.Find(field.m_PropertyID);
  if (property == nullptr) return {field.m_Kind, {}, Severity::Neutral};
  const Value value = Convert(*property, field.m_Kind, field.m_UnknownEncoding);
  return boost::ends_with(field.m_Name, kDateSuffix) ? WithoutMidnight(value) : value;
}

Value ReadField(const Object& object, const std::string& name) {
  const Field* field = FindField(object.m_Kind, name);
  return field == nullptr ? Value{} : ReadField(object, *field);
}

Value ReadProperty(const PI::CProperty& property) {
  return Convert(property, ImpliedKind(property), UnknownEncoding::None);
}

std::string FieldText(const Object& object, const std::string& name) {
  const Field* field = FindField(object.m_Kind, name);
  if (field == nullptr) return {};
  const Value value = ReadField(object, *field);
  return value.Known() ? BareText(value) : std::string();
}

std::string SerialOf(const Model& model, const Object& object) {
  const Object* adapter = AdapterOf(model, object);
  return adapter == nullptr ? std::string() : FieldText(*adapter, "serial_number");
}

}  // namespace Console
