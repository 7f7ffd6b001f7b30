#include "console/model/FieldTable.h"

#include <fmt/format.h>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "console/model/PropertyConversion.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

namespace P = PI::Property;

// clang-format off

const std::vector<Field> kPluginFields = {
    // name                      heading     property               measure
    {"name",                     "NAME",     P::NAME,               Measure::Text},
    {"version",                  "VERSION",  P::VERSION,            Measure::Text},
    {"vendor",                   "VENDOR",   P::VENDOR,             Measure::Text},
    {"vendor_api_version",       "API",      P::VENDOR_API_VERSION, Measure::Text},
    {"poll_interval_seconds",    "INTERVAL", P::POLL_INTERVAL,      Measure::Seconds},
    {"unique_id",                "UNIQUE",   P::UNIQUE_ID,          Measure::Text},
};

const std::vector<Field> kAdapterFields = {
    // name                          heading      property                      measure           unknown
    {"name",                         "NAME",      P::NAME,                       Measure::Text},
    {"status",                       "STATUS",    P::STATUS,                     Measure::Choice},
    {"status_reasons",               "REASONS",   P::ADDITIONAL_STATUS,          Measure::Choices},
    {"activity",                     "ACTIVITY",  P::ACTIVITY,                   Measure::Choice},
    {"temperature_celsius",          "TEMP",      P::CHIP_TEMPERATURE,           Measure::Celsius, UnknownEncoding::Zero},
    {"temperature_warning_celsius",  "TEMP-WARN", P::HIGH_WARNING_TEMPERATURE,   Measure::Celsius, UnknownEncoding::Zero},
    {"temperature_critical_celsius", "TEMP-CRIT", P::HIGH_CRITICAL_TEMPERATURE,  Measure::Celsius, UnknownEncoding::Zero},
    {"reserve_space_ratio",          "RESERVE",   P::REMAINING_RESERVE_SPACE,    Measure::Ratio},
    {"reserve_space_warning_ratio",  "RES-WARN",  P::RESERVE_WARNING_THRESHOLD,  Measure::Ratio},
    {"reserve_status",               "RES-STATUS", P::RESERVE_STATUS,            Measure::Choice},
    {"write_throttling",             "THROTTLING", P::WRITE_THROTTLING,          Measure::Choice},
    {"physical_size_bytes",          "PHYSICAL",  P::MEMORY_SIZE,                Measure::Bytes,   UnknownEncoding::Zero},
    {"read_bytes",                   "READ",      P::BYTES_READ,                 Measure::Bytes},
    {"written_bytes",                "WRITTEN",   P::BYTES_WRITTEN,              Measure::Bytes},
    {"endurance_used_ratio",         "USED",      P::RATED_ENDURANCE_PERCENT,    Measure::Ratio},
    {"end_of_life_date",             "END OF LIFE", P::ESTIMATED_LIFETIME,       Measure::Text},
    {"slot_power_watts",             "POWER",     P::SLOT_POWER,                 Measure::Watts},
    {"power_limit_watts",            "LIMIT",     P::POWER_LIMIT,                Measure::Watts},
    {"external_power_requirement",   "EXT-POWER", P::EXTERNAL_POWER_REQUIREMENT, Measure::Choice},
    {"external_power_connected",     "CONNECTED", P::EXTERNAL_POWER_CONNECTED,   Measure::Flag},
    {"pci_address",                  "PCI",       P::PCI_BUS,                    Measure::PciAddress},
    {"pci_segment",                  "SEGMENT",   P::PCI_SEGMENT,                Measure::Count,   UnknownEncoding::AllOnes},
    {"pci_bus",                      "BUS",       P::PCI_BUS,                    Measure::Count},
    {"pci_device",                   "DEVICE",    P::PCI_DEVICE,                 Measure::Count},
    {"pci_function",                 "FUNCTION",  P::PCI_FUNCTION,               Measure::Count},
    {"pci_slot",                     "SLOT",      P::PCI_SLOT,                   Measure::Count,   UnknownEncoding::AllOnes},
    {"serial_number",                "SERIAL",    P::SERIAL_NUMBER,              Measure::Text},
    {"vendor",                       "VENDOR",    P::VENDOR,                     Measure::Text},
    {"product",                      "PRODUCT",   P::PRODUCT,                    Measure::Text},
    {"hardware_type",                "HARDWARE",  P::HARDWARE_TYPE,              Measure::Choice},
    {"adapter_number",               "NUMBER",    P::ADAPTER_NUMBER,             Measure::Count},
    {"control_device",               "CONTROL",   P::OS_DEVICE,                  Measure::Text},
    {"driver_name",                  "DRIVER",    P::DRIVER_NAME,                Measure::Text},
    {"driver_version",               "DRIVER-VERSION", P::DRIVER_VERSION,        Measure::Text},
    {"firmware_version",             "FIRMWARE",  P::FIRMWARE_VERSION,           Measure::Text},
    {"manufacture_date",             "MADE",      P::MANUFACTURE_DATE,           Measure::Text},
    {"unique_id",                    "UNIQUE",    P::UNIQUE_ID,                  Measure::Text},
};

