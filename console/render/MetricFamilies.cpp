#include "console/render/MetricFamilies.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <map>
#include <tuple>

#include "base/Printable.h"
#include "console/base/Output.h"
#include "console/base/Timestamp.h"
#include "console/model/CardName.h"
#include "console/model/EffectiveState.h"
#include "console/model/EventSeverity.h"
#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "console/model/PropertyConversion.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using HostKit::NameOf;
using Samples = std::vector<Sample>;
using Labels = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kPrefix = "corvane_";

// The input for a family's samples, in addition to its row.
struct Source {
  const MetricInput& m_Observed;
  std::map<const Object*, std::string> m_CardNames;
};

struct MetricRow {
  const char* m_Name;
  MetricType m_Type;
  const char* m_Unit;
  Samples (*m_Gather)(const MetricRow&, const Source&);
  const char* m_Field;  // or null
  const char* m_Help;
};

// Returns `text` as valid UTF-8 with visible escapes for control characters. Keeps line breaks,
// because the output formats escape them.
std::string LabelText(const std::string& text) {
  std::vector<std::string> lines;
  boost::split(lines, text, boost::is_any_of("\n"));
  for (std::string& line : lines) line = Base::Printable(line);
  return fmt::format("{}", fmt::join(lines, "\n"));
}

std::vector<const Object*> ObjectsOfKind(const Source& source, Kind kind) {
  std::vector<const Object*> objects;
  if (!source.m_Observed.m_IsUp) return objects;
  for (const Object& object : source.m_Observed.m_pModel->Objects()) {
    if (object.m_Kind == kind) objects.push_back(&object);
  }
  return objects;
}

// Returns the labels that identify an object. A drive's name is unique only within its adapter, so
// a drive has both labels.
Labels IdentityOf(const Object& object, const Source& source) {
  Labels labels;
  if (const Object* adapter = AdapterOf(*source.m_Observed.m_pModel, object)) {
    labels.emplace_back("adapter", source.m_CardNames.at(adapter));
  }
  if (object.m_Kind == Kind::Drive) {
    labels.emplace_back("drive", object.m_Selector.substr(object.m_Selector.find('/') + 1));
  }
  return labels;
}

std::string NumberText(const Value& value) {
  if (const auto* count = std::get_if<std::uint64_t>(&value.m_Data)) {
    return fmt::format("{}", *count);
  }
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::string() : fmt::format("{}", *number);
}

void AddStates(Samples& samples, const MetricRow& row, const Labels& identity,
               const std::vector<std::string>& all, const std::vector<std::string>& current) {
  for (const std::string& state : all) {
    Labels labels = identity;
    labels.emplace_back(kPrefix + std::string(row.m_Name), state);
    const bool isCurrent = std::find(current.begin(), current.end(), state) != current.end();
    samples.push_back({labels, isCurrent ? "1" : "0"});
  }
}

void AddMissing(std::vector<std::string>& all, const std::vector<std::string>& current) {
  for (const std::string& state : current) {
    if (std::find(all.begin(), all.end(), state) == all.end()) all.push_back(state);
  }
}

// The functions below are the `m_Gather` of the rows in `kMetrics`: each returns the samples of its
// row.

Samples PluginUp(const MetricRow&, const Source& source) {
  return {{{}, source.m_Observed.m_IsUp ? "1" : "0"}};
}

Samples AdapterCount(const MetricRow&, const Source& source) {
  if (!source.m_Observed.m_IsUp) return {};
  const std::vector<const Object*> adapters = ObjectsOfKind(source, Kind::Adapter);
  const auto count = std::count_if(adapters.begin(), adapters.end(),
                                   [](const Object* each) { return each->m_IsReported; });
  return {{{}, fmt::format("{}", count)}};
}

Samples StartSeconds(const MetricRow&, const Source& source) {
  if (!source.m_Observed.m_IsUp) return {};
  return {{{}, fmt::format("{:.6f}", source.m_Observed.m_StartSeconds)}};
}

