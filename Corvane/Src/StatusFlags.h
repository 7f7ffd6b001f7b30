// Reads the three status masks of a card, ignoring transient values.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "Corvane/Src/CardLibrary.h"
#include "Corvane/Src/CardTables.h"
#include "Corvane/Src/Sleep.h"

namespace NAMESPACE_Corvane {

// Reads the masks of an open card: errors, then warnings, then information. Each mask is sampled
// five times, one millisecond apart. If the samples differ, or the card does not have the mask, the
// variable is left unchanged.
inline void ReadStatusFlags(const CardReader& card, unsigned long& errors, unsigned long& warnings,
                            unsigned long& info) {
  struct Mask {
    decltype(VSL(current_errors)) m_Attribute;
    std::uint64_t m_Ignored;
    unsigned long& m_Value;
  };
  const Mask masks[] = {
      {VSL(current_errors), 0, errors},
      {VSL(current_warnings), kIgnoredWarnings, warnings},
      {VSL(current_info), kIgnoredInfo, info},
  };
  for (const Mask& mask : masks) {
    if (!card.Has(mask.m_Attribute)) continue;
    std::uint64_t samples[5];
    for (std::uint64_t& sample : samples) {
      if (&sample != std::begin(samples)) Sleep(1);
      sample = card.Get(mask.m_Attribute) & ~mask.m_Ignored;
    }
    const bool settled = std::equal(std::begin(samples) + 1, std::end(samples), samples);
    if (settled) mask.m_Value = samples[0];
  }
}

}  // namespace NAMESPACE_Corvane
