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

const std::vector<Term> kPluginTerms = {
    // name                      heading     property               measure
    {"name",                     "NAME",     P::NAME,               Measure::Text},
    {"version",                  "VERSION",  P::VERSION,            Measure::Text},
    {"vendor",                   "VENDOR",   P::VENDOR,             Measure::Text},
    {"vendor_api_version",       "API",      P::VENDOR_API_VERSION, Measure::Text},
    {"poll_interval_seconds",    "INTERVAL", P::POLL_INTERVAL,      Measure::Seconds},
    {"unique_id",                "UNIQUE",   P::UNIQUE_ID,          Measure::Text},
};

const std::vector<Term> kAdapterTerms = {
    // name                          heading      property                      measure           unknown
    {"name",                         "NAME",      P::NAME,                       Measure::Text},
    {"status",                       "STATUS",    P::STATUS,                     Measure::Choice},
    {"status_reasons",               "REASONS",   P::ADDITIONAL_STATUS,          Measure::Choices},
    {"activity",                     "ACTIVITY",  P::ACTIVITY,                   Measure::Choice},
    {"temperature_celsius",          "TEMP",      P::CHIP_TEMPERATURE,           Measure::Celsius, Nothing::Zero},
    {"temperature_warning_celsius",  "TEMP-WARN", P::HIGH_WARNING_TEMPERATURE,   Measure::Celsius, Nothing::Zero},
    {"temperature_critical_celsius", "TEMP-CRIT", P::HIGH_CRITICAL_TEMPERATURE,  Measure::Celsius, Nothing::Zero},
    {"reserve_space_ratio",          "RESERVE",   P::REMAINING_RESERVE_SPACE,    Measure::Ratio},
    {"reserve_space_warning_ratio",  "RES-WARN",  P::RESERVE_WARNING_THRESHOLD,  Measure::Ratio},
    {"reserve_status",               "RES-STATUS", P::RESERVE_STATUS,            Measure::Choice},
    {"write_throttling",             "THROTTLING", P::WRITE_THROTTLING,          Measure::Choice},
    {"physical_size_bytes",          "PHYSICAL",  P::MEMORY_SIZE,                Measure::Bytes,   Nothing::Zero},
    {"read_bytes",                   "READ",      P::BYTES_READ,                 Measure::Bytes},
    {"written_bytes",                "WRITTEN",   P::BYTES_WRITTEN,              Measure::Bytes},
    {"endurance_used_ratio",         "USED",      P::RATED_ENDURANCE_PERCENT,    Measure::Ratio},
    {"end_of_life_date",             "LASTS-TO",  P::ESTIMATED_LIFETIME,         Measure::Text},
    {"slot_power_watts",             "POWER",     P::SLOT_POWER,                 Measure::Watts},
    {"power_limit_watts",            "LIMIT",     P::POWER_LIMIT,                Measure::Watts},
    {"external_power_requirement",   "EXT-POWER", P::EXTERNAL_POWER_REQUIREMENT, Measure::Choice},
    {"external_power_connected",     "CONNECTED", P::EXTERNAL_POWER_CONNECTED,   Measure::Flag},
    {"pci_address",                  "PCI",       P::PCI_BUS,                    Measure::PciAddress},
    {"pci_segment",                  "SEGMENT",   P::PCI_SEGMENT,                Measure::Count,   Nothing::AllOnes},
    {"pci_bus",                      "BUS",       P::PCI_BUS,                    Measure::Count},
    {"pci_device",                   "DEVICE",    P::PCI_DEVICE,                 Measure::Count},
    {"pci_function",                 "FUNCTION",  P::PCI_FUNCTION,               Measure::Count},
    {"pci_slot",                     "SLOT",      P::PCI_SLOT,                   Measure::Count,   Nothing::AllOnes},
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

const std::vector<Term> kDriveTerms = {
    // name                      heading      property                 measure           unknown
    {"name",                     "NAME",      P::NAME,                  Measure::Text},
    {"status",                   "STATUS",    P::STATUS,                Measure::Choice},
    {"physical_size_bytes",      "PHYSICAL",  P::PHYSICAL_SIZE,         Measure::Bytes, Nothing::Zero},
    {"configurable_size_bytes",  "CONFIGURABLE", P::CONFIGURABLE_SIZE,  Measure::Bytes, Nothing::Zero},
    {"formatted_size_bytes",     "SIZE",      P::FORMATTED_SIZE,        Measure::Bytes, Nothing::Zero},
    {"formatted_ratio",          "FORMATTED-RATIO", P::FORMATTED_PERCENTAGE, Measure::Ratio, Nothing::Zero},
    {"sector_size_bytes",        "SECTOR",    P::BLOCK_SIZE,            Measure::Bytes, Nothing::Zero},
    {"vendor",                   "VENDOR",    P::VENDOR,                Measure::Text},
    {"product",                  "PRODUCT",   P::PRODUCT,               Measure::Text},
    {"drive_type",               "TYPE",      P::TYPE,                  Measure::Choice},
    {"port_number",              "PORT",      P::PORT_NUMBER,           Measure::Count},
    {"device_number",            "DEVICE",    P::DEVICE_NUMBER,         Measure::Count},
    {"unique_id",                "UNIQUE",    P::UNIQUE_ID,             Measure::Text},
};

// clang-format on

const std::vector<Term> kNoTerms;

// A name without its base unit is understood as well.
bool IsCalled(const Term& term, const std::string& name) {
  const std::string identifier = HostKit::NameOf(HostKit::Family::Property, term.m_PropertyID);
  return boost::iequals(name, term.m_Name) ||
         (term.m_Measure != Measure::PciAddress &&
          (boost::iequals(name, identifier) || name == std::to_string(term.m_PropertyID)));
}

// The segment is left out when the plug-in does not know it.
Value ReadPciAddress(const Object& object) {
  const auto part = [&](std::uint32_t property) {
    const PI::CProperty* found = object.Find(property);
    return found == nullptr ? std::nullopt : CountOf(*found, Nothing::AllOnes);
  };
  const auto segment = part(P::PCI_SEGMENT), bus = part(P::PCI_BUS);
  const auto device = part(P::PCI_DEVICE), function = part(P::PCI_FUNCTION);
  if (!bus || !device || !function) return {Measure::PciAddress, {}, Tone::Plain};
  std::string text = fmt::format("{:02x}:{:02x}.{:x}", *bus, *device, *function);
  if (segment) text = fmt::format("{:04x}:{}", *segment, text);
  return {Measure::PciAddress, text, Tone::Plain};
}

}  // namespace