template <Kind kind>
Samples Numbers(const MetricRow& row, const Source& source) {
  Samples samples;
  for (const Object* object : ObjectsOfKind(source, kind)) {
    const std::string number = NumberText(ReadField(*object, row.m_Field));
    if (!number.empty()) samples.push_back({IdentityOf(*object, source), number});
  }
  return samples;
}

// Gathers the states that the plug-in declares, and the current state if it is not declared.
template <Kind kind>
Samples States(const MetricRow& row, const Source& source) {
  Samples samples;
  for (const Object* object : ObjectsOfKind(source, kind)) {
    const Field& field = *FindField(kind, row.m_Field);
    const Value value = ReadField(*object, field);
    if (!value.Known()) continue;
    const std::vector<std::string> current = {BareText(value)};
    std::vector<std::string> all;
    if (const PI::CProperty* property = object->Find(field.m_PropertyID)) {
      for (const std::int32_t choice : property->m_Value.m_Choice.m_Allowed) {
        AddMissing(all, {ChoiceName(choice)});
      }
    }
    AddMissing(all, DerivedChoices(kind, row.m_Field));
    AddMissing(all, current);
    AddStates(samples, row, IdentityOf(*object, source), all, current);
  }
  return samples;
}

// Returns all possible reasons, so that a reason that no longer applies is reported as 0 and its
// series has no gap.
std::vector<std::string> AllReasons() {
  std::vector<std::string> names = {kMissing, kUnreadable};
  for (const std::uint32_t number : HostKit::NumbersOf(HostKit::Family::Value)) {
    const bool isReason = !HostKit::AdviceOf(HostKit::Family::Value, number).empty();
    if (isReason && number != PI::Value::ATTACHED) {
      names.push_back(NameOf(HostKit::Family::Value, number));
    }
  }
  return names;
}

Samples Reasons(const MetricRow& row, const Source& source) {
  Samples samples;
  for (const Object* adapter : ObjectsOfKind(source, Kind::Adapter)) {
    if (!ReadField(*adapter, row.m_Field).Known()) continue;
    std::vector<std::string> current;
    for (const Reason& reason : HealthOf(*adapter).m_Reasons) current.push_back(reason.m_Name);
    std::vector<std::string> all = AllReasons();
    AddMissing(all, current);
    AddStates(samples, row, IdentityOf(*adapter, source), all, current);
  }
  return samples;
}

// Fields that identify and locate an object, used as labels; unknown values are omitted.
constexpr const char* kIdentityFields[] = {
    "name",        "serial_number",  "product",          "vendor",           "hardware_type",
    "pci_address", "pci_slot",       "firmware_version", "driver_name",      "driver_version",
    "drive_type",  "control_device", "device_number",    "manufacture_date",
};

template <Kind kind>
Samples Info(const MetricRow&, const Source& source) {
  Samples samples;
  for (const Object* object : ObjectsOfKind(source, kind)) {
    Labels labels = IdentityOf(*object, source);
    labels.emplace_back("object", object->m_Selector);
    for (const char* name : kIdentityFields) {
      const Value value = ReadField(*object, name);
      const auto* text = std::get_if<std::string>(&value.m_Data);
      if (value.Known()) labels.emplace_back(name, text ? LabelText(*text) : BareText(value));
    }
    samples.push_back({labels, "1"});
  }
  return samples;
}

Samples Days(const MetricRow& row, const Source& source) {
  Samples samples;
  for (const Object* adapter : ObjectsOfKind(source, Kind::Adapter)) {
    const auto day = ReadDay(BareText(ReadField(*adapter, row.m_Field)));
    if (day) samples.push_back({IdentityOf(*adapter, source), fmt::format("{}", *day / 1000)});
  }
  return samples;
}

Samples DatabaseUp(const MetricRow&, const Source& source) {
  return {{{}, source.m_Observed.m_IsDatabaseUp ? "1" : "0"}};
}

// A detachment by force that fails is reported as an error, other ones as warnings.
constexpr std::pair<std::uint32_t, std::uint32_t> kHigherSeverities[] = {
    {PI::Event::CTRL_DETACH_FAILED, PI::SEVERITY_ERROR},
};