const std::vector<Field> kDriveFields = {
    // name                      heading      property                 measure           unknown
    {"name",                     "NAME",      P::NAME,                  Measure::Text},
    {"status",                   "STATUS",    P::STATUS,                Measure::Choice},
    {"physical_size_bytes",      "PHYSICAL",  P::PHYSICAL_SIZE,         Measure::Bytes, UnknownEncoding::Zero},
    {"configurable_size_bytes",  "CONFIGURABLE", P::CONFIGURABLE_SIZE,  Measure::Bytes, UnknownEncoding::Zero},
    {"formatted_size_bytes",     "SIZE",      P::FORMATTED_SIZE,        Measure::Bytes, UnknownEncoding::Zero},
    {"formatted_ratio",          "FORMATTED-RATIO", P::FORMATTED_PERCENTAGE, Measure::Ratio, UnknownEncoding::Zero},
    {"sector_size_bytes",        "SECTOR",    P::BLOCK_SIZE,            Measure::Bytes, UnknownEncoding::Zero},
    {"vendor",                   "VENDOR",    P::VENDOR,                Measure::Text},
    {"product",                  "PRODUCT",   P::PRODUCT,               Measure::Text},
    {"drive_type",               "TYPE",      P::TYPE,                  Measure::Choice},
    {"port_number",              "PORT",      P::PORT_NUMBER,           Measure::Count},
    {"device_number",            "DEVICE",    P::DEVICE_NUMBER,         Measure::Count},
    {"unique_id",                "UNIQUE",    P::UNIQUE_ID,             Measure::Text},
};

// clang-format on

const std::vector<Field> kNoFields;

// Also accepts the identifier and the number of the property, except for the PCI address, which is
// composed of several properties.
bool Matches(const Field& field, const std::string& name) {
  const std::string identifier = HostKit::NameOf(HostKit::Family::Property, field.m_PropertyID);
  return boost::iequals(name, field.m_Name) ||
         (field.m_Measure != Measure::PciAddress &&
          (boost::iequals(name, identifier) || name == std::to_string(field.m_PropertyID)));
}

// Omits the segment if the plug-in does not know it.
Value ReadPciAddress(const Object& object) {
  const auto part = [&](std::uint32_t property) {
    const PI::CProperty* found = object.Find(property);
    return found == nullptr ? std::nullopt : CountOf(*found, UnknownEncoding::AllOnes);
  };
  const auto segment = part(P::PCI_SEGMENT), bus = part(P::PCI_BUS);
  const auto device = part(P::PCI_DEVICE), function = part(P::PCI_FUNCTION);
  if (!bus || !device || !function) return {Measure::PciAddress, {}, Severity::Neutral};
  std::string text = fmt::format("{:02x}:{:02x}.{:x}", *bus, *device, *function);
  if (segment) text = fmt::format("{:04x}:{}", *segment, text);
  return {Measure::PciAddress, text, Severity::Neutral};
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
    names.push_back(
        boost::to_lower_copy(HostKit::NameOf(HostKit::Family::Property, field.m_PropertyID)));
  }
  return names;
}

Value ReadField(const Object& object, const Field& field) {
  if (field.m_Measure == Measure::PciAddress) return ReadPciAddress(object);
  const PI::CProperty* property = object.Find(field.m_PropertyID);
  if (property == nullptr) return {field.m_Measure, {}, Severity::Neutral};
  return Convert(*property, field.m_Measure, field.m_UnknownEncoding);
}

Value ReadField(const Object& object, const std::string& name) {
  const Field* field = FindField(object.m_Kind, name);
  return field == nullptr ? Value{} : ReadField(object, *field);
}

Value ReadProperty(const PI::CProperty& property) {
  return Convert(property, NaturalMeasure(property), UnknownEncoding::None);
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