const std::vector<Term>& TermsOf(Kind kind) {
  switch (kind) {
    case Kind::Plugin:
      return kPluginTerms;
    case Kind::Adapter:
      return kAdapterTerms;
    case Kind::Drive:
      return kDriveTerms;
    case Kind::Other:
      break;
  }
  return kNoTerms;
}

const Term* FindTerm(Kind kind, const std::string& name) {
  for (const Term& term : TermsOf(kind)) {
    if (IsCalled(term, name)) return &term;
  }
  return nullptr;
}

std::vector<std::string> TermNames(Kind kind) {
  std::vector<std::string> names;
  for (const Term& term : TermsOf(kind)) {
    names.emplace_back(term.m_Name);
    names.push_back(
        boost::to_lower_copy(HostKit::NameOf(HostKit::Family::Property, term.m_PropertyID)));
  }
  return names;
}

Value ReadTerm(const Object& object, const Term& term) {
  if (term.m_Measure == Measure::PciAddress) return ReadPciAddress(object);
  const PI::CProperty* property = object.Find(term.m_PropertyID);
  if (property == nullptr) return {term.m_Measure, {}, Tone::Plain};
  return Convert(*property, term.m_Measure, term.m_Nothing);
}

Value ReadTerm(const Object& object, const std::string& name) {
  const Term* term = FindTerm(object.m_Kind, name);
  return term == nullptr ? Value{} : ReadTerm(object, *term);
}

Value ReadProperty(const PI::CProperty& property) {
  return Convert(property, NaturalMeasure(property), Nothing::None);
}

std::string TermText(const Object& object, const std::string& name) {
  const Term* term = FindTerm(object.m_Kind, name);
  if (term == nullptr) return {};
  const Value value = ReadTerm(object, *term);
  return value.Known() ? BareText(value) : std::string();
}

std::string SerialOf(const Model& model, const Object& object) {
  const Object* adapter = AdapterOf(model, object);
  return adapter == nullptr ? std::string() : TermText(*adapter, "serial_number");
}

}  // namespace Console