using EventKind = std::tuple<std::uint32_t, std::uint32_t, std::string>;

// Returns all events that the known cards can have, as in `HostKit::EventCount`, with a count of 0.
std::map<EventKind, std::uint64_t> PossibleEvents(const Source& source) {
  std::map<EventKind, std::uint64_t> counts;
  if (source.m_Observed.m_pModel == nullptr) return counts;
  for (const Object& object : source.m_Observed.m_pModel->Objects()) {
    const std::string serial = SerialOf(*source.m_Observed.m_pModel, object);
    if (object.m_Kind != Kind::Adapter || serial.empty()) continue;
    for (const std::uint32_t event : HostKit::NumbersOf(HostKit::Family::Event)) {
      counts[{event, HostKit::SeverityOf(event), serial}] = 0;
    }
    for (const auto& [event, severity] : kHigherSeverities) counts[{event, severity, serial}] = 0;
  }
  return counts;
}

// An event that has never occurred has the value 0, because Prometheus sees an increase only
// between two samples of a series.
Samples Events(const MetricRow&, const Source& source) {
  if (!source.m_Observed.m_Events) return {};
  std::map<EventKind, std::uint64_t> counts = PossibleEvents(source);
  for (const HostKit::EventCount& event : *source.m_Observed.m_Events) {
    counts[{event.m_EventID, event.m_Severity, event.m_SerialNumber}] = event.m_Count;
  }
  Samples samples;
  for (const auto& [kind, count] : counts) {
    const auto& [event, severity, serial] = kind;
    Labels labels;
    if (!serial.empty()) labels.emplace_back("adapter", LabelText(serial));
    labels.emplace_back("event_id", fmt::format("{}", event));
    const std::string name = NameOf(HostKit::Family::Event, event);
    if (!name.empty()) labels.emplace_back("event", name);
    labels.emplace_back("severity", SeverityName(severity));
    samples.push_back({labels, fmt::format("{}", count)});
  }
  return samples;
}

// Returns seconds; 0 if the clock has been set back.
std::string AgeText(std::uint64_t time, const Source& source) {
  const std::uint64_t now = std::max(source.m_Observed.m_Now, time);
  return fmt::format("{:.3f}", static_cast<double>(now - time) / 1000);
}

// Also reported for the last objects of a plug-in that is not running.
Samples ReadingAges(const MetricRow&, const Source& source) {
  Samples samples;
  if (source.m_Observed.m_pModel == nullptr) return samples;
  for (const Object& object : source.m_Observed.m_pModel->Objects()) {
    if (object.m_Kind != Kind::Adapter || object.m_LastRead == 0) continue;
    samples.push_back({IdentityOf(object, source), AgeText(object.m_LastRead, source)});
  }
  return samples;
}

Samples ScanAge(const MetricRow&, const Source& source) {
  if (source.m_Observed.m_ScannedAt == 0) return {};
  return {{{}, AgeText(source.m_Observed.m_ScannedAt, source)}};
}

constexpr Kind A = Kind::Adapter;
constexpr Kind D = Kind::Drive;
constexpr MetricType G = MetricType::Gauge;
constexpr MetricType C = MetricType::Counter;
constexpr MetricType S = MetricType::StateSet;
constexpr MetricType I = MetricType::Info;

