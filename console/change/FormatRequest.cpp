#include "console/change/FormatRequest.h"

#include <fmt/format.h>

#include <vector>

#include "console/base/Failure.h"
#include "console/base/Number.h"

namespace Console {
namespace {

// Parses an integer from `min` to `max`. Returns 0 if the text is invalid or out of range.
std::int32_t ParseInRange(const std::string& text, std::int32_t min, std::int32_t max) {
  const auto number = ReadNumber<std::int32_t>(text);
  return number && *number >= min && *number <= max ? *number : 0;
}

void ParseCapacity(const FormatTexts& texts, FormatRequest& request) {
  const std::string& text = texts.m_Capacity;
  for (const Capacity& row : kCapacities) {
    if (text == row.m_Name) {
      request.m_Capacity = row.m_Value;
      return;
    }
  }
  request.m_Capacity = PI::Value::CUSTOM;
  const bool hasPercentSign = !text.empty() && text.back() == '%';
  request.m_Percent = ParseInRange(text.substr(0, text.size() - (hasPercentSign ? 1 : 0)),
                                   kMinPercent, kMaxPercent);
  if (request.m_Percent != 0) return;
  std::vector<std::string> names;
  for (const Capacity& row : kCapacities) {
    if (*row.m_Name != '\0') names.emplace_back(row.m_Name);
  }
  std::vector<std::string> advice = DidYouMean(text, names);
  advice.emplace_back("Valid: maximum, factory, improved, high, or a percentage from 10 to 100.");
  throw UsageFailure(fmt::format("{}: invalid value '{}'", texts.m_CapacityName, text), advice);
}

void ParseSectorSize(const FormatTexts& texts, FormatRequest& request) {
  request.m_SectorSize =
      static_cast<std::uint32_t>(ParseInRange(texts.m_SectorSize, 1, kMaxSectorSize));
  if (request.m_SectorSize != 0) return;
  throw UsageFailure(fmt::format("{}: invalid value '{}'", texts.m_SectorName, texts.m_SectorSize),
                     {"Valid: a number of bytes, such as 512 or 4096."});
}

}  // namespace

FormatRequest ParseFormatRequest(const FormatTexts& texts) {
  if (texts.m_Capacity.empty() && texts.m_SectorSize.empty()) {
    throw UsageFailure(
        fmt::format("{} or {} is required", texts.m_CapacityName, texts.m_SectorName),
        {fmt::format("For example: {}", texts.m_Example), "Nothing was changed."});
  }
  FormatRequest request;
  if (!texts.m_Capacity.empty()) ParseCapacity(texts, request);
  if (!texts.m_SectorSize.empty()) ParseSectorSize(texts, request);
  return request;
}

}  // namespace Console
