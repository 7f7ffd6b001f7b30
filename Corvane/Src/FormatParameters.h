// The parameters of a format and their possible values.
#pragma once

#include <cstdint>
#include <vector>

#include "Corvane/Src/DeviceRecords.h"
#include "Corvane/Src/HostNumbers.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

inline const std::vector<int> kCapacityChoices = {
    PI::Value::MAXIMUM_CAPACITY, PI::Value::FACTORY_CAPACITY, PI::Value::IMPROVED_PERFORMANCE,
    PI::Value::HIGH_PERFORMANCE, PI::Value::CUSTOM};

struct SectorSizeChoice {
  std::uint32_t m_Bytes;
  int m_Value;
};

// In ascending order. The first row is used for sizes and values that are not in the table.
constexpr SectorSizeChoice kSectorSizes[] = {
    {512, PI::Value::_512B}, {1024, PI::Value::_1K}, {2048, PI::Value::_2K},
    {4096, PI::Value::_4K},  {8192, PI::Value::_8K},
};

inline int SectorSizeValue(std::uint32_t bytes) {
  for (const SectorSizeChoice& choice : kSectorSizes) {
    if (choice.m_Bytes == bytes) return choice.m_Value;
  }
  return kSectorSizes[0].m_Value;
}

inline std::uint32_t SectorSizeBytes(int value) {
  for (const SectorSizeChoice& choice : kSectorSizes) {
    if (choice.m_Value == value) return choice.m_Bytes;
  }
  return kSectorSizes[0].m_Bytes;
}

inline std::vector<int> SectorSizeChoices(const CFusionIOPhysicalDrive& drive) {
  std::vector<int> values;
  for (const SectorSizeChoice& choice : kSectorSizes) {
    if (choice.m_Bytes < drive.m_MinSectorSize) continue;
    if (choice.m_Bytes > drive.m_MaxSectorSize) break;
    values.push_back(choice.m_Value);
  }
  if (values.empty()) values.push_back(kSectorSizes[0].m_Value);
  return values;
}

// Appends the parameters of a format with their defaults. Currently no drive lists a format; a host
// that executes one by number must pass the same parameters.
inline void AppendFormatParameters(const CFusionIOPhysicalDrive& drive,
                                   std::vector<PI::CProperty>& parameters) {
  PI::CProperty formatting = MakeProperty(PI::Property::CHOICE_PARAM, true);
  formatting.m_NameID = PI::Property::FORMATTING;
  formatting.SetValue(PI::Value::FACTORY_CAPACITY, kCapacityChoices);
  parameters.push_back(formatting);

  PI::CProperty size = MakeProperty(PI::Property::RANGE_PARAM, true);
  size.m_NameID = PI::Property::SIZE;
  size.SetValue(100, 10, 100, 1);
  size.m_Units = PI::UNITS_PERCENT;
  parameters.push_back(size);

  if (drive.m_PowerOfTwoSectors) {
    PI::CProperty sectors = MakeProperty(PI::Property::CHOICE_PARAM, true);
    sectors.m_NameID = PI::Property::BLOCK_SIZE;
    sectors.SetValue(SectorSizeValue(drive.m_SectorSize), SectorSizeChoices(drive));
    parameters.push_back(sectors);
    return;
  }
  PI::CProperty sectors = MakeProperty(PI::Property::RANGE_PARAM, true);
  sectors.m_NameID = PI::Property::BLOCK_SIZE;
  sectors.SetValue(static_cast<int>(drive.m_SectorSize), static_cast<int>(drive.m_MinSectorSize),
                   static_cast<int>(drive.m_MaxSectorSize), drive.m_SectorSizeMultiplier);
  sectors.m_Units = PI::UNITS_BYTES;
  parameters.push_back(sectors);
}

}  // namespace NAMESPACE_Corvane