// clang-format off
constexpr MetricRow kMetrics[] = {
    // name                                type unit    samples       field, help
    {"plugin_up",                            G, "",        PluginUp,     nullptr,
     "Whether the plug-in could be loaded and read."},
    {"database_up",                          G, "",        DatabaseUp,   nullptr,
     "Whether the host can read its database and write events to it."},
    {"adapters",                             G, "",        AdapterCount, nullptr,
     "Number of adapters found by the plug-in."},
    {"adapter",                              I, "",        Info<A>,      nullptr,
     "Names, location and versions of an adapter."},
    {"adapter_status",                       S, "",        States<A>,    "status",
     "Status of the adapter."},
    {"adapter_status_reason",                S, "",        Reasons,      "status_reasons",
     "Reasons for the adapter's status; all 0 when it is attached and healthy."},
    {"adapter_reading_age_seconds",          G, "seconds", ReadingAges,  nullptr,
     "Time since the adapter was last read successfully."},
    {"adapter_temperature_celsius",          G, "celsius", Numbers<A>,   "temperature_celsius",
     "Temperature of the adapter's controller."},
    {"adapter_temperature_warning_celsius",  G, "celsius", Numbers<A>,   "temperature_warning_celsius",
     "Temperature above which the adapter warns."},
    {"adapter_temperature_critical_celsius", G, "celsius", Numbers<A>,   "temperature_critical_celsius",
     "Highest permitted temperature."},
    {"adapter_reserve_space_ratio",          G, "ratio",   Numbers<A>,   "reserve_space_ratio",
     "Remaining reserve space."},
    {"adapter_reserve_space_warning_ratio",  G, "ratio",   Numbers<A>,   "reserve_space_warning_ratio",
     "Remaining reserve space below which the adapter warns."},
    {"adapter_read_bytes",                   C, "bytes",   Numbers<A>,   "read_bytes",
     "Bytes read from the flash over the adapter's life, exact to about seven digits."},
    {"adapter_written_bytes",                C, "bytes",   Numbers<A>,   "written_bytes",
     "Bytes written to the flash over the adapter's life, exact to about seven digits."},
    {"adapter_endurance_used_ratio",         G, "ratio",   Numbers<A>,   "endurance_used_ratio",
     "Used part of the rated write endurance; above 1 for an adapter beyond its rating."},
    {"adapter_end_of_life_timestamp_seconds", G, "seconds", Days,        "end_of_life_date",
     "Start of the day (UTC) on which the adapter is expected to reach its end of life."},
    {"adapter_slot_power_watts",             G, "watts",   Numbers<A>,   "slot_power_watts",
     "Power that the adapter draws from its slot."},
    {"adapter_power_limit_watts",            G, "watts",   Numbers<A>,   "power_limit_watts",
     "Power that the adapter may draw."},
    {"adapter_write_throttling",             S, "",        States<A>,    "write_throttling",
     "Write throttling of the adapter."},
    {"adapter_locate_led",                   S, "",        States<A>,    "locate_led",
     "State of the adapter's locate LED."},
    {"drive",                                I, "",        Info<D>,      nullptr,
     "Names and type of a drive."},
    {"drive_state",                          S, "",        States<D>,    "status",
     "Status of the drive."},
    {"drive_physical_size_bytes",            G, "bytes",   Numbers<D>,   "physical_size_bytes",
     "Factory size of the drive."},
    {"drive_formatted_size_bytes",           G, "bytes",   Numbers<D>,   "formatted_size_bytes",
     "Formatted size of the drive."},
    {"drive_sector_size_bytes",              G, "bytes",   Numbers<D>,   "sector_size_bytes",
     "Sector size of the drive."},
    {"events",                               C, "",        Events,       nullptr,
     "Events ever written to the event log, by the card's serial number; 0 for the other possible "
     "events of the known cards. A service logs all events; without a service, events are logged "
     "only while a command runs."},
    {"scan_last_duration_seconds",           G, "seconds", StartSeconds, nullptr,
     "Duration of the plug-in's start, including the first scan of all cards."},
    {"scan_last_age_seconds",                G, "seconds", ScanAge,      nullptr,
     "Time since the last scan in which the plug-in could read all cards."},
};
// clang-format on

}  // namespace

std::vector<Family> CollectMetrics(const MetricInput& input) {
  Source source{input, {}};
  if (input.m_pModel != nullptr) source.m_CardNames = CardNames(*input.m_pModel, LabelText);
  std::vector<Family> families;
  for (const MetricRow& row : kMetrics) {
    families.push_back({kPrefix + std::string(row.m_Name), row.m_Type, row.m_Unit, row.m_Help,
                        row.m_Gather(row, source)});
  }
  return families;
}

}  // namespace Console
