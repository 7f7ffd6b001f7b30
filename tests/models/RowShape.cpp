// Order, type and number of the fields of each row, on which all readers of the host's rows rely.
#include <array>
#include <cstddef>
#include <string_view>
#include <type_traits>

#include "models/Adapter.h"
#include "models/PD.h"
#include "models/Plugin.h"

namespace {

using RaidDataModels::Adapter;
using RaidDataModels::PD;
using RaidDataModels::Plugin;

// Returns S for string, L for list of strings, I for int, U for unsigned long and D for double.
template <class Field>
constexpr char Letter() {
  if (std::is_same_v<Field, std::string>) return 'S';
  if (std::is_same_v<Field, std::vector<std::string>>) return 'L';
  if (std::is_same_v<Field, int>) return 'I';
  if (std::is_same_v<Field, unsigned long>) return 'U';
  return std::is_same_v<Field, double> ? 'D' : '?';
}

struct Field {
  std::string_view name;
  char typeLetter;
  std::size_t offset;
  std::size_t end;
};

#define FIELD(row, name)                                      \
  {#name, Letter<decltype(row::name)>(), offsetof(row, name), \
   offsetof(row, name) + sizeof(row::name)},
#define ADAPTER_FIELD(type, name, initial) FIELD(Adapter, name)
#define PD_FIELD(type, name, initial) FIELD(PD, name)
#define PLUGIN_FIELD(type, name, initial) FIELD(Plugin, name)
constexpr Field kAdapter[] = {ADAPTER_FIELDS(ADAPTER_FIELD)};
constexpr Field kPD[] = {PD_FIELDS(PD_FIELD)};
constexpr Field kPlugin[] = {PLUGIN_FIELDS(PLUGIN_FIELD)};

// A run of consecutive fields of one type.
struct Run {
  char typeLetter;
  std::size_t count;
};

constexpr Run kAdapterRuns[] = {
    {'S', 1}, {'L', 1}, {'I', 1}, {'S', 1}, {'L', 1},  {'S', 2}, {'I', 1}, {'S', 3}, {'I', 2},
    {'S', 5}, {'I', 1}, {'S', 1}, {'I', 1}, {'S', 3},  {'I', 3}, {'S', 1}, {'U', 1}, {'I', 1},
    {'S', 5}, {'I', 1}, {'S', 1}, {'I', 4}, {'S', 11}, {'I', 1}, {'S', 6}, {'I', 1}, {'S', 1},
    {'L', 1}, {'I', 3}, {'S', 5}, {'U', 1}, {'S', 1},  {'I', 2}, {'S', 1}, {'U', 2}, {'S', 2},
    {'I', 5}, {'S', 1}, {'U', 1}, {'S', 2}, {'I', 6},  {'S', 3}, {'I', 2}, {'S', 1}, {'I', 2},
    {'S', 1}, {'I', 2}, {'S', 1}, {'I', 3}, {'S', 2},  {'I', 1}, {'S', 1}, {'I', 1}, {'S', 1},
    {'L', 1}, {'I', 1}, {'S', 1}, {'I', 1}, {'S', 2},  {'I', 2}, {'S', 2}, {'I', 1}, {'S', 1},
    {'I', 1}, {'S', 1}, {'I', 1}, {'S', 3}, {'I', 2},  {'S', 3}, {'L', 1}, {'S', 1}, {'I', 1},
    {'S', 1}, {'I', 1}, {'S', 1}, {'U', 1}, {'S', 4}};

constexpr Run kPDRuns[] = {{'S', 1}, {'I', 1}, {'L', 1}, {'S', 1}, {'I', 1}, {'U', 1}, {'S', 2},
                           {'I', 3}, {'S', 4}, {'I', 1}, {'L', 1}, {'U', 1}, {'S', 1}, {'I', 1},
                           {'U', 1}, {'S', 1}, {'I', 2}, {'S', 1}, {'I', 1}, {'S', 3}, {'U', 1},
                           {'I', 5}, {'S', 2}, {'I', 2}, {'D', 1}, {'I', 3}, {'S', 4}, {'I', 3},
                           {'S', 1}, {'I', 1}, {'U', 1}, {'D', 1}, {'I', 3}, {'S', 3}, {'I', 2},
                           {'S', 1}, {'I', 3}, {'S', 3}};

constexpr Run kPluginRuns[] = {{'I', 1}, {'S', 1}, {'U', 1}, {'S', 1},
                               {'I', 1}, {'S', 1}, {'I', 2}, {'S', 3}};

template <std::size_t fieldCount, std::size_t runCount>
constexpr bool FollowsRuns(const Field (&fields)[fieldCount], const Run (&runs)[runCount]) {
  std::size_t at = 0;
  for (const Run& run : runs) {
    for (std::size_t i = 0; i < run.count; ++i, ++at) {
      if (at == fieldCount || fields[at].typeLetter != run.typeLetter) return false;
    }
  }
  return at == fieldCount;
}

// Whether the fields are in this order, with at most alignment padding between and after them.
template <class Row, std::size_t count>
constexpr bool HasNoGaps(const Field (&fields)[count]) {
  std::size_t end = 0;
  for (const Field& field : fields) {
    if (field.offset < end || field.offset - end >= sizeof(long)) return false;
    end = field.end;
  }
  return sizeof(Row) - end < sizeof(long);
}

static_assert(FollowsRuns(kAdapter, kAdapterRuns));
static_assert(FollowsRuns(kPD, kPDRuns));
static_assert(FollowsRuns(kPlugin, kPluginRuns));
static_assert(HasNoGaps<Adapter>(kAdapter) && HasNoGaps<PD>(kPD) && HasNoGaps<Plugin>(kPlugin));

// The fields that plug-ins write have fixed positions, counted from 1.
struct Position {
  std::size_t number;
  std::string_view name;
};

constexpr Position kAdapterPositions[] = {{2, "activityNames"},    {5, "statusReasonNames"},
                                          {21, "pciBus"},          {25, "temperature"},
                                          {40, "adapterFlagA"},    {41, "pciDevice"},
                                          {43, "driverName"},      {46, "driverVersion"},
                                          {59, "firmwareVersion"}, {64, "pciFunction"},
                                          {65, "adapterNumber"},   {67, "hardwareType"},
                                          {72, "hostName"},        {74, "id"},
                                          {77, "objectId"},        {82, "adapterFlagB"},
                                          {89, "factorySize"},     {95, "name"},
                                          {115, "product"},        {123, "pciSegment"},
                                          {124, "serialNumber"},   {136, "statusName"},
                                          {146, "location"},       {147, "vendor"}};

constexpr Position kPDPositions[] = {{5, "sectorSize"},
                                     {6, "configurableSize"},
                                     {10, "objectIdLow"},
                                     {12, "endOfLifeDate"},
                                     {16, "adapterNumber"},
                                     {19, "hostName"},
                                     {20, "id"},
                                     {21, "objectId"},
                                     {25, "mediaType"},
                                     {27, "shortName"},
                                     {30, "factorySize"},
                                     {32, "driveFlagA"},
                                     {33, "hoursOfUse"},
                                     {37, "product"},
                                     {38, "ratedEndurancePercent"},
                                     {40, "remainingReserve"},
                                     {42, "reserveWarning"},
                                     {47, "serialNumber"},
                                     {49, "driveFlagB"},
                                     {51, "statusName"},
                                     {53, "bytesReadKiB"},
                                     {54, "bytesWrittenKiB"},
                                     {58, "interfaceType"},
                                     {59, "location"},
                                     {60, "vendor"},
                                     {61, "writesRemainingPercent"},
                                     {62, "writeThrottling"}};

constexpr Position kPluginPositions[] = {{1, "id"},         {2, "apiVersion"},    {3, "objectId"},
                                         {4, "pluginName"}, {5, "pollInterval"},  {9, "moduleId"},
                                         {10, "vendor"},    {11, "pluginVersion"}};

template <std::size_t fieldCount, std::size_t positionCount>
constexpr bool MatchesPositions(const Field (&fields)[fieldCount],
                                const Position (&positions)[positionCount]) {
  for (const Position& position : positions) {
    if (fields[position.number - 1].name != position.name) return false;
  }
  return true;
}

static_assert(MatchesPositions(kAdapter, kAdapterPositions));
static_assert(MatchesPositions(kPD, kPDPositions));
static_assert(MatchesPositions(kPlugin, kPluginPositions));

template <std::size_t count>
constexpr bool NamesDiffer(const Field (&fields)[count]) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = i + 1; j < count; ++j) {
      if (fields[i].name == fields[j].name) return false;
    }
  }
  return true;
}

static_assert(NamesDiffer(kAdapter) && NamesDiffer(kPD) && NamesDiffer(kPlugin));

template <class Row>
constexpr bool IsPlainValue() {
  return std::is_default_constructible_v<Row> && std::is_copy_assignable_v<Row> &&
         std::is_standard_layout_v<Row> && !std::is_polymorphic_v<Row>;
}

static_assert(IsPlainValue<Adapter>() && IsPlainValue<PD>() && IsPlainValue<Plugin>());

}  // namespace
