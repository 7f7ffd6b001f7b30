#include "console/report/GroupedObject.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "base/Printable.h"
#include "console/base/DateTimeText.h"
#include "console/base/Timestamp.h"
#include "console/model/SizeText.h"
#include "console/render/Bar.h"
#include "console/render/TextWidth.h"
#include "console/report/Limits.h"

namespace Console {
namespace {

struct GroupedProperty {
  const char* m_Name;
  const char* m_Group;
};

constexpr const char* kHealth = "Health";
constexpr const char* kWear = "Wear";
constexpr const char* kCapacity = "Capacity";
constexpr const char* kPlace = "Place";
constexpr const char* kVersions = "Versions";
constexpr const char* kPlugin = "Plug-in";

constexpr const char* kGroups[] = {kHealth, kWear, kCapacity, kPlace, kVersions, kPlugin};

// Properties that are not listed are in the last group.
constexpr GroupedProperty kGroupedProperties[] = {
    {"status", kHealth},
    {"plugin_status", kHealth},
    {"status_reasons", kHealth},
    {"plugin_status_reasons", kHealth},
    {"activity", kHealth},
    {"temperature_celsius", kHealth},
    {"temperature_warning_celsius", kHealth},
    {"temperature_critical_celsius", kHealth},
    {"write_throttling", kHealth},
    {"slot_power_watts", kHealth},
    {"power_limit_watts", kHealth},
    {"external_power_requirement", kHealth},
    {"external_power_connected", kHealth},
    {"last_read_at", kHealth},
    {"last_seen_at", kHealth},
    {"unreadable_reason", kHealth},
    {"reserve_space_ratio", kWear},
    {"reserve_space_warning_ratio", kWear},
    {"reserve_status", kWear},
    {"endurance_used_ratio", kWear},
    {"end_of_life_date", kWear},
    {"read_bytes", kWear},
    {"written_bytes", kWear},
    {"physical_size_bytes", kCapacity},
    {"configurable_size_bytes", kCapacity},
    {"formatted_size_bytes", kCapacity},
    {"formatted_ratio", kCapacity},
    {"sector_size_bytes", kCapacity},
    {"serial_number", kPlace},
    {"pci_address", kPlace},
    {"pci_segment", kPlace},
    {"pci_bus", kPlace},
    {"pci_device", kPlace},
    {"pci_function", kPlace},
    {"pci_slot", kPlace},
    {"adapter_number", kPlace},
    {"control_device", kPlace},
    {"port_number", kPlace},
    {"device_number", kPlace},
    {"locate_led", kPlace},
    {"version", kVersions},
    {"vendor_api_version", kVersions},
    {"vendor", kVersions},
    {"product", kVersions},
    {"hardware_type", kVersions},
    {"drive_type", kVersions},
    {"driver_name", kVersions},
    {"driver_version", kVersions},
    {"firmware_version", kVersions},
    {"manufacture_date", kVersions},
};

std::string GroupOf(const std::string& name) {
  for (const GroupedProperty& row : kGroupedProperties) {
    if (name == row.m_Name) return row.m_Group;
  }
  return kPlugin;
}

// The value that fills a bar.
struct Scale {
  const char* m_Name;
  const char* m_Full;  // null: the value is a ratio
};

constexpr Scale kScales[] = {
    {"temperature_celsius", "temperature_critical_celsius"},
    {"slot_power_watts", "power_limit_watts"},
    {"reserve_space_ratio", nullptr},
    {"endurance_used_ratio", nullptr},
    {"formatted_ratio", nullptr},
};

std::optional<double> NumberOf(const Object& object, const char* name) {
  const Value value = ReadField(object, name);
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::nullopt : std::optional<double>(*number);
}

// Returns the share of the bar that a property fills, or nothing if it has no bar or is unknown.
std::optional<double> FilledRatio(const Object& object, const std::string& name) {
  for (const Scale& scale : kScales) {
    if (name != scale.m_Name) continue;
    const auto value = NumberOf(object, scale.m_Name);
    const auto full =
        scale.m_Full == nullptr ? std::optional<double>(1) : NumberOf(object, scale.m_Full);
    if (value && full && *full > 0) return *value / *full;
  }
  return std::nullopt;
}

// Returns a size in powers of 1024 as well, because file systems and partitions are sized in them.
std::string BinaryText(const Object& object, const std::string& name) {
  const Field* const field = FindField(object.m_Kind, name);
  if (field == nullptr || field->m_Kind != ValueKind::Bytes) return {};
  const Value value = ReadField(object, *field);
  const auto* bytes = std::get_if<std::uint64_t>(&value.m_Data);
  if (bytes == nullptr || BinarySizeText(*bytes) == DecimalSizeText(*bytes)) return {};
  return fmt::format(" ({})", BinarySizeText(*bytes));
}

constexpr std::size_t kValueColumns = 8;  // lines up the bars below each other
constexpr std::size_t kBarColumns = 12;

std::string ValueText(const Object& object, const std::string& name, const Cell& cell,
                      const Style& style) {
  if (cell.m_Time != 0) {
    return DateTimeText(cell.m_Time, style.m_LocalTime ? TimeZone::Local : TimeZone::Utc);
  }
  const std::string value = Base::Printable(cell.m_Human) + BinaryText(object, name);
  const auto ratio = FilledRatio(object, name);
  if (!ratio) return value;
  const std::string limits = LimitsText(object, name);
  return fmt::format("{}{}{}{}", Fit(value, kValueColumns, style.m_Ascii),
                     Bar(*ratio, kBarColumns, style.m_Ascii), limits.empty() ? "" : "  ", limits);
}

// Long values continue below their start.
std::string LineOf(const Object& object, const Row& row, std::size_t names, const Style& style) {
  constexpr std::size_t kMargin = 2;
  const std::string& name = row.m_Cells[0].m_Bare;
  const std::string line =
      std::string(kMargin, ' ') + Fit(name, names) + ValueText(object, name, row.m_Cells[1], style);
  return WrapText(line, style.m_Width, kMargin + names);
}

}  // namespace

std::string GroupedText(const Object& object, const Table& table, const Style& style) {
  std::size_t names = 0;
  for (const Row& row : table.m_Rows) names = std::max(names, row.m_Cells[0].m_Bare.size() + 2);
  std::string text;
  for (const char* group : kGroups) {
    std::string lines;
    for (const Row& row : table.m_Rows) {
      if (GroupOf(row.m_Cells[0].m_Bare) == group) lines += LineOf(object, row, names, style);
    }
    if (!lines.empty() && style.m_Headings) text += fmt::format("{}\n", group);
    text += lines;
  }
  return text;
}

}  // namespace Console
